// A GSM window's run against a virtual modem while recipients opt out: one the operator opted
// out before it, one whose STOP arrives while the run sends. What the network received is the
// proof: neither was texted.
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"

#include "ScriptedOperator.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "core/Clock.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

class OptOutRunTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        if (QString why; !useStoreEngine(GetParam(), &why))
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
        Clock::setScale(0.02); // read time-outs leave the modem time to answer
        window.windowDidLoad();
        window.setTextChangeNotifications(true);
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override {
        Clock::setScale(0.001);
        CampaignStore::useDatabase({});
    }

    void send() {
        op.onModal<SMS_Sending>([&](SMS_Sending& job) {
            ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                                  std::chrono::seconds(60)));
            ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
            if (!job.isEnded())
                job.CancelPressed();
        });
        window.Send_SMS_Btn();
        ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    }

    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::shared_ptr<CampaignStore> store;
};

TEST_P(OptOutRunTest, NeitherTheOptedOutNorOneWhoStopsMidRunIsTexted) {
    window.setDefaultCountry("GB"); // the list is written nationally
    ASSERT_TRUE(addOptOut(*store, "+447911123101", kOptOutByOperator));

    // The STOP of the third recipient arrives the moment the network takes the first message,
    // before the modem answers and the run claims the next.
    std::atomic<int> accepted{0};
    std::atomic<bool> stopKept{false};
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    behaviour.afterAccepting = [&] {
        if (accepted++ != 0)
            return;
        ReceivedMessage stop;
        stop.device = "8944100000000000001";
        stop.road = kGsmRoad;
        stop.sender = "+447911123102";
        stop.text = "Stop";
        stop.sentAt = CampaignStore::now();
        stopKept = storeReceived(*store, stop).has_value();
    };
    sim::ModemIdentity id;
    id.imei = "356000000000001";
    sim::VirtualModem modem(id, behaviour);
    ASSERT_TRUE(modem.start());
    selectModem(window.selection(), modem.devicePath());
    window.applyDeviceSelection();
    for (const char* number : {"07911123100", "07911123101", "07911123102", "07911123103"})
        window.Create_Num_Msg_List(number, "Spring sale");
    window.prev_composer_msg = window.composerText();

    send();
    EXPECT_TRUE(stopKept);
    QStringList texted;
    for (const sim::ReceivedMessage& m : modem.received())
        texted << m.number;
    EXPECT_EQ(texted, (QStringList{"+447911123100", "+447911123103"}));

    QStringList statuses;
    for (const SendingItem& item : window.sendingJob().items())
        statuses << item.number + "=" + item.status;
    EXPECT_EQ(statuses, (QStringList{"+447911123100=" + kStatusSent, "+447911123101=" + kOptedOut,
                                     "+447911123102=" + kOptedOut, "+447911123103=" + kStatusSent}));
    const std::optional<QList<CampaignSummary>> campaigns = listCampaigns(*store);
    ASSERT_TRUE(campaigns && !campaigns->isEmpty());
    EXPECT_EQ(campaigns->first().sent, 2);
    EXPECT_EQ(campaigns->first().notSent, 2);
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is finished.");
}

INSTANTIATE_TEST_SUITE_P(Engines, OptOutRunTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
