// Whole sending runs from the GSM window's Send button to the closing message, against
// virtual modems on pseudo-terminals: what "the network" received, item by item.
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"

#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/Selected_Device_Details_GSM.h"
#include "gsm/windows/SimPinDialog.h"

#include "MainThreadWatchdog.h"
#include "ScriptedOperator.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "sim/VirtualModem.h"
#include "stores/windows/ExportDialogs.h"

#include <QElapsedTimer>
#include <QFile>

#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace {

// How many of the job's items are finished.
int finishedIn(const SMS_Sending& job) {
    int finished = 0;
    for (const SendingItem& item : job.items())
        finished += !item.status.isEmpty();
    return finished;
}

using sim::ModemBehaviour;
using sim::VirtualModem;

class SendingRunTest : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::setScale(0.02); // a second is 20 ms; read time-outs leave the modems time to answer
        window.windowDidLoad();
        window.setTextChangeNotifications(true);
    }
    void TearDown() override { Clock::setScale(0.001); }

    VirtualModem& attach(const QString& mode = "PDU Mode", ModemBehaviour behaviour = {}) {
        behaviour.networkDelayMs = 0;
        sim::ModemIdentity id;
        id.imei = QString::number(356000000000000LL + qint64(modems.size()));
        modems.push_back(std::make_unique<VirtualModem>(id, behaviour));
        EXPECT_TRUE(modems.back()->start());
        selectModem(window.selection(), modems.back()->devicePath(), mode);
        return *modems.back();
    }
    void chooseDevices() { window.applyDeviceSelection(); }
    // As a load leaves the list: every row with its message, the composer holding nothing new.
    void addRecipients(const QStringList& numbers, const QString& message) {
        for (const QString& n : numbers)
            window.Create_Num_Msg_List(n, message);
        window.prev_composer_msg = window.composerText();
    }

    // Presses Send and lets the run go to its end; `during` runs on the job once it sends,
    // `fromTheStart` as soon as its window opens (a short run may be over before it sends).
    void send(const std::function<void(SMS_Sending&)>& during = {},
              const std::function<void(SMS_Sending&)>& fromTheStart = {}) {
        op.onModal<SMS_Sending>([&](SMS_Sending& job) {
            if (fromTheStart)
                fromTheStart(job);
            ASSERT_TRUE(
                spinUntil([&] { return job.statusLine() == kSendingTitle || job.statusLine() == kFinish; }));
            if (during)
                during(job);
            ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                                  std::chrono::seconds(60)));
            ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
            if (!job.isEnded())
                job.CancelPressed();
        });
        window.Send_SMS_Btn();
        ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    }
    QList<SendingItem> items() { return window.sendingJob().items(); }
    QStringList receivedNumbers() const {
        QStringList out;
        for (const auto& m : modems)
            for (const auto& r : m->received())
                out << r.number;
        out.sort();
        return out;
    }

    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::vector<std::unique_ptr<VirtualModem>> modems;
};

QStringList numbers(int count, int first = 100) {
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << QStringLiteral("+4477009%1").arg(first + i);
    return out;
}

TEST_F(SendingRunTest, TwoPortsSendEveryItemExactlyOnce) {
    attach();
    attach("Text Mode");
    chooseDevices();
    ASSERT_EQ(window.currentDeviceChoice(), "All Device");
    addRecipients(numbers(10), "Hello from the test");

    send();
    EXPECT_EQ(receivedNumbers(), numbers(10));
    int byFirst = 0;
    for (const SendingItem& item : items()) {
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();
        EXPECT_EQ(item.currentStatus, "Done (" + item.usePort + ")");
        byFirst += item.usePort == modems.at(0)->devicePath();
    }
    EXPECT_GT(byFirst, 0);
    EXPECT_LT(byFirst, 10); // both ports took part
    for (const auto& m : modems)
        for (const auto& r : m->received())
            EXPECT_EQ(r.text, "Hello from the test");
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is finished.");
    EXPECT_EQ(window.sendingJob().progressText(), "10 / 10 Message or 100.00%");
}

// Text mode cannot link parts: with only a port in text mode the run does not start; beside a
// port in PDU mode (opened after it), every message goes there, linked.
TEST_F(SendingRunTest, LinkedPartsGoThroughAPortInPduModeOrTheRunDoesNotStart) {
    ModemBehaviour textOnly;
    textOnly.modes = ModemBehaviour::Modes::TextOnly;
    const QString textPort = attach("Text Mode", textOnly).devicePath();
    chooseDevices();
    const QString cyrillic(100, QChar(0x0416)); // two parts in UCS2
    addRecipients(numbers(3), cyrillic);
    window.Send_SMS_Btn();
    ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }));
    EXPECT_EQ(op.alerts().last(), "\nThe message to +4477009100 needs 2 linked parts (Unicode), which " +
                                      textPort +
                                      " in text mode cannot send as one message. Use PDU mode on a "
                                      "device that offers it.");
    attach();
    chooseDevices();
    send();
    EXPECT_TRUE(modems.at(0)->received().isEmpty());
    ASSERT_EQ(modems.at(1)->received().size(), 3);
    for (const auto& r : modems.at(1)->received())
        EXPECT_TRUE(r.complete && r.parts == 2 && r.text == cyrillic) << r.parts;
}

TEST_F(SendingRunTest, EightPortsAreCheckedAndStartedWhileTheWindowStaysResponsive) {
    // A second is 200 ms here (more under a sanitizer's slowdown): a port check or the rest
    // before the job shows, if it blocked this thread, would stand out as a gap of half a
    // second or more.
    Clock::setScale(0.2);
    const qint64 halfASecond =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::scaled(std::chrono::milliseconds(500)))
            .count();
    for (int i = 0; i < 8; ++i)
        attach();
    chooseDevices();
    addRecipients(numbers(8), "t");
    MainThreadWatchdog watchdog;
    // Handled at the first turn of this thread's events: during the port check, if the check
    // leaves the thread free; only after the whole run if the check blocked it.
    bool handledDuringCheck = false;
    MainThread::post([&] { handledDuringCheck = window.pleaseWaitShown(); });
    send();
    EXPECT_TRUE(handledDuringCheck);
    EXPECT_EQ(receivedNumbers(), numbers(8));
    EXPECT_LT(watchdog.longestGapMs(), halfASecond);
}

TEST_F(SendingRunTest, DuplicatesExclusionsAndLongMessages) {
    attach();
    chooseDevices();
    window.setSkipDuplicates(true);
    addRecipients({"111", "222", "111"}, QString(2000, 'x'));
    QSet<QString> shown; // what the rows said while the 11 parts of each message went
    send({}, [&](SMS_Sending& job) {
        QObject::connect(&job, &SMS_Sending::changed, &job, [&] {
            for (const Record& row : job.itemTable().records())
                shown.insert(row.value(kItemCurrentStatusKey));
        });
    });
    EXPECT_TRUE(shown.contains("Sending part 11 of 11"))
        << QStringList(shown.values()).join('|').toStdString();
    const QList<SendingItem> all = items();
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(all.at(2).status, "Skipped."); // the list holds 111, 222, 111 top down
    EXPECT_EQ(all.at(2).currentStatus, "Done");
    EXPECT_EQ(modems.at(0)->received().size(), 2);
    for (const auto& r : modems.at(0)->received())
        EXPECT_EQ(r.text, QString(1600, 'x'));
}

TEST_F(SendingRunTest, ExcludedNumbersAreNotSentEvenWhenListedBeforeTheExclusion) {
    attach();
    attach();
    chooseDevices();
    addRecipients(numbers(6), "e"); // listed first: the run itself must leave them out
    home.folder.Check_Path_And_Create_Files();
    ASSERT_TRUE(writeFileAtomically(home.folder.Exclusion_Folder_Path() + "/VIP.OSTREL",
                                    (numbers(1, 101).first() + "\n" + numbers(1, 104).first()).toUtf8()));
    ASSERT_TRUE(appendToFile(home.folder.AppExclusion_File_Path(), "VIP\n"));
    window.Exclusion_Chk(true);
    send();
    QStringList excluded;
    for (const SendingItem& item : items())
        if (item.status == "Excluded.")
            excluded << item.number;
    excluded.sort();
    EXPECT_EQ(excluded, (QStringList{numbers(1, 101).first(), numbers(1, 104).first()}));
    EXPECT_EQ(receivedNumbers().size(), 4);
    EXPECT_FALSE(receivedNumbers().contains(numbers(1, 101).first()));
}

TEST_F(SendingRunTest, UnknownModeEndsEveryItemWithTheErrorAndSaysSo) {
    attach("NONE");
    chooseDevices();
    addRecipients({"111", "222"}, "hi");
    send();
    for (const SendingItem& item : items())
        EXPECT_EQ(item.status, "Error : +CMS ERROR: 500.");
    EXPECT_TRUE(
        op.alerts().contains("\nSelected device is not working properly.Could not initialize device.\n"));
    EXPECT_TRUE(modems.at(0)->received().isEmpty());
}

TEST_F(SendingRunTest, ARefusingModemLeavesTheRunAndTheHealthyOneSendsEverything) {
    ModemBehaviour refusing; // no credit: every message refused
    for (const QString& n : numbers(12))
        refusing.cmsErrorForNumber.insert(n, 38);
    attach("PDU Mode", refusing);
    ModemBehaviour slow; // the refusing modem meets three refusals before this one is through
    slow.answerLatencyMs = 500;
    attach("PDU Mode", slow);
    chooseDevices();
    addRecipients(numbers(12), "x");
    send();
    int retried = 0;
    for (const SendingItem& item : items()) {
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();
        EXPECT_EQ(item.usePort, modems.at(1)->devicePath());
        EXPECT_LE(item.attempts, 2);
        retried += item.attempts > 1;
    }
    EXPECT_GE(retried, 3); // at least the three the refusing modem turned down before it left
    EXPECT_EQ(receivedNumbers(), numbers(12));
    EXPECT_TRUE(window.sendingJob()
                    .portStatuses()
                    .value(modems.at(0)->devicePath())
                    .startsWith("Left the run after 3 refusals in a row (last: +CMS ERROR: 38)"));
}

TEST_F(SendingRunTest, APortWhoseModemRefusesItsModeLeavesBeforeTypingAMessage) {
    ModemBehaviour halfPdu; // lists PDU mode, refuses AT+CMGF=0
    halfPdu.pduModeRefused = true;
    attach("PDU Mode", halfPdu);
    attach("PDU Mode");
    chooseDevices();
    addRecipients(numbers(4), "x");
    send();
    for (const SendingItem& item : items()) {
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();
        EXPECT_EQ(item.usePort, modems.at(1)->devicePath());
    }
    EXPECT_TRUE(modems.at(0)->received().isEmpty()); // nothing typed for the wrong format
    EXPECT_EQ(window.sendingJob().portStatuses().value(modems.at(0)->devicePath()),
              "Left the run: the device refused PDU Mode (AT+CMGF=0).");
}

TEST_F(SendingRunTest, DeliveryReportsFillInDuringTheRunHandedOverOrKeptByTheModem) {
    Clock::setScale(0.05);
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files()); // the data folder, where the campaign store is
    const QStringList to = numbers(6);
    ModemBehaviour network;
    network.deliveryStatusForNumber.insert(to.at(1), 0x61); // recipient busy
    network.deliveryStatusForNumber.insert(to.at(4), 0x46); // validity period expired
    network.noStatusReportFor << to.at(2);                  // the network lost this one's report
    attach("PDU Mode", network);
    ModemBehaviour keeping = network; // announces "+CDSI" and is read
    keeping.reportsStoredOnly = true;
    attach("Text Mode", keeping);
    chooseDevices();
    window.setDeliveryReports(true);
    addRecipients(to, "Did it arrive?");
    bool shownBeforeTheEnd = false;
    send([&](SMS_Sending& job) {
        EXPECT_TRUE(job.deliveryReportsRequested());
        shownBeforeTheEnd = spinUntil([&] {
            for (const Record& row : job.itemTable().records())
                if (row.value("Delivery") == QLatin1String("Delivered"))
                    return job.statusLine() != kFinish;
            return false;
        });
        // A report is in the store before it is shown: a crash now would not lose it.
        EXPECT_TRUE(deliveriesIn(home.folder).contains("Delivered"));
    });
    EXPECT_TRUE(shownBeforeTheEnd);
    EXPECT_FALSE(unfinishedIn(home.folder)); // the run ended, reports and all
    QMap<QString, QString> delivery;
    for (const SendingItem& item : items()) {
        EXPECT_EQ(item.status, "Message sent successfully.");
        delivery.insert(item.number, item.delivery);
    }
    EXPECT_EQ(delivery.value(to.at(0)), "Delivered");
    EXPECT_EQ(delivery.value(to.at(1)), "Not delivered (recipient busy)");
    EXPECT_EQ(delivery.value(to.at(2)), "No report received");
    EXPECT_EQ(delivery.value(to.at(3)), "Delivered");
    EXPECT_EQ(delivery.value(to.at(4)), "Not delivered (validity period expired)");
    for (const auto& m : modems) {
        EXPECT_FALSE(m->received().isEmpty());
        for (const auto& r : m->received())
            EXPECT_TRUE(r.reportRequested) << r.mode.toStdString(); // the network was asked, in both modes
    }

    // The report tells each message's port, attempts, the reference the network gave it (each
    // modem numbers its messages 1, 2, ... in the order it took them) and its delivery.
    const QString report = home.root() + "/delivery";
    op.onModal<Status_Export_Option>([](Status_Export_Option& d) { d.OKPressed(); })
        .onModal<Export_Option>([](Export_Option& d) { d.OKPressed(); })
        .chooseFile(report)
        .onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
    window.sendingJob().Export_Btn();
    ASSERT_TRUE(spinUntil([&] { return QFile::exists(report + ".txt") && op.dialogs().size() >= 4; }));
    const QString text = reportText(readAll(report + ".txt"));
    int told = 0;
    for (const auto& m : modems) {
        const QList<sim::ReceivedMessage> taken = m->received();
        for (int i = 0; i < taken.size(); ++i) {
            const QString number = taken.at(i).number;
            const QString expected =
                QStringLiteral("Number\t\t: %1\nMessage\t\t: Did it arrive?\nCurrent Status\t: Done (%2)\n"
                               "Sent Status\t: Message sent successfully.\nDevice\t\t: %2\nAttempts\t: 1\n"
                               "Message Reference\t: %3\nDelivery State\t: %4\n")
                    .arg(number, m->devicePath())
                    .arg(i + 1)
                    .arg(delivery.value(number));
            EXPECT_TRUE(text.contains(expected)) << expected.toStdString() << "\nin\n" << text.toStdString();
            ++told;
        }
    }
    EXPECT_EQ(told, to.size());
}

TEST_F(SendingRunTest, AModemThatWillNotHandOverReportsSendsWithoutAskingAndSaysSo) {
    Clock::setScale(0.05); // one answer decides: give it time on a busy machine
    ModemBehaviour noRouting;
    noRouting.scriptedAnswers.insert("AT+CNMI=2,1,0,1,0", "\r\nERROR\r\n");
    noRouting.scriptedAnswers.insert("AT+CNMI=2,1,0,2,0", "\r\nERROR\r\n");
    attach("PDU Mode", noRouting);
    chooseDevices();
    window.setDeliveryReports(true);
    addRecipients(numbers(2), "x");
    send();
    for (const SendingItem& item : items()) {
        EXPECT_EQ(item.status, "Message sent successfully.");
        EXPECT_EQ(item.delivery, "");
    }
    for (const auto& r : modems.at(0)->received())
        EXPECT_FALSE(r.reportRequested); // a report the computer never hears of would fill the SIM
    EXPECT_EQ(window.sendingJob().portStatuses().value(modems.at(0)->devicePath()),
              "No delivery reports: the device refused to hand them over or keep them (AT+CNMI).");
}

TEST_F(SendingRunTest, WithoutRetriesOrAnotherPortRefusalsAreFinalAndThePortStillLeaves) {
    ModemBehaviour refusing;
    for (const QString& n : numbers(5))
        refusing.cmsErrorForNumber.insert(n, 38);
    attach("PDU Mode", refusing);
    chooseDevices();
    window.setRetries(0);
    addRecipients(numbers(5), "again");
    send();
    QStringList statuses;
    for (const SendingItem& item : items())
        statuses << item.status;
    EXPECT_EQ(statuses.count("+CMS ERROR: 38"), 3);
    EXPECT_EQ(statuses.count("Not sent: no device was left in the run."), 2);
    EXPECT_TRUE(modems.at(0)->received().isEmpty());
}

TEST_F(SendingRunTest, SentItemsAndTemplatesAreWrittenOncePerMessage) {
    attach();
    attach();
    chooseDevices();
    window.setSaveSentItems(true);
    window.setSaveTemplates(true);
    addRecipients(numbers(4), "Two\nlines");
    send();
    QFile sent(home.folder.SentItem_File_Path());
    ASSERT_TRUE(sent.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = sent.readAll().split('\n');
    ASSERT_EQ(lines.size(), 5);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(lines[i].startsWith("\a+4477009") && lines[i].contains("\vTwo|AP*|DX/lines\a") &&
                    lines[i].endsWith("\vMessage sent successfully."))
            << lines[i].toStdString();
    QFile templates(home.folder.Templates_File_Path());
    ASSERT_TRUE(templates.open(QIODevice::ReadOnly));
    EXPECT_EQ(templates.readAll(), "Two|AP*|DX/lines\n");
}

TEST_F(SendingRunTest, StopLeavesUntakenItemsStoppedAndTheExportPutsThemWithTheUnsent) {
    attach();
    chooseDevices();
    addRecipients(numbers(30), "m");
    op.answerYes();
    send([](SMS_Sending& job) {
        EXPECT_FALSE(job.exportVisible());
        ASSERT_TRUE(spinUntil([&] { return finishedIn(job) >= 2; }));
        job.Stop_Btn();
    });
    int stopped = 0;
    for (const SendingItem& item : items())
        stopped += item.status == "Stopped." && item.useStatus == UseStatus::Stopped &&
                   item.currentStatus == "Stopped";
    EXPECT_GT(stopped, 20);
    int shownStopped = 0; // the item table shows the use state as its text
    for (const Record& row : window.sendingJob().itemTable().records())
        shownStopped += row.value("Use Status") == "Stopped";
    EXPECT_EQ(shownStopped, stopped);
    EXPECT_EQ(modems.at(0)->received().size(), 30 - stopped);
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is stopped");

    SMS_Sending& job = window.sendingJob();
    EXPECT_TRUE(job.exportVisible());
    const QString report = home.root() + "/report";
    op.onModal<Status_Export_Option>([](Status_Export_Option& d) {
          d.Export_Not_Sent_RD();
          d.OKPressed();
      })
        .onModal<Export_Option>([](Export_Option& d) { d.OKPressed(); })
        .chooseFile(report)
        .onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
    job.Export_Btn(); // runs on the main thread's next turn
    ASSERT_TRUE(spinUntil([&] { return QFile::exists(report + ".txt") && op.dialogs().size() >= 4; }));
    const QString text = reportText(readAll(report + ".txt"));
    EXPECT_EQ(text.count("Sent Status\t: Stopped.\n"), stopped);
    EXPECT_FALSE(text.contains("Message sent successfully."));
    EXPECT_EQ(text.count("Number\t\t: "), stopped);
    EXPECT_EQ(permissionsOf(report + ".txt"), 0600u);
}

TEST_F(SendingRunTest, CloseDuringSendingStopsAndClosesTheWindow) {
    attach();
    chooseDevices();
    addRecipients(numbers(30), "c");
    op.answerYes();
    send([](SMS_Sending& job) {
        ASSERT_TRUE(spinUntil([&] { return finishedIn(job) >= 1; }));
        job.CancelPressed();
    });
    EXPECT_TRUE(window.sendingJob().isEnded());
    EXPECT_EQ(op.questions(),
              QStringList{"\nTerminating the current process will stop sending text messages to the "
                          "remaining contact. Are you sure you want to continue?"});
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is stopped.");
}

TEST_F(SendingRunTest, PausesAfterEveryMessageButNotAfterTheLast) {
    attach();
    chooseDevices();
    window.Delayed_Delivery_Chk(true);
    window.setDelayedCountChoice("1");
    window.setDelayedTimeChoice("5  Seconds");
    addRecipients(numbers(3), "p");
    QStringList labels;
    send({}, [&](SMS_Sending& job) {
        QObject::connect(&job, &DialogController::changed, &job, [&] {
            if (labels.isEmpty() || labels.last() != job.pauseLabel())
                labels << job.pauseLabel();
        });
    });
    EXPECT_EQ(labels.count("Pausing the process for 5 Seconds."), 2) << labels.join(" | ").toStdString();
    EXPECT_EQ(modems.at(0)->received().size(), 3);
    EXPECT_FALSE(window.sendingJob().pausing());
}

TEST_F(SendingRunTest, StopDuringALongPauseEndsTheRunAtOnce) {
    attach();
    chooseDevices();
    window.Delayed_Delivery_Chk(true);
    window.setDelayedCountChoice("1");
    window.setDelayedTimeChoice("10 Minutes"); // 12 s at this scale: the run would outlast the test
    addRecipients(numbers(4), "s");
    op.answerYes();
    send([](SMS_Sending& job) {
        ASSERT_TRUE(spinUntil([&] { return job.pausing(); }));
        job.Stop_Btn();
    });
    EXPECT_EQ(modems.at(0)->received().size(), 1);
    int stopped = 0;
    for (const SendingItem& item : items())
        stopped += item.status == "Stopped.";
    EXPECT_EQ(stopped, 3);
    EXPECT_EQ(op.alerts().last(), "\nSMS Sending process is stopped");
}

// Two ports: the second one's network answers wait for a pause, so each of its messages ends
// while the first port pauses. The count starts again when a pause is over: those messages do
// not bring the next pause closer, which comes after N messages sent since.
TEST_F(SendingRunTest, AfterAPauseTheNextComesAfterTheCountOfMessagesFinishedSinceIt) {
    Clock::setScale(0.05); // "5  Seconds" lasts 250 ms: several messages long
    constexpr int kCount = 2;
    constexpr int kTotal = 15;
    SMS_Sending& job = window.sendingJob();
    std::atomic<int> pausesStarted{0}, accepted{0}, answeredInAPause{0};
    std::atomic<bool> watching{true};
    std::thread watcher([&] { // the pauses as they begin, seen from outside the run
        bool before = false;
        while (watching) {
            const bool now = job.pausing();
            pausesStarted += now && !before;
            before = now;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    std::mutex mutex;
    QList<int> stretchOfFirst; // per message of the first port: the pauses begun when the network took it
    ModemBehaviour first;
    first.afterAccepting = [&] {
        ++accepted;
        std::lock_guard lock(mutex);
        stretchOfFirst << pausesStarted.load();
    };
    ModemBehaviour second;
    second.afterAccepting = [&] {
        ++accepted;
        QElapsedTimer waited;
        waited.start();
        while (!job.pausing() && accepted < kTotal && waited.elapsed() < 2000)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        answeredInAPause += job.pausing();
    };
    attach("PDU Mode", first);
    attach("PDU Mode", second);
    chooseDevices();
    window.Delayed_Delivery_Chk(true);
    window.setDelayedCountChoice(QString::number(kCount));
    window.setDelayedTimeChoice("5  Seconds");
    addRecipients(numbers(kTotal), "n");
    send();
    watching = false;
    watcher.join();

    EXPECT_EQ(receivedNumbers(), numbers(kTotal));
    ASSERT_GE(answeredInAPause.load(), 2) << "too few messages ended during a pause";
    const int pauses = pausesStarted.load();
    ASSERT_GE(pauses, 4);
    // Each stretch up to a pause: exactly N messages, all the first port's. (The last pause
    // may follow the second port's last message, let go when the network had every message.)
    std::lock_guard lock(mutex);
    for (int stretch = 0; stretch < pauses - 1; ++stretch)
        EXPECT_EQ(stretchOfFirst.count(stretch), kCount) << "before pause " << stretch + 1;
}

TEST_F(SendingRunTest, TextsTheAlphabetCannotCarryGoAsUnicodeAndTheEndSaysHowMany) {
    attach();
    chooseDevices();
    window.Create_Num_Msg_List("+447700900201", "\u041F\u0440\u0438\u0432\u0435\u0442");
    window.Create_Num_Msg_List("+447700900202", "\u201CQuoted\u201D \u2013 plain?");
    window.Create_Num_Msg_List("+447700900203", "Plain {7-bit}");
    window.prev_composer_msg = window.composerText();
    send();
    EXPECT_EQ(window.sendingJob().sentAsUnicode(), 2);
    EXPECT_TRUE(window.sendingJob().notice().endsWith(
        "2 messages went as Unicode: the GSM alphabet cannot carry their text."));

    // With typographic punctuation replaced, the quoted text stays in 7-bit (sent again on asking).
    window.setPlainPunctuation(true);
    op.answerYes();
    send();
    EXPECT_EQ(window.sendingJob().sentAsUnicode(), 1);
    QMap<QString, QString> lastText;
    QMap<QString, int> lastDcs;
    for (const sim::ReceivedMessage& m : modems.at(0)->received()) {
        lastText[m.number] = m.text;
        lastDcs[m.number] = m.dcs;
    }
    EXPECT_EQ(lastText.value("+447700900201"), "\u041F\u0440\u0438\u0432\u0435\u0442");
    EXPECT_EQ(lastDcs.value("+447700900201"), 0x08);
    EXPECT_EQ(lastText.value("+447700900202"), "\"Quoted\" - plain?");
    EXPECT_EQ(lastDcs.value("+447700900202"), 0x00);
    EXPECT_EQ(lastText.value("+447700900203"), "Plain {7-bit}");
}

TEST_F(SendingRunTest, PortsStartTwoSecondsApart) {
    attach();
    attach();
    chooseDevices();
    addRecipients(numbers(6), "t");
    QMap<QString, qint64> firstTaken; // port -> when it took its first item
    QElapsedTimer clock;
    clock.start();
    SMS_Sending& job = window.sendingJob();
    QObject::connect(&job.itemTable(), &RecordTable::rowChanged, &job, [&](int row) {
        const QString port = job.itemTable().at(row).value("Use Port");
        if (!port.isEmpty() && !firstTaken.contains(port))
            firstTaken.insert(port, clock.elapsed());
    });
    send();
    ASSERT_EQ(firstTaken.size(), 2);
    const qint64 gap =
        firstTaken.value(modems.at(1)->devicePath()) - firstTaken.value(modems.at(0)->devicePath());
    EXPECT_GE(gap,
              Clock::scaled(std::chrono::seconds(2)).count() / 1000); // at least the prescribed 2 s, shrunk
}

TEST_F(SendingRunTest, SendRefusesWithoutDevicesOrRecipients) {
    window.Send_SMS_Btn();
    attach();
    chooseDevices();
    window.Send_SMS_Btn();
    window.setNumberField("123");
    window.Send_SMS_Btn();
    EXPECT_EQ(op.alerts(),
              (QStringList{
                  "\nEither Mobile Device is not connected properly or No Mobile Phone Device is selected."
                  "\n\nPlease use Mobile Phone Connection Wizard for finding device or establishing "
                  "connection.",
                  "\nPhone numbers-Messages list is empty.", "\nPlease insert entered number to the list."}));
}

TEST_F(SendingRunTest, AnUnfinishedRunIsDiscardedOnlyOnYes) {
    attach();
    chooseDevices();
    addRecipients(numbers(2), "x");

    // A run that did not end: No keeps its record and sends nothing; Yes discards it and sends.
    {
        SendingItem item;
        item.number = "+447700900999";
        const std::unique_ptr<StoredRun> unfinished = storedRunIn(home.folder);
        unfinished->begin({item}, kGsmRoad);
        ASSERT_EQ(unfinished->failure(), "");
    }
    op.answerNo();
    window.Send_SMS_Btn();
    EXPECT_TRUE(receivedNumbers().isEmpty());
    EXPECT_TRUE(unfinishedIn(home.folder));
    EXPECT_TRUE(op.questions().last().startsWith("A run that did not end (0 of 1 sent) is kept"));
    op.answerYes();
    send();
    EXPECT_EQ(receivedNumbers(), numbers(2));
    EXPECT_FALSE(unfinishedIn(home.folder));
}

} // namespace

// The settings a person applies from the automated test of the selected-device details window
// are what the next run sends with: the network sees the mode and the service centre.
namespace {
TEST_F(SendingRunTest, ACaseAppliedFromTheDetailsWindowIsWhatTheNextRunUses) {
    Clock::setScale(0.2); // the test's own reads (character sets, service centre) outlast a busy machine
    ModemBehaviour behaviour;
    behaviour.refusedServiceCentres = {"+447700900123"}; // the modem's own centre is refused
    VirtualModem& modem = attach("PDU Mode", behaviour);
    window.selection().port_det_str_array[0].insert("SUPSMSMode", ";PDU Mode;Text Mode;");
    chooseDevices();
    op.onModal<Automated_GSM_Sending>([&](Automated_GSM_Sending& test) {
        test.setCustomSmscText("+447700900999");
        test.setTestNumberText("+447700900555");
        test.Send_Test_SMS_Pressed();
        test.waitForTest();
        ASSERT_TRUE(spinUntil([&] { return !test.testing(); }));
        ASSERT_EQ(test.nsCaseListData().at(2).value("Case_Name"), "TXT_CUS_SMSC");
        EXPECT_EQ(test.nsCaseListData().at(2).value("Status"), "Message sent successfully.");
        EXPECT_EQ(test.nsCaseListData().at(3).value("Status"), "+CMS ERROR: 330");
        test.selectCase(2);
        op.answerYes();
        test.Use_Settings_Button_Presses();
        test.Close_Button_Presses();
    });
    Selected_Device_Details_GSM& details = window.deviceDetailsWindow();
    details.fillRows();
    details.Automate_Button_Presses();
    EXPECT_EQ(details.PDU_TEXT_MODE_SEL(), 2); // the mode buttons follow
    EXPECT_EQ(window.selection().port_det_str_array.at(0).value("SMSMode"), "Text Mode");

    const int before = int(modem.received().size());
    addRecipients({"+447700900777"}, "After the test");
    send();
    ASSERT_EQ(modem.received().size(), before + 1);
    const sim::ReceivedMessage sent = modem.received().last();
    EXPECT_EQ(sent.number, "+447700900777");
    EXPECT_EQ(sent.mode, "TEXT");
    EXPECT_EQ(sent.smsc, "+447700900999");
    EXPECT_EQ(items().at(0).status, "Message sent successfully.");
}

TEST_F(SendingRunTest, AModemPluggedInWithALockedSimJoinsWithThePinTheOperatorGives) {
    QTemporaryDir plugs; // where the modem plugged in later appears, as udev would name it
    const QString plugged = plugs.filePath("ttyUSB7");
    qputenv("BULKSMS_EXTRA_MODEMS", plugged.toUtf8());
    ModemBehaviour slow; // leaves work for the modem plugged in
    slow.networkDelayMs = 4000;
    sim::ModemIdentity firstId;
    firstId.imei = "356000000000098";
    modems.push_back(std::make_unique<VirtualModem>(firstId, slow));
    VirtualModem& first = *modems.back();
    ASSERT_TRUE(first.start());
    selectModem(window.selection(), first.devicePath(), "PDU Mode");
    chooseDevices();
    window.setTakeNewModems(true);
    addRecipients(numbers(16), "Plugged");
    QStringList asked;
    send([&](SMS_Sending& job) {
        ASSERT_TRUE(spinUntil([&] { return !first.received().isEmpty(); }, std::chrono::seconds(30)));
        op.onModal<SimPinDialog>([&](SimPinDialog& d) {
            asked << d.heading();
            d.setPin("2468");
            d.OKPressed();
        });
        ModemBehaviour locked;
        locked.networkDelayMs = 0;
        locked.simPin = "2468";
        sim::ModemIdentity id;
        id.imei = "356000000000099";
        modems.push_back(std::make_unique<VirtualModem>(id, locked));
        ASSERT_TRUE(modems.back()->start());
        ASSERT_TRUE(QFile::link(modems.back()->devicePath(), plugged));
        ASSERT_TRUE(spinUntil([&] { return job.portStatuses().value("Plugged in").startsWith("Took in"); },
                              std::chrono::seconds(30)))
            << job.portStatuses().value("Plugged in").toStdString();
    });
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    ASSERT_EQ(asked.size(), 1);
    EXPECT_TRUE(asked.first().contains("ttyUSB7")) << asked.first().toStdString();
    EXPECT_EQ(modems.at(1)->commandLog().count("AT+CPIN=\"2468\""), 1);
    EXPECT_FALSE(modems.at(1)->received().isEmpty()); // it took its share
    EXPECT_EQ(receivedNumbers(), numbers(16));
    for (const SendingItem& item : items())
        EXPECT_EQ(item.status, "Message sent successfully.") << item.number.toStdString();
}

} // namespace
