// The open desktop reads replies through the GSM window's selected modem while the window sends
// nothing: kept once, freed on the virtual SIM, a notification when the operator asked for one;
// the reading lets the port go before a run (whose checks and messages then meet no busy port)
// and takes it up again after.
#include "sending/windows/WindowReplies.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/ReplyOptions.h"
#include "sim/MessageLog.h"
#include "sim/VirtualModem.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace {

QString recipient(int i) { return QStringLiteral("+4474001%1").arg(30000 + i); }

class WindowRepliesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        Clock::setScale(0.02); // a pass every 1.2 s; read time-outs the modem meets
        window.windowDidLoad();
        window.setTextChangeNotifications(true);
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override { Clock::setScale(0.001); }

    void startModem(const std::function<void()>& afterAccepting) {
        sim::ModemIdentity id;
        id.imei = "356000000000900";
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        behaviour.afterAccepting = afterAccepting;
        sim::IncomingMessage waiting;
        waiting.from = "+447400199999";
        waiting.text = "Is the shop open on Sunday?";
        behaviour.simMessagesAtStart << waiting;
        log = logDir.filePath("modem.jsonl");
        modem = std::make_unique<sim::VirtualModem>(id, behaviour, log);
        ASSERT_TRUE(modem->start());
        selectModem(window.selection(), modem->devicePath());
        window.applyDeviceSelection();
    }

    int events(const QString& kind) const {
        int count = 0;
        for (const QJsonObject& event : sim::MessageLog::readEvents(log))
            count += event.value("event").toString() == kind ? 1 : 0;
        return count;
    }
    QStringList kept() const {
        QString why;
        const std::optional<QList<ReceivedRow>> rows = listReceived(*store, {}, &why);
        EXPECT_TRUE(rows) << why.toStdString();
        QStringList out;
        for (const ReceivedRow& row : rows.value_or(QList<ReceivedRow>()))
            out << row.message.sender + " " + row.message.text;
        out.sort();
        return out;
    }

    TestDataHome home;
    QTemporaryDir logDir;
    QString log;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::shared_ptr<CampaignStore> store;
    std::unique_ptr<sim::VirtualModem> modem;
};

TEST_F(WindowRepliesTest, ReadsWhileIdleYieldsThePortToARunAndResumesAfter) {
    std::atomic<int> accepted{0};
    startModem([&] {
        if (accepted++ == 1) // answered while the run sends: the run keeps it
            modem->deliver(recipient(0), "Got it, thanks");
    });
    // A window the desktop does not show reads nothing.
    spinUntil([] { return false; }, std::chrono::milliseconds(500));
    EXPECT_FALSE(window.replies().reading());
    EXPECT_EQ(events("deleted"), 0);

    int told = 0; // replies the window heard of
    QObject::connect(&window.replies(), &WindowReplies::replyKept, [&told] { ++told; });
    window.replies().setEnabled(true);
    ASSERT_TRUE(spinUntil([&] { return told == 1 && events("deleted") == 1; })) << events("deleted");
    EXPECT_EQ(kept(), QStringList{"+447400199999 Is the shop open on Sunday?"});
    EXPECT_TRUE(op.notifications().isEmpty()); // notifications are off by default

    // The operator asks for notifications, then sends.
    ReplyOptions options;
    options.notify = true;
    ASSERT_TRUE(writeReplyOptions(home.folder, options));
    for (int i = 0; i < 4; ++i)
        window.Create_Num_Msg_List(recipient(i), "Your order is ready for collection.");
    window.prev_composer_msg = window.composerText();
    bool readWhileJobShown = true;
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        readWhileJobShown = window.replies().reading();
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                              std::chrono::seconds(60)));
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        readWhileJobShown = readWhileJobShown || window.replies().reading();
        if (!job.isEnded())
            job.CancelPressed();
    });
    window.Send_SMS_Btn();
    EXPECT_FALSE(window.replies().reading()); // let go the moment Send was pressed
    ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    EXPECT_FALSE(readWhileJobShown);
    // The port check and every message found the port free: the run's end is all that was said.
    EXPECT_EQ(op.alerts(), QStringList{"\nSMS Sending process is finished."});
    EXPECT_EQ(accepted.load(), 4);
    for (const SendingItem& item : window.sendingJob().items())
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();

    // Reading again: a STOP that arrives now is kept, freed on the SIM, and notified.
    EXPECT_TRUE(window.replies().reading());
    modem->deliver(recipient(2), "STOP");
    ASSERT_TRUE(spinUntil([&] { return kept().size() == 3 && events("deleted") == 3; }))
        << kept().join('\n').toStdString();
    EXPECT_EQ(kept(), (QStringList{"+447400130000 Got it, thanks", "+447400130002 STOP",
                                   "+447400199999 Is the shop open on Sunday?"}));
    ASSERT_TRUE(spinUntil([&] { return !op.notifications().isEmpty(); }));
    // The run's own replies are the run's: only the one read while idle is notified.
    EXPECT_EQ(op.notifications(), QStringList{"Reply from +447400130002 (opted out)|STOP"});

    // Nothing selected: nothing read.
    window.selection().clear();
    window.applyDeviceSelection();
    EXPECT_FALSE(window.replies().reading());
}

TEST(WindowRepliesNotification, SaysWhoAndTheStartOfTheTextWithoutHalfACharacter) {
    const QString smiley = QStringLiteral("\U0001F600");
    struct Case {
        QString text;
        OptOutWord change;
        QString title, body;
    } cases[] = {
        {"  Yes,\n\nsee you   then ", OptOutWord::None, "Reply from +447700900001", "Yes, see you then"},
        {"Stop", OptOutWord::Stop, "Reply from +447700900001 (opted out)", "Stop"},
        {"START", OptOutWord::Start, "Reply from +447700900001 (opted back in)", "START"},
        {QString(100, 'a') + "b", OptOutWord::None, "Reply from +447700900001",
         QString(100, 'a') + QChar(0x2026)},
        // The cut falls inside the emoji: it goes whole.
        {QString(99, 'a') + smiley + "tail", OptOutWord::None, "Reply from +447700900001",
         QString(99, 'a') + QChar(0x2026)},
    };
    for (const Case& c : cases) {
        ReplyReader::Reply reply;
        reply.message.sender = "+447700900001";
        reply.message.text = c.text;
        reply.stored.change = c.change;
        EXPECT_EQ(WindowReplies::notificationTitle(reply), c.title);
        EXPECT_EQ(WindowReplies::notificationText(reply), c.body) << c.text.toStdString();
    }
}

} // namespace
