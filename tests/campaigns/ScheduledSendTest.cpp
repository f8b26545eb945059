// Send later in the GSM window against a virtual modem, the clock faked: the list and options kept
// as a scheduled campaign; before its time the network receives nothing, after it the open window
// sends it through its selected modem and the campaign ends "finished". The Send later dialog's
// default and its refusal of a past time.
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sending/windows/SendLater.h"

#include "ScriptedOperator.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignItems.h"
#include "campaigns/CampaignQueries.h"
#include "core/Clock.h"
#include "core/WallClock.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

namespace {

constexpr qint64 kHour = 3600LL * 1000;

// Sets the faked time of day (UTC, ISO) for this process.
void fakeNow(const QString& isoUtc) {
    qputenv("BULKSMS_FAKE_NOW", isoUtc.toUtf8());
    Clock::readNowFromEnvironment();
}

class ScheduledSendTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        Clock::setScale(0.02); // read time-outs leave the modem time to answer
        fakeNow("2026-11-26T07:10:00Z");
        window.windowDidLoad();
        store = CampaignStore::forFolder(home.folder, nullptr);
        ASSERT_TRUE(store);
    }
    void TearDown() override {
        window.scheduledSend().setEnabled(false);
        qunsetenv("BULKSMS_FAKE_NOW");
        Clock::readNowFromEnvironment();
        Clock::setScale(0.001);
    }
    void fillList() {
        for (const char* number : {"+447911123100", "+447911123101", "+447911123102"})
            window.Create_Num_Msg_List(number, "Doors open at nine");
        window.prev_composer_msg = window.composerText();
    }
    // Send later with the dialog answered at `startAt`; the campaign it made (0: none).
    qint64 sendLater(qint64 startAt) {
        op.onModal<SendLater>([startAt](SendLater& d) {
            d.setStartAt(QDateTime::fromMSecsSinceEpoch(startAt));
            d.OKPressed();
        });
        window.Send_Later_Btn();
        const std::optional<QList<CampaignSummary>> all = listCampaigns(*store);
        return all && !all->isEmpty() ? all->first().id : 0;
    }
    sim::VirtualModem& modem() {
        if (!m_modem) {
            sim::ModemBehaviour behaviour;
            behaviour.networkDelayMs = 0;
            sim::ModemIdentity id;
            id.imei = "356000000000001";
            m_modem = std::make_unique<sim::VirtualModem>(id, behaviour);
            EXPECT_TRUE(m_modem->start());
        }
        return *m_modem;
    }
    QStringList texted() {
        QStringList numbers;
        for (const sim::ReceivedMessage& m : modem().received())
            numbers << m.number;
        return numbers;
    }

    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::shared_ptr<CampaignStore> store;
    std::unique_ptr<sim::VirtualModem> m_modem;
};

TEST_F(ScheduledSendTest, TheDialogOffersTheNextFullHourAndRefusesAPastTime) {
    fakeNow("2026-11-26T07:10:00Z");
    const QDateTime next = SendLater::nextFullHour(Clock::nowMs());
    EXPECT_EQ(next.time().minute(), 0);
    EXPECT_GT(next.toMSecsSinceEpoch(), Clock::nowMs());
    EXPECT_LE(next.toMSecsSinceEpoch(), Clock::nowMs() + kHour);

    SendLater dialog(op, "Send later");
    EXPECT_EQ(dialog.startAt(), next);
    const QDateTime past = QDateTime::fromMSecsSinceEpoch(Clock::nowMs() - 5LL * 60 * 1000);
    dialog.setStartAt(past);
    dialog.OKPressed();
    EXPECT_FALSE(dialog.isEnded());
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().first().contains("has already passed")) << op.alerts().first().toStdString();
    dialog.setStartAt(next);
    dialog.OKPressed();
    EXPECT_EQ(dialog.endCode(), 1);
}

TEST_F(ScheduledSendTest, SendLaterKeepsTheListAndOptionsAndTheOpenWindowSendsItAtItsTime) {
    fillList();
    window.setUnicode(true);
    const qint64 startAt = Clock::nowMs() + kHour;
    const qint64 id = sendLater(startAt);
    ASSERT_NE(id, 0);
    std::optional<CampaignSummary> c = campaignSummary(*store, id);
    ASSERT_TRUE(c);
    EXPECT_EQ(c->state, "scheduled");
    EXPECT_EQ(c->startAt / 60000, startAt / 60000); // to the minute, as the dialog shows it
    EXPECT_EQ(c->total, 3);
    EXPECT_EQ(c->road, kGsmRoad);
    EXPECT_EQ(
        op.alerts().last(),
        QStringLiteral("\nCampaign %1 is scheduled for %2. This window sends it then through the devices "
                       "selected here while the program is open; a running bulksms worker sends it too.")
            .arg(id)
            .arg(SendLater::timeText(c->startAt)));
    const std::optional<QList<ReportItem>> items = campaignItems(*store, id);
    ASSERT_TRUE(items && items->size() == 3);
    EXPECT_EQ(items->at(1).number, "+447911123101");
    EXPECT_EQ(items->at(1).message, "Doors open at nine");

    // The campaign goes as it was made, whatever the window's options are by then.
    window.setUnicode(false);

    // Before its time: the window, its modem selected, sends nothing.
    selectModem(window.selection(), modem().devicePath());
    window.applyDeviceSelection();
    window.scheduledSend().setEnabled(true);
    spinUntil([] { return false; }, std::chrono::milliseconds(1500)); // two checks and more
    EXPECT_TRUE(texted().isEmpty());
    EXPECT_EQ(campaignSummary(*store, id)->state, "scheduled");
    EXPECT_FALSE(window.sendingUnderWay());

    // Its time comes: the job opens by itself and sends it through the selected modem.
    bool jobShown = false;
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        jobShown = true;
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish; }, std::chrono::seconds(60)));
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        EXPECT_EQ(job.itemTable().size(), 3); // the campaign's items, not the list's
        if (!job.isEnded())
            job.CancelPressed();
    });
    fakeNow(QDateTime::fromMSecsSinceEpoch(c->startAt + 60LL * 1000).toUTC().toString(Qt::ISODate));
    ASSERT_TRUE(spinUntil([&] { return jobShown && !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    EXPECT_EQ(texted(), (QStringList{"+447911123100", "+447911123101", "+447911123102"}));
    for (const sim::ReceivedMessage& m : modem().received())
        EXPECT_EQ(m.dcs, 0x08) << "kept as Unicode when it was made: " << m.mode.toStdString();
    c = campaignSummary(*store, id);
    EXPECT_EQ(c->state, "finished");
    EXPECT_EQ(c->sent, 3);
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is finished.");
    EXPECT_EQ(window.list().size(), 3); // the list stays as it was

    // Sent once: the checks that follow find nothing due.
    spinUntil([] { return false; }, std::chrono::milliseconds(1000));
    EXPECT_EQ(texted().size(), 3);
}

TEST_F(ScheduledSendTest, ADueCampaignWithoutADeviceWaitsAndTheStatusLineSaysSo) {
    fillList();
    const qint64 id = sendLater(Clock::nowMs() + kHour);
    ASSERT_NE(id, 0);
    const qint64 startAt = campaignSummary(*store, id)->startAt;
    fakeNow(QDateTime::fromMSecsSinceEpoch(startAt + 60LL * 1000).toUTC().toString(Qt::ISODate));
    const int alerts = int(op.alerts().size());
    window.scheduledSend().setEnabled(true);
    ASSERT_TRUE(spinUntil([&] { return !window.scheduledSend().statusLine().isEmpty(); }));
    EXPECT_EQ(window.scheduledSend().statusLine(),
              QStringLiteral("Campaign %1 was due at %2: select a device to send it.")
                  .arg(id)
                  .arg(SendLater::timeText(startAt)));
    EXPECT_EQ(op.alerts().size(), alerts); // no box for nobody to see
    EXPECT_EQ(campaignSummary(*store, id)->state, "scheduled");
}

TEST_F(ScheduledSendTest, SendLaterAsksWhatSendAsksAndKeepsNothingWhenRefused) {
    // An empty list, then a blank message declined, then the dialog cancelled: no campaign.
    window.Send_Later_Btn();
    EXPECT_EQ(op.alerts().last(), "\nPhone numbers-Messages list is empty.");
    window.Create_Num_Msg_List("+447911123100", "");
    op.answerNo();
    window.Send_Later_Btn();
    EXPECT_EQ(op.questions().last(), kBlankListQuestion);
    window.Create_Num_Msg_List("+447911123101", "Hello");
    window.replaceMessage(0, "Hello");
    op.onModal<SendLater>([](SendLater& d) { d.CancelPressed(); });
    window.Send_Later_Btn();
    EXPECT_EQ(listCampaigns(*store)->size(), 0);
    // The list holds an unfinished campaign's recipients: they go first.
    window.carriedRun().set(42);
    window.Send_Later_Btn();
    EXPECT_TRUE(op.alerts().last().contains("unfinished campaign")) << op.alerts().last().toStdString();
    EXPECT_EQ(listCampaigns(*store)->size(), 0);
}

} // namespace
