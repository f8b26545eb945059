// Replies reach the modems while a run sends through them: every one is kept once, exactly as
// written, each SIM place freed only after it was kept, and the run's own messages go on as if
// nobody had answered. A STOP among them leaves its sender out of the next run by itself.
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Replies.h"
#include "core/Clock.h"
#include "sim/MessageLog.h"
#include "sim/VirtualModem.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

namespace {

QString recipient(int i) { return QStringLiteral("+4474001%1").arg(20000 + i); }

class RepliesDuringRunTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        // Read time-outs leave the modems time to answer while they also hand over replies.
        Clock::setScale(0.05);
        window.windowDidLoad();
        window.setTextChangeNotifications(true);
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override { Clock::setScale(0.001); }

    void startModems(const std::function<void()>& afterAccepting, int count = 2,
                     const std::function<void(sim::ModemBehaviour&)>& more = {}) {
        for (int i = 0; i < count; ++i) {
            sim::ModemIdentity id;
            id.imei = QString::number(356000000000500LL + i);
            sim::ModemBehaviour behaviour;
            behaviour.networkDelayMs = 0;
            behaviour.afterAccepting = afterAccepting;
            if (more)
                more(behaviour);
            logs.push_back(logDir.filePath(QStringLiteral("modem%1.jsonl").arg(i)));
            modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour, logs.back()));
            ASSERT_TRUE(modems.back()->start());
            selectModem(window.selection(), modems.back()->devicePath());
        }
        window.applyDeviceSelection();
    }

    void send(int recipients) {
        if (window.list().size() > 0) {
            op.answerYes(); // clear the entire list
            window.Clear_All_Btn();
            op.answerYes(); // the same people again, on purpose
        }
        for (int i = 0; i < recipients; ++i)
            window.Create_Num_Msg_List(recipient(i), "Your parcel arrives tomorrow. Reply STOP to opt out.");
        window.prev_composer_msg = window.composerText();
        op.onModal<SMS_Sending>([&](SMS_Sending& job) {
            ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                                  std::chrono::seconds(120)));
            ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
            if (!job.isEnded())
                job.CancelPressed();
        });
        window.Send_SMS_Btn();
        ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(150)));
    }

    // The log events of one kind over both modems.
    int events(const QString& kind) const {
        int count = 0;
        for (const QString& log : logs)
            for (const QJsonObject& event : sim::MessageLog::readEvents(log))
                count += event.value("event").toString() == kind ? 1 : 0;
        return count;
    }

    TestDataHome home;
    QTemporaryDir logDir;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::shared_ptr<CampaignStore> store;
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
    QStringList logs;
};

TEST_F(RepliesDuringRunTest, EveryReplyIsKeptOnceExactlyAndAStopHoldsForTheNextRun) {
    // What people answer: plain words, the GSM extension characters, emoji (UCS2 with a
    // surrogate pair), and long answers whose three parts arrive last first.
    QList<sim::IncomingMessage> replies;
    for (int i = 0; i < 40; ++i) {
        sim::IncomingMessage reply;
        reply.from = recipient(i);
        switch (i % 4) {
        case 0:
            reply.text = QStringLiteral("Thanks, see you at {5} [pm] ~ 10\u20AC ^_^ | \\o/ #%1").arg(i);
            break;
        case 1: reply.text = QStringLiteral("\U0001F600 Merci beaucoup, \u00E0 demain! #%1").arg(i); break;
        case 2:
            reply.text = QStringLiteral("Long answer %1: ").arg(i) + QString(400, QLatin1Char('x'));
            reply.outOfOrder = true;
            break;
        default: reply.text = QStringLiteral("Wrong number, sorry #%1").arg(i); break;
        }
        replies << reply;
    }
    replies[3].text = "Stop."; // recipient 3 opts out, in the middle of the run

    // One reply each time the network accepts one of the run's messages, into either modem,
    // from a recipient texted a few messages earlier (so that it answers this run).
    std::atomic<int> accepted{0};
    startModems([&] {
        const int n = accepted++ - 4;
        if (n >= 0 && n < replies.size())
            modems.at(size_t(n % 2))->deliver(replies.at(n));
    });
    send(100);
    ASSERT_EQ(accepted.load(), 100);
    for (const SendingItem& item : window.sendingJob().items())
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();

    QString why;
    const std::optional<QList<ReceivedRow>> kept = listReceived(*store, {}, &why);
    ASSERT_TRUE(kept) << why.toStdString();
    QStringList got, wanted;
    for (const ReceivedRow& row : *kept) {
        got << row.message.sender + " " + row.message.text;
        EXPECT_TRUE(row.message.complete);
        EXPECT_NE(row.campaign, 0) << "a reply answers the run that texted its sender";
    }
    for (const sim::IncomingMessage& reply : replies)
        wanted << reply.from + " " + reply.text;
    got.sort();
    wanted.sort();
    EXPECT_EQ(got, wanted) << got.join('\n').toStdString();
    // Every place on the SIMs was freed, each once, after its message was kept.
    EXPECT_EQ(events("delivered"), 40);
    EXPECT_EQ(events("deleted"), 10 * 1 + 10 * 3 + 20); // the long answers lay in three places

    // The next run leaves the one who wrote STOP out, by itself.
    accepted = 0;
    replies.clear();
    send(5);
    EXPECT_EQ(accepted.load(), 4);
    for (const SendingItem& item : window.sendingJob().items())
        EXPECT_EQ(item.status, item.number == recipient(3) ? kOptedOut : "Message sent successfully.")
            << item.number.toStdString();
}

// A SIM that is full when the run starts (the network holding more for it) is emptied into
// the store, and what the network held comes in as places free: nothing is lost.
TEST_F(RepliesDuringRunTest, AFullSimIsEmptiedWithoutLoss) {
    QStringList wanted;
    startModems({}, 1, [&](sim::ModemBehaviour& b) {
        b.simSize = 5;
        for (int i = 0; i < 5; ++i) {
            sim::IncomingMessage stored;
            stored.from = recipient(i);
            stored.text = QStringLiteral("Stored %1").arg(i);
            b.simMessagesAtStart << stored;
            wanted << recipient(i) + " " + QStringLiteral("Stored %1").arg(i);
        }
    });
    for (int i = 5; i < 8; ++i) { // waiting in the network for a free place
        modems.front()->deliver(recipient(i), QStringLiteral("Waiting %1").arg(i));
        wanted << recipient(i) + " " + QStringLiteral("Waiting %1").arg(i);
    }
    send(3);
    ASSERT_TRUE(spinUntil([&] { return events("deleted") == 8; }, std::chrono::seconds(30)))
        << events("deleted");
    QString why;
    const std::optional<QList<ReceivedRow>> kept = listReceived(*store, {}, &why);
    ASSERT_TRUE(kept) << why.toStdString();
    QStringList got;
    for (const ReceivedRow& row : *kept)
        got << row.message.sender + " " + row.message.text;
    got.sort();
    wanted.sort();
    EXPECT_EQ(got, wanted);
}

} // namespace
