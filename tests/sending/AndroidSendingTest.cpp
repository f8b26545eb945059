// The Android window's Send in each mode, through the real adb client to a virtual phone whose
// log must agree with the list, text for text.
#include "PhoneFixture.h"
#include "StoredCampaigns.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Replies.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"
#include "list/windows/Send_Msg_Info.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/ResumeOffer.h"
#include "sending/windows/SMS_Sending.h"
#include "sending/windows/SendLater.h"
#include "sim/VirtualModem.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"
#include "stores/windows/ExportDialogs.h"

#include <QDir>
#include <QFile>

namespace {

class AndroidSendingTest : public PhoneFixture {
protected:
    // A window with the phone chosen and the list filled in the order given.
    std::unique_ptr<Bulk_SMSAppDelegate> windowWith(const QList<QPair<QString, QString>>& rows) {
        auto window = std::make_unique<Bulk_SMSAppDelegate>(op, home.folder);
        window->windowDidLoad();
        DeviceSelection& selection = window->selection();
        selection.sel_port_name_str = "VIRTUAL PHONE 5G";
        selection.sel_port_bsd_str = selection.sel_port_name_str;
        selection.port_val_str_array = {selection.sel_port_name_str};
        window->applyDeviceSelection();
        for (const auto& [number, message] : rows)
            window->Create_Num_Msg_List(number, message);
        return window;
    }
    void send(Bulk_SMSAppDelegate& window) {
        window.prev_composer_msg = window.composerText();
        window.Send_SMS_Btn();
        window.waitForSend();
    }
    sim::PhoneConfig installed() {
        sim::PhoneConfig config = phone();
        config.appInstalled = true;
        return config;
    }
};

const QStringList kHostileTexts = {
    "Tom & Jerry (2)",    "a | b",
    "x < y > z",          "one; two",
    "Price $5 and $HOME", "it's",
    "say \"hi\"",         "back\\slash \\n",
    "`date` and $(id)",   "Caf\u00e9 \U0001F600",
    "Line1\nLine2",       "  padded\t",
    "#not a comment",     "*.txt ~ ! { } [ ]",
    "CR\r\nLF",           "$(reboot) && reboot; reboot",
    "tab\there",
};

TEST_F(AndroidSendingTest, OneByOneDeliversEveryHostileTextExactlyInBothModes) {
    for (const QString& mode : {QStringLiteral("standard"), QStringLiteral("classic")}) {
        SCOPED_TRACE(mode.toStdString());
        startPhones(one(installed()));
        QList<QPair<QString, QString>> rows;
        for (int i = 0; i < kHostileTexts.size(); ++i)
            rows.append(
                {QStringLiteral("+4477009000%1").arg(i, 2, 10, QLatin1Char('0')), kHostileTexts.at(i)});
        auto window = windowWith(rows);
        window->One_By_One_Radio();
        if (mode == "classic") {
            window->Classic_Radio();
        }
        op.clearTranscript();
        send(*window);
        QStringList expected;
        for (const auto& [number, text] : rows)
            expected << number + "|" + text + "|" + mode;
        EXPECT_EQ(sentMessages(), expected);
        EXPECT_EQ(injections(), 0);
        EXPECT_EQ(op.alerts(), QStringList{"\nMessage Sending Process Completed."});
        EXPECT_EQ(window->lastRunSent(), rows.size());
        for (const SendingItem& item : window->run()->record().all()) // a row per recipient
            EXPECT_EQ(item.status, "Sent (in the phone's sent messages)") << item.number.toStdString();
        server->stop();
    }
}

// What people sent to the phone is read from its inbox when a run starts and kept once however
// often it is read; a STOP there leaves its sender out of the run by itself.
TEST_F(AndroidSendingTest, RepliesInThePhonesInboxAreKeptOnceAndAStopHonoured) {
    const QString incoming = home.root() + "/incoming.jsonl";
    ASSERT_TRUE(writeFileAtomically(incoming,
                                    "{\"from\": \"+447400123457\", \"text\": \"STOP\"}\n"
                                    "{\"from\": \"+447400123456\", \"text\": \"Thanks,\\nsee you\"}\n"));
    sim::PhoneConfig config = installed();
    config.incomingPath = incoming;
    startPhones(one(config));
    for (int run = 0; run < 2; ++run) {
        SCOPED_TRACE(run);
        auto window = windowWith(
            {{"+447400123456", "Your table is booked."}, {"+447400123457", "Your table is booked."}});
        window->One_By_One_Radio();
        send(*window);
        EXPECT_EQ(sentMessages().size(), run + 1) << sentMessages().join('\n').toStdString();
        EXPECT_EQ(sentMessages().last(), "+447400123456|Your table is booked.|standard");
        for (const SendingItem& item : window->run()->record().all()) {
            if (item.number == "+447400123457") {
                EXPECT_EQ(item.status, kOptedOut);
            }
        }
    }
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, &why);
    ASSERT_TRUE(store) << why.toStdString();
    const std::optional<QList<ReceivedRow>> kept = listReceived(*store, {}, &why);
    ASSERT_TRUE(kept) << why.toStdString();
    QStringList texts;
    for (const ReceivedRow& row : *kept)
        texts << row.message.sender + ": " + row.message.text;
    texts.sort();
    EXPECT_EQ(texts, (QStringList{"+447400123456: Thanks,\nsee you", "+447400123457: STOP"}))
        << texts.join("|").toStdString();
}

// A phone that does not let this computer read its messages still sends; the operator hears
// once, beside the phone, why no replies come.
TEST_F(AndroidSendingTest, APhoneThatHidesItsInboxSaysSoOnceAndStillSends) {
    const QString incoming = home.root() + "/incoming.jsonl";
    ASSERT_TRUE(writeFileAtomically(incoming, "{\"from\": \"+447400123457\", \"text\": \"STOP\"}\n"));
    sim::PhoneConfig config = installed();
    config.incomingPath = incoming;
    config.smsQueryDenied = true;
    startPhones(one(config));
    auto window =
        windowWith({{"+447400123456", "Your table is booked."}, {"+447400123457", "Your table is booked."}});
    window->One_By_One_Radio();
    send(*window);
    const QStringList notices = window->progress().state().notices;
    EXPECT_EQ(sentMessages().size(), 2);
    ASSERT_EQ(notices.size(), 1) << notices.join('|').toStdString();
    EXPECT_TRUE(
        notices.first().contains(": Replies are not read: the phone does not let this computer read its "
                                 "messages"))
        << notices.first().toStdString();
}

// A list loaded without messages takes the composer's text when Send asks to apply it, and
// that text is what the phone sends; the second Send then offers only whom the first missed.
TEST_F(AndroidSendingTest, TheComposerTextAppliedAtSendIsWhatThePhoneSends) {
    startPhones(one(installed()));
    auto window = windowWith({{"+447400123456", ""}, {"+447400123457", ""}});
    window->One_By_One_Radio();
    window->setTextChangeNotifications(true);
    window->setComposerText("Your table is booked for eight.");
    op.onModal<Send_Msg_Info>([](Send_Msg_Info& question) { question.OKPressed(); });
    window->Send_SMS_Btn();
    window->waitForSend();
    EXPECT_EQ(sentMessages(), (QStringList{"+447400123456|Your table is booked for eight.|standard",
                                           "+447400123457|Your table is booked for eight.|standard"}));
    op.answerNo(); // everyone was reached: nobody is texted twice without a word
    window->Send_SMS_Btn();
    EXPECT_EQ(op.questions().last(),
              "Send to the 2 recipients again? 2 recipients would get the message a second time.");
    EXPECT_EQ(sentMessages().size(), 2);
}

// Each row of the progress window says what the phone did with its message, as the phone's own
// SMS provider tells: sent, failed, or still queued when the wait is over (not confirmed);
// identical messages are confirmed one row each. A phone that lets nobody read its messages is
// told once. The window stays with its rows until Close, and its report carries each row's status.
TEST_F(AndroidSendingTest, EachRowSaysWhatThePhoneDidWithItsMessage) {
    const QString sent = "Sent (in the phone's sent messages)",
                  notConfirmed = "Handed to the phone (not confirmed)";
    for (const bool denied : {false, true}) {
        SCOPED_TRACE(denied);
        sim::PhoneConfig config = installed();
        config.sendFails = {"2"};
        config.queued = {"3"};
        config.smsQueryDenied = denied;
        startPhones(one(config));
        auto window = windowWith({{"1", "a"}, {"2", "b"}, {"3", "c"}, {"1", "a"}});
        op.clearTranscript();
        send(*window);
        AndroidSendingProgress& progress = window->progress();
        QStringList rows;
        for (const Record& row : progress.rows().records())
            rows << row.value("Number") + "|" + row.value("Use Port") + "|" + row.value("Status");
        const QStringList expected = denied ? QStringList{"1|" + notConfirmed, "2|" + notConfirmed,
                                                          "3|" + notConfirmed, "1|" + notConfirmed}
                                            : QStringList{"1|" + sent, "2|Failed (the phone could not send)",
                                                          "3|" + notConfirmed, "1|" + sent};
        EXPECT_EQ(rows.replaceInStrings("|VIRTUAL PHONE 5G|", "|"), expected);
        EXPECT_EQ(op.alerts().filter("does not let this computer read its messages").size(), denied ? 1 : 0)
            << op.alerts().join('|').toStdString();
        EXPECT_TRUE(progress.state().visible && progress.state().finished);
        EXPECT_EQ(progress.state().phones.value("VIRTUAL PHONE 5G"), "Finished.");

        const QString report = home.root() + "/report" + QString::number(denied);
        op.onModal<Status_Export_Option>([](Status_Export_Option& d) { d.OKPressed(); })
            .onModal<Export_Option>([](Export_Option& d) { d.OKPressed(); })
            .chooseFile(report)
            .onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
        progress.Export_Btn();
        const QByteArray bytes = readAll(report + ".txt");
        QStringList reported; // "number|status" of each entry, in the list's order
        for (const QString& line : reportText(bytes).split('\n'))
            if (line.startsWith("Number\t\t: "))
                reported << line.mid(10);
            else if (line.startsWith("Sent Status\t: "))
                reported.last() += "|" + line.mid(14);
        EXPECT_EQ(reported, expected);
        progress.Close_Btn();
        EXPECT_FALSE(progress.state().visible);
        server->stop();
    }
}

TEST_F(AndroidSendingTest, SkippedAndExcludedNumbersAreNeitherSentNorLogged) {
    startPhones(one(installed()));
    auto window = windowWith({{"111", "a"}, {"222", "b"}, {"111", "c"}, {"333", "d"}, {"444", "e"}});
    ASSERT_TRUE(writeFileAtomically(home.folder.AppExclusion_File_Path(), "Blocked\n"));
    ASSERT_TRUE(writeFileAtomically(home.folder.Exclusion_Folder_Path() + "/Blocked.OSTREL", "444\n"));
    window->Exclusion_Chk(true);
    window->setSkipDuplicates(true);
    window->setSaveSentItems(true);
    window->setSaveTemplates(true);
    send(*window);
    EXPECT_EQ(sentMessages(), (QStringList{"111|a|standard", "222|b|standard", "333|d|standard"}));
    QStringList logged;
    for (const SentItem& item : parseSentItems(readAll(home.folder.SentItemAnd_File_Path())))
        logged << item.number + "|" + item.message + "|" + item.status;
    EXPECT_EQ(logged,
              (QStringList{
                  "111|a|Sent (in the phone's sent messages)", "222|b|Sent (in the phone's sent messages)",
                  "333|d|Sent (in the phone's sent messages)"})); // what the phone did, as the run's rows say
    EXPECT_EQ(parseTemplates(readAll(home.folder.Templates_File_Path())), (QStringList{"a", "b", "d"}));
}

TEST_F(AndroidSendingTest, SingleShotSendsTheWholeListThroughOneFile) {
    for (const int count : {10, 11}) {
        sim::PhoneConfig config = installed();
        config.sendFails = {"1003"};
        startPhones(one(config));
        QList<QPair<QString, QString>> rows;
        for (int i = 0; i < count; ++i)
            rows.append({QString::number(1000 + i),
                         i == 0 ? QStringLiteral("Line1\r\nLine2\nLine3 ,~$^' & ;") : "m"});
        auto window = windowWith(rows);
        window->Single_Shot_Radio();
        send(*window);
        const QStringList sent = sentMessages();
        ASSERT_EQ(sent.size(), count);
        EXPECT_EQ(sent.first(), "1000|Line1\nLine2\nLine3 ,~$^' & ;|single-shot");
        EXPECT_EQ(server->log().events("intent").size(), 1); // the app is started once
        QString file =
            "1000,~$^'Line1S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/Line2S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/Line3 ,~$^' & "
            ";\r\n";
        for (int i = 1; i < count; ++i)
            file += QString::number(1000 + i) + ",~$^'m\r\n";
        const auto reads = server->log().events("read");
        ASSERT_EQ(reads.size(), 1);
        EXPECT_EQ(reads.first().value("path").toString(), "/sdcard/ostrelsms.txt");
        EXPECT_EQ(reads.first().value("content").toString(), file);
        qint64 size = 0;
        EXPECT_FALSE(firstPhone().fileExists("/sdcard/ostrelsms.txt", size)); // removed afterwards
        EXPECT_TRUE(QDir(home.folder.Created_Resource_Path()).entryList({"ostrelsms.txt*"}).isEmpty());
        // The phone's word on each message of the list, line breaks as the list carried them.
        QStringList statuses;
        for (const SendingItem& item : window->run()->record().all())
            statuses << item.number + " " + item.status;
        EXPECT_EQ(statuses.filter("Sent (in the phone's sent messages)").size(), count - 1)
            << statuses.join('|').toStdString();
        EXPECT_TRUE(statuses.contains("1003 Failed (the phone could not send)"));
        server->stop();
    }
}

TEST_F(AndroidSendingTest, UnpluggedPhoneEndsTheRunWithTheConnectionError) {
    for (const bool classic : {false, true}) {
        sim::PhoneConfig config = installed();
        config.unplugAfter = 2;
        startPhones(one(config));
        auto window = windowWith({{"1", "a"}, {"2", "b"}, {"3", "c"}, {"4", "d"}});
        if (classic)
            window->Classic_Radio();
        op.clearTranscript();
        send(*window);
        EXPECT_EQ(sentMessages().size(), 2);
        EXPECT_TRUE(op.alerts().contains("\nDevice Connection Error!"))
            << op.alerts().join("/").toStdString();
        EXPECT_FALSE(op.alerts().contains("\nMessage Sending Process Completed."));
        EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::DeviceError);
        EXPECT_EQ(window->list().size(), 4); // the rows stay as they were
        server->stop();
    }
}

// Stopped in a pause: the window says how far it came, and its "Send to the 2 not yet sent"
// reaches only those, nobody twice.
TEST_F(AndroidSendingTest, StopDuringAPauseEndsWithoutTheCompletionMessageAndOffersTheRest) {
    startPhones(one(installed()));
    auto window = windowWith({{"1", "a"}, {"2", "b"}, {"3", "c"}});
    window->Delayed_Delivery_Chk(true);
    window->setDelayedCountChoice("1");
    window->setDelayedTimeChoice("12 Hours"); // 43 s at the tests' clock: only Stop ends it
    op.answerYes();
    window->prev_composer_msg = window->composerText();
    window->Send_SMS_Btn();
    ASSERT_TRUE(spinUntil([&] { return !window->progress().state().pauseText.isEmpty(); }));
    window->progress().Stop_Btn();
    window->waitForSend();
    EXPECT_EQ(sentMessages(), QStringList{"1|a|standard"});
    EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Stopped);
    EXPECT_FALSE(op.alerts().contains("\nMessage Sending Process Completed."));
    EXPECT_EQ(window->progress().state().statusText, "Stopped: 1 of 3 sent.");
    EXPECT_EQ(window->progress().state().sendRestText, "Send to the 2 not yet sent");

    window->Delayed_Delivery_Chk(false);
    window->progress().Send_Rest_Btn();
    window->waitForSend();
    EXPECT_EQ(sentMessages(), (QStringList{"1|a|standard", "2|b|standard", "3|c|standard"}));
    QStringList marks;
    for (const Record& row : window->list().records())
        marks << row.value(kLastRunKey);
    EXPECT_EQ(marks, (QStringList{"Sent", "Sent", "Sent"}));
}

TEST_F(AndroidSendingTest, NothingGoesOutWhileTheOperatorHesitatesToStop) {
    startPhones(one(installed()));
    QList<QPair<QString, QString>> rows;
    for (int i = 0; i < 30; ++i)
        rows.append({QStringLiteral("+4477009%1").arg(100 + i), "a"});
    auto window = windowWith(rows);
    int duringFirst = -1, duringSecond = -1;
    const auto hesitate = [&](int& during, bool stop) {
        return [&during, stop, this](const QString&) {
            const qsizetype atQuestion = sentMessages().size();
            spinUntil([] { return false; }, std::chrono::milliseconds(1500)); // the window's events flow
            during = int(sentMessages().size() - atQuestion);
            return stop;
        };
    };
    op.answerWith(hesitate(duringFirst, false)).answerWith(hesitate(duringSecond, true));
    window->prev_composer_msg = window->composerText();
    window->Send_SMS_Btn();
    ASSERT_TRUE(spinUntil([&] { return sentMessages().size() >= 2; }));
    window->progress().Stop_Btn(); // No: the run goes on
    ASSERT_TRUE(spinUntil([&] { return sentMessages().size() >= 8; }));
    window->progress().Stop_Btn(); // Yes: it ends where it was held
    window->waitForSend();
    EXPECT_LE(duringFirst, 1); // at most the message already in the phone's hands
    EXPECT_LE(duringSecond, 1);
    EXPECT_LT(sentMessages().size(), rows.size());
    const QStringList sent = sentMessages();
    EXPECT_EQ(QSet<QString>(sent.cbegin(), sent.cend()).size(), sent.size()); // nobody twice
    EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Stopped);
}

// A phone whose storage refuses every copy, in standard one-by-one: each failed copy asks; OK
// sends that message with its text in the start command, and with "for all" ticked the later
// ones go the same way without asking; Cancel ends the send with nothing more sent.
TEST_F(AndroidSendingTest, AFailedMessageCopyAsksAndItsForAllBoxHoldsForTheSend) {
    sim::PhoneConfig config = installed();
    config.pushFails = true;
    startPhones(one(config));
    auto window = windowWith({{"1", "first & last"}, {"2", "second"}, {"3", "third"}, {"4", "fourth"}});
    QStringList asked; // the number each dialog named
    op.onModal<OneByOneCopyFailure>([&](OneByOneCopyFailure& d) {
          asked << d.text();
          d.OK_Btn(); // this one only
      }).onModal<OneByOneCopyFailure>([&](OneByOneCopyFailure& d) {
        asked << d.text();
        d.setForAll(true);
        d.OK_Btn();
    });
    send(*window);
    EXPECT_EQ(sentMessages(), (QStringList{"1|first & last|classic", "2|second|classic", "3|third|classic",
                                           "4|fourth|classic"}));
    ASSERT_EQ(asked.size(), 2);
    EXPECT_TRUE(asked.at(0).contains("the message for 1.")) << asked.at(0).toStdString();
    EXPECT_TRUE(asked.at(1).contains("the message for 2.")) << asked.at(1).toStdString();
    EXPECT_TRUE(op.questions().isEmpty());
    EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Completed);

    // The box is the send's: the next send asks again, and Cancel ends it.
    auto next = windowWith({{"5", "fifth"}, {"6", "sixth"}});
    op.clearTranscript();
    op.onModal<OneByOneCopyFailure>([](OneByOneCopyFailure& d) { d.Cancel_Btn(); });
    send(*next);
    EXPECT_EQ(sentMessages().size(), 4); // nothing more
    EXPECT_EQ(op.dialogs(), QStringList{"OneByOneCopyFailure"});
    EXPECT_EQ(next->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Stopped);
    EXPECT_FALSE(op.alerts().contains("\nMessage Sending Process Completed."));
}

// Single-shot on that phone: the empty list does not go, and the dialog's three answers do
// what they say, as the phone's log shows.
TEST_F(AndroidSendingTest, AFailedListCopyOffersOneByOneCancelOrContinuingAnyway) {
    const QList<QPair<QString, QString>> rows = {{"1", "a"}, {"2", "b"}};
    struct Case {
        const char* answer;
        std::function<void(SingleShotCopyFailure&)> press;
        QStringList sent;
        Bulk_SMSAppDelegate::RunEnd end;
    } cases[] = {
        {"OK",
         [](SingleShotCopyFailure& d) { d.OK_Btn(); },
         {"1|a|classic", "2|b|classic"},
         Bulk_SMSAppDelegate::RunEnd::Completed},
        {"Cancel",
         [](SingleShotCopyFailure& d) { d.Cancel_Btn(); },
         {},
         Bulk_SMSAppDelegate::RunEnd::Abandoned},
        {"Continue anyway",
         [](SingleShotCopyFailure& d) { d.Continue_Anyway_Btn(); },
         {},
         Bulk_SMSAppDelegate::RunEnd::NothingReached},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        sim::PhoneConfig config = installed();
        config.pushFails = true;
        startPhones(one(config));
        auto window = windowWith(rows);
        window->Single_Shot_Radio();
        op.clearTranscript();
        op.onModal<SingleShotCopyFailure>(c.press);
        if (QLatin1String(c.answer) == "OK") // one by one, where each message's copy fails too
            op.onModal<OneByOneCopyFailure>([](OneByOneCopyFailure& d) {
                d.setForAll(true);
                d.OK_Btn();
            });
        send(*window);
        EXPECT_EQ(sentMessages(), c.sent);
        EXPECT_EQ(window->lastRunEnd(), c.end);
        const QStringList alerts = op.alerts();
        if (QLatin1String(c.answer) == "OK") {
            EXPECT_FALSE(window->singleShotOn()); // the window follows: one by one, standard
            EXPECT_EQ(server->log().events("intent").size(), 2);
        } else if (QLatin1String(c.answer) == "Cancel") {
            EXPECT_TRUE(window->singleShotOn());
            EXPECT_TRUE(server->log().events("intent").isEmpty());
            EXPECT_TRUE(alerts.filter("could not be copied").isEmpty());
        } else {
            // The list itself was tried and refused: the app was not started on an empty list,
            // the operator was told, and every row says so.
            EXPECT_TRUE(server->log().events("intent").isEmpty());
            EXPECT_TRUE(alerts.contains(
                "\nThe list could not be copied to the phone's storage. No message was sent."))
                << alerts.join('|').toStdString();
            EXPECT_FALSE(alerts.contains("\nMessage Sending Process Completed.")); // nothing was
            for (const SendingItem& item : window->run()->record().all())
                EXPECT_EQ(item.status, "The list could not be copied to the phone's storage.")
                    << item.number.toStdString();
        }
        EXPECT_EQ(op.questions(), QStringList{});
        server->stop();
    }
}

TEST_F(AndroidSendingTest, AMissingCompanionAppSendsNothingAndSaysSo) {
    startPhones(one(phone())); // never searched for: the app is not on the phone
    auto window = windowWith({{"1", "a"}, {"2", "b"}});
    window->Classic_Radio();
    op.clearTranscript();
    send(*window);
    EXPECT_TRUE(sentMessages().isEmpty());
    EXPECT_EQ(window->lastRunSent(), 0);
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(
        op.alerts().first().startsWith("\nThe companion app could not be started on the phone; no message "
                                       "was sent to 1."));
}

// A GSM run and an Android run at once in one process, against the virtual modem and the
// virtual phone: each goes through its own device only, and each window's selection, counters
// and statuses are its own.
TEST_F(AndroidSendingTest, AGsmRunAndAnAndroidRunAtOnceStayApart) {
    // The modem's read time-outs leave it time to answer while the phone's run and its adb
    // processes load the machine.
    Clock::setScale(0.05);
    startPhones(one(installed()));
    sim::ModemBehaviour network;
    network.networkDelayMs = 0;
    sim::VirtualModem modem(sim::ModemIdentity{}, network);
    ASSERT_TRUE(modem.start());
    const QString path = modem.devicePath();
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    gsm.windowDidLoad();
    selectModem(gsm.selection(), path);
    gsm.applyDeviceSelection();
    const QStringList toModem = {"+447700900201", "+447700900202", "+447700900203"};
    for (const QString& number : toModem)
        gsm.Create_Num_Msg_List(number, "Through the modem");
    gsm.prev_composer_msg = gsm.composerText();
    const QList<QPair<QString, QString>> toPhone = {{"+447700900101", "Through the phone"},
                                                    {"+447700900102", "Through the phone"}};
    auto android = windowWith(toPhone);
    android->prev_composer_msg = android->composerText();

    android->Send_SMS_Btn(); // the phone's run goes on on its own threads
    bool together = false;
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        together = android->sendInProgress();
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                              std::chrono::seconds(60)));
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        if (!job.isEnded())
            job.CancelPressed();
    });
    gsm.Send_SMS_Btn(); // the ports are checked and the job opens on the event loop
    ASSERT_TRUE(spinUntil([&] { return !gsm.sendingUnderWay(); }, std::chrono::seconds(90)));
    android->waitForSend();
    Clock::setScale(0.001);

    EXPECT_TRUE(together);
    QStringList received;
    for (const sim::ReceivedMessage& m : modem.received())
        received << m.number + "|" + m.text;
    received.sort();
    EXPECT_EQ(received, (QStringList{"+447700900201|Through the modem", "+447700900202|Through the modem",
                                     "+447700900203|Through the modem"}));
    EXPECT_EQ(sentMessages(), (QStringList{"+447700900101|Through the phone|standard",
                                           "+447700900102|Through the phone|standard"}));
    EXPECT_EQ(gsm.sendingJob().progressText(), "3 / 3 Message or 100.00%");
    for (const SendingItem& item : gsm.sendingJob().items())
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();
    EXPECT_EQ(android->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Completed);
    EXPECT_EQ(android->lastRunSent(), 2);
    for (const SendingItem& item : android->run()->record().all())
        EXPECT_EQ(item.status, "Sent (in the phone's sent messages)") << item.number.toStdString();
    EXPECT_EQ(gsm.deviceChoices(), QStringList{path});
    EXPECT_EQ(android->deviceChoices(), QStringList{"VIRTUAL PHONE 5G"});
    EXPECT_EQ(gsm.selection().port_det_str_array.size(), 1);
    EXPECT_TRUE(android->selection().port_det_str_array.isEmpty());
}

// Several attached phones are listed to tick; the ticked ones share the list, and the one
// unplugged in the middle leaves its share to the others: everyone is texted once.
TEST_F(AndroidSendingTest, TickedPhonesShareTheListAndAnUnpluggedOneLeavesItsShare) {
    sim::PhoneConfig unplugged = installed();
    unplugged.serial = "R58CCCC0003";
    unplugged.unplugAfter = 3;
    sim::PhoneConfig spare = installed();
    spare.serial = "R58DDDD0004";
    startPhones({installed(), unplugged, spare});
    QList<QPair<QString, QString>> rows;
    for (int i = 0; i < 24; ++i)
        rows.append({QStringLiteral("+4477009002%1").arg(i, 2, 10, QLatin1Char('0')), "Shared"});
    auto window = windowWith(rows);
    Android_Ph_List_Wnd search(op, home.folder, window->selection(), window->androidSelection());
    EXPECT_EQ(onWorker([&] { return search.searchDevice(false); }), Android_Ph_List_Wnd::Outcome::More);
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('/').toStdString(); // a choice, not a fault
    QStringList listed;
    for (const auto& phone : search.attachedPhones())
        listed << phone.caption + (phone.ticked ? " [x]" : " [ ]");
    EXPECT_EQ(listed, (QStringList{"VIRTUAL PHONE 5G (VPHONE0001) [x]", "VIRTUAL PHONE 5G (R58CCCC0003) [x]",
                                   "VIRTUAL PHONE 5G (R58DDDD0004) [x]"}));
    search.tickPhone(2, false);
    search.beginModal();
    search.Select_Btn();
    EXPECT_EQ(search.endCode(), 1);
    EXPECT_EQ(window->selection().sel_port_name_str,
              "VIRTUAL PHONE 5G (VPHONE0001), VIRTUAL PHONE 5G (R58CCCC0003)");
    window->applyDeviceSelection();

    send(*window);
    QMap<QString, QString> phoneOf;
    for (const QJsonObject& m : server->log().events("message")) {
        EXPECT_FALSE(phoneOf.contains(m.value("number").toString()))
            << m.value("number").toString().toStdString();
        phoneOf.insert(m.value("number").toString(), m.value("serial").toString());
    }
    EXPECT_EQ(phoneOf.size(), rows.size());
    EXPECT_EQ(phoneOf.values().count("R58CCCC0003"), 3);
    EXPECT_EQ(phoneOf.values().count("R58DDDD0004"), 0); // unticked
    for (const SendingItem& item : window->run()->record().all())
        EXPECT_TRUE(item.usePort.endsWith(QStringLiteral("(%1)").arg(phoneOf.value(item.number))))
            << item.number.toStdString() << " " << item.usePort.toStdString();
    // Everyone was reached: the run completed, and the phone that left says so on its line.
    EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::Completed);
    EXPECT_TRUE(op.alerts().contains("\nMessage Sending Process Completed."));
    const auto lines = window->progress().state().phones;
    EXPECT_TRUE(lines.value("VIRTUAL PHONE 5G (R58CCCC0003)").startsWith("Left the run"))
        << lines.value("VIRTUAL PHONE 5G (R58CCCC0003)").toStdString();
    EXPECT_EQ(lines.value("VIRTUAL PHONE 5G (VPHONE0001)"), "Finished.");
    EXPECT_EQ(window->progress().rows().size(), rows.size());
}

TEST_F(AndroidSendingTest, SendChecksComeFirst) {
    startPhones(one(installed()));
    Bulk_SMSAppDelegate window(op, home.folder);
    window.windowDidLoad();
    window.applyDeviceSelection();
    window.Send_SMS_Btn();
    window.waitForSend();
    EXPECT_EQ(op.alerts(),
              QStringList{"\nEither Mobile Device is not connected properly or No Mobile Phone Device is "
                          "selected.\n\nPlease use Mobile Phone Connection Wizard for finding device or "
                          "establishing connection."});
    auto chosen = windowWith({});
    op.clearTranscript();
    chosen->Send_SMS_Btn();
    EXPECT_EQ(op.alerts(), QStringList{"\nPhone numbers-Messages list is empty."});
    EXPECT_TRUE(sentMessages().isEmpty());
}

// A phone turning starts away: the run retries on the same road as a modem's refusal, and
// a phone that turns away start after start leaves the run with its messages unsent.
TEST_F(AndroidSendingTest, RefusedStartsAreRetriedAndAPhoneThatRefusesEveryoneLeaves) {
    const struct {
        int busyStarts;
        QStringList phoneLog; // what the phone sent
        QStringList statuses; // per recipient, as the run recorded them
        QList<int> attempts;
    } cases[] = {
        {1,
         {"1|a|standard", "2|b|standard", "3|c|standard"}, // sorted: a retry waits its turn
         {"Sent (in the phone's sent messages)", "Sent (in the phone's sent messages)",
          "Sent (in the phone's sent messages)"},
         {2, 1, 1}},
        {100, {}, {}, {}}, // a retry may come before the next number: at most two attempts each
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.busyStarts);
        sim::PhoneConfig config = installed();
        config.busyStarts = c.busyStarts;
        startPhones(one(config));
        auto window = windowWith({{"1", "a"}, {"2", "b"}, {"3", "c"}});
        op.clearTranscript();
        send(*window);
        QStringList sent = sentMessages();
        sent.sort();
        EXPECT_EQ(sent.join(" / ").toStdString(),
                  c.phoneLog.join(" / ").toStdString()); // nobody twice, nobody lost
        const QList<SendingItem> items = window->run()->record().all();
        ASSERT_EQ(items.size(), 3);
        for (int i = 0; i < 3; ++i) {
            if (!c.attempts.isEmpty())
                EXPECT_EQ(items.at(i).attempts, c.attempts.at(i)) << i;
            else
                EXPECT_LE(items.at(i).attempts, 2) << i;
            if (!c.statuses.isEmpty())
                EXPECT_EQ(items.at(i).status, c.statuses.at(i));
            else
                EXPECT_TRUE(items.at(i).status.startsWith("Warning: Activity not started, cannot start"))
                    << items.at(i).status.toStdString();
        }
        EXPECT_EQ(window->lastRunEnd(), c.statuses.isEmpty() ? Bulk_SMSAppDelegate::RunEnd::DeviceError
                                                             : Bulk_SMSAppDelegate::RunEnd::Completed);
        server->stop();
    }
}

// A run whose sent items could not be written stops and keeps its record; the next start
// offers it in the Android window, and going on texts only those who were not texted.
TEST_F(AndroidSendingTest, ARunThatStoppedForItsDataResumesWithoutTextingAnyoneTwice) {
    startPhones(one(installed()));
    auto window = windowWith({{"1", "a"}, {"2", "b"}, {"3", "c"}});
    window->setSaveSentItems(true);
    QFile::remove(home.folder.SentItemAnd_File_Path());
    ASSERT_TRUE(QDir().mkpath(
        home.folder.SentItemAnd_File_Path())); // a folder where the file goes: no write succeeds
    send(*window);
    EXPECT_EQ(window->lastRunEnd(), Bulk_SMSAppDelegate::RunEnd::DataNotWritten);
    EXPECT_EQ(sentMessages(), QStringList{"1|a|standard"});
    ASSERT_TRUE(unfinishedIn(home.folder, kAndroidRoad));

    ASSERT_TRUE(QDir(home.folder.SentItemAnd_File_Path()).removeRecursively());
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    auto resumed = windowWith({});
    op.answerYes(); // resume
    offerToResumeUnfinishedRun(gsm, *resumed, op);
    EXPECT_TRUE(gsm.list().isEmpty());
    ASSERT_EQ(resumed->list().size(), 2);
    send(*resumed);
    EXPECT_EQ(sentMessages(), (QStringList{"1|a|standard", "2|b|standard", "3|c|standard"}));
    EXPECT_FALSE(unfinishedIn(home.folder, kAndroidRoad)); // the run ended
}

// The open desktop reads the chosen phone's inbox while the window sends nothing: each reply
// kept once however many passes read it (the phone keeps its messages), the reading let go
// before a run and taken up after it.
TEST_F(AndroidSendingTest, TheOpenWindowReadsThePhonesInboxBetweenRuns) {
    Clock::setScale(0.01); // a pass every 0.6 s
    const struct ScaleBack {
        ~ScaleBack() { Clock::setScale(0.001); }
    } scaleBack;
    const QString incoming = home.root() + "/incoming.jsonl";
    ASSERT_TRUE(
        writeFileAtomically(incoming, "{\"from\": \"+447400123458\", \"text\": \"Open on Sunday?\"}\n"));
    sim::PhoneConfig config = installed();
    config.incomingPath = incoming;
    startPhones(one(config));
    auto window = windowWith({{"+447400123456", "Your table is booked."}});
    window->One_By_One_Radio();
    QStringList told;
    QObject::connect(&window->replies(), &WindowReplies::replyKept, [&] { told << "kept"; });
    window->replies().setEnabled(true);
    ASSERT_TRUE(spinUntil([&] { return told.size() == 1; }));
    spinUntil([] { return false; }, std::chrono::milliseconds(2000)); // passes that read it again
    EXPECT_EQ(told.size(), 1);

    window->prev_composer_msg = window->composerText();
    window->Send_SMS_Btn();
    EXPECT_FALSE(window->replies().reading()); // the run has the phone to itself
    window->waitForSend();
    EXPECT_EQ(sentMessages(), QStringList{"+447400123456|Your table is booked.|standard"});
    EXPECT_TRUE(window->replies().reading());

    QFile file(incoming);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("{\"from\": \"+447400123456\", \"text\": \"Thanks!\"}\n");
    file.close();
    ASSERT_TRUE(spinUntil([&] { return told.size() == 2; }));
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, &why);
    ASSERT_TRUE(store) << why.toStdString();
    const std::optional<QList<ReceivedRow>> kept = listReceived(*store, {}, &why);
    ASSERT_TRUE(kept) << why.toStdString();
    QStringList rows;
    for (const ReceivedRow& row : *kept)
        rows << row.message.device + "|" + row.message.road + "|" + row.message.sender + "|" +
                    row.message.text + "|" + (row.campaign == 0 ? "-" : "campaign");
    rows.sort();
    EXPECT_EQ(rows, (QStringList{"VIRTUAL PHONE 5G|" + kAndroidRoad + "|+447400123456|Thanks!|campaign",
                                 "VIRTUAL PHONE 5G|" + kAndroidRoad + "|+447400123458|Open on Sunday?|-"}));
}

// Send later: the list kept as a scheduled campaign goes through the selected phone once its
// time comes, and not before; the window's list stays as it is.
TEST_F(AndroidSendingTest, AScheduledCampaignIsSentThroughThePhoneAtItsTimeOnly) {
    qputenv("BULKSMS_FAKE_NOW", "2026-11-26T07:10:00Z");
    Clock::readNowFromEnvironment();
    startPhones(one(installed()));
    auto window = windowWith({{"1", "Doors open at nine"}, {"2", "Doors open at nine"}});
    window->prev_composer_msg = window->composerText();
    const qint64 startAt = Clock::nowMs() + 3600LL * 1000;
    op.onModal<SendLater>([startAt](SendLater& d) {
        d.setStartAt(QDateTime::fromMSecsSinceEpoch(startAt));
        d.OKPressed();
    });
    window->Send_Later_Btn();
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, nullptr);
    ASSERT_TRUE(store);
    const std::optional<QList<CampaignSummary>> made = listCampaigns(*store);
    ASSERT_TRUE(made && made->size() == 1);
    const CampaignSummary scheduled = made->first();
    EXPECT_EQ(scheduled.state, "scheduled");
    EXPECT_EQ(scheduled.road, kAndroidRoad);

    window->scheduledSend().setEnabled(true);
    spinUntil([] { return false; }, std::chrono::milliseconds(300)); // ten checks at this clock
    EXPECT_TRUE(sentMessages().isEmpty());
    EXPECT_EQ(campaignSummary(*store, scheduled.id)->state, "scheduled");

    qputenv("BULKSMS_FAKE_NOW", QDateTime::fromMSecsSinceEpoch(scheduled.startAt + 60LL * 1000)
                                    .toUTC()
                                    .toString(Qt::ISODate)
                                    .toUtf8());
    Clock::readNowFromEnvironment();
    EXPECT_TRUE(spinUntil([&] { return window->lastRunEnd() == Bulk_SMSAppDelegate::RunEnd::Completed; },
                          std::chrono::seconds(60)));
    window->waitForSend();
    window->scheduledSend().setEnabled(false);
    qunsetenv("BULKSMS_FAKE_NOW");
    Clock::readNowFromEnvironment();
    EXPECT_EQ(sentMessages(),
              (QStringList{"1|Doors open at nine|standard", "2|Doors open at nine|standard"}));
    EXPECT_EQ(campaignSummary(*store, scheduled.id)->state, "finished");
    EXPECT_EQ(window->list().size(), 2);
}

} // namespace
