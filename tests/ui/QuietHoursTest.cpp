// Quiet hours set in a main window: kept with its options, refused when they make no window,
// and honoured by the run it starts, by each recipient's own clock (the virtual network's log
// says who was reached), the job window telling who waits while the run goes on.
#include "android/windows/AndroidSendingProgress.h"
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"
#include "list/NumberList.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sim/VirtualModem.h"
#include "stores/windows/StoreWindows.h"
#include "ui/AndroidSendingProgressView.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/SendingJobView.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QTemporaryDir>
#include <QThread>
#include <QTimeEdit>

#include <gtest/gtest.h>

namespace {

const QString kLondon = QStringLiteral("+447400123456");
const QString kNewYork = QStringLiteral("+12125550123");

QStringList numbersReceived(const sim::VirtualModem& modem) {
    QStringList numbers;
    for (const auto& message : modem.received())
        numbers << message.number;
    return numbers;
}

// The boxes are the window's: ticked and set in the view, they reach the run's settings and
// come back at the next start; the Android window keeps its own.
TEST(QuietHours, SetInTheOptionsReachTheRunAndAreKept) {
    TestDataHome home;
    ScriptedOperator op;
    {
        Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
        gsm.windowDidLoad();
        EXPECT_EQ(gsm.runSettings().sendWindow, "");
        DefaultCountry storeCountry;
        StoreWindows stores(op, home.folder, storeCountry);
        GsmBulkSmsView view(gsm, stores);
        view.resize(1100, 760);
        view.show();
        auto* on = view.findChild<QCheckBox*>("quietHoursCheck");
        auto* from = view.findChild<QTimeEdit*>("quietFromEdit");
        auto* to = view.findChild<QTimeEdit*>("quietToEdit");
        ASSERT_TRUE(on && from && to);
        EXPECT_FALSE(from->isEnabled());
        on->click();
        EXPECT_TRUE(from->isEnabled());
        EXPECT_EQ(gsm.runSettings().sendWindow, "09:00-20:00"); // the hours offered at first
        from->setTime(QTime(8, 30));
        to->setTime(QTime(21, 15));
        EXPECT_EQ(gsm.runSettings().sendWindow, "08:30-21:15");
        const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!pictures.isEmpty()) {
            view.grab().save(pictures + "/gsm-quiet-hours.png");
            if (auto* group = from->parentWidget()->parentWidget())
                group->grab().save(pictures + "/gsm-quiet-hours-group.png");
        }
    }
    Gsm_Bulk_Sms_Wnd again(op, home.folder);
    again.windowDidLoad();
    EXPECT_TRUE(again.quietHours());
    EXPECT_EQ(again.runSettings().sendWindow, "08:30-21:15");
    Bulk_SMSAppDelegate android(op, home.folder);
    android.windowDidLoad();
    EXPECT_EQ(android.sendWindow(), "");
    android.setQuietHours(true);
    android.setQuietFrom(21 * 60);
    android.setQuietTo(7 * 60);
    EXPECT_EQ(android.sendWindow(), "21:00-07:00"); // overnight
    // Reset clears the box and the hours.
    op.answerYes();
    again.Reset_Btn();
    EXPECT_FALSE(again.quietHours());
    EXPECT_EQ(again.quietFrom(), 9 * 60);
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('|').toStdString();
}

// Equal hours are no window: Send and Send later say so and nothing is sent or scheduled.
TEST(QuietHours, EqualHoursAreRefusedBeforeAnythingIsSent) {
    Clock::setScale(0.05);
    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window(op, home.folder);
    window.windowDidLoad();
    sim::ModemBehaviour network;
    network.networkDelayMs = 0;
    sim::VirtualModem modem(sim::ModemIdentity{}, network);
    ASSERT_TRUE(modem.start());
    selectModem(window.selection(), modem.devicePath());
    window.applyDeviceSelection();
    window.Create_Num_Msg_List(kLondon, "Your order is ready.");
    window.prev_composer_msg = window.composerText();
    window.setQuietHours(true);
    window.setQuietFrom(10 * 60);
    window.setQuietTo(10 * 60);
    for (const auto& press : {std::function<void()>([&] { window.Send_SMS_Btn(); }),
                              std::function<void()>([&] { window.Send_Later_Btn(); })}) {
        const qsizetype before = op.alerts().size();
        press();
        ASSERT_EQ(op.alerts().size(), before + 1);
        EXPECT_TRUE(op.alerts().last().contains("make no window")) << op.alerts().last().toStdString();
    }
    QThread::msleep(200);
    EXPECT_TRUE(modem.received().isEmpty());
    EXPECT_FALSE(window.sendingUnderWay());
    Clock::setScale(0.001);
}

// 10:00 UTC: 11:00 in London (inside 09:00-20:00), 06:00 in New York (outside). London is sent
// at once; New York waits, the job window saying so, until its 09:00, when it is sent and the
// note goes.
TEST(QuietHours, RunSendsOnlyThoseInsideAndTheJobWindowTellsWhoWaits) {
    Clock::setScale(0.05);
    QTemporaryDir clockDir;
    const QString nowFile = clockDir.filePath("now");
    ASSERT_TRUE(writeFileAtomically(nowFile, "2026-06-15T10:00:00Z"));
    qputenv("BULKSMS_FAKE_NOW_FILE", nowFile.toLocal8Bit());
    Clock::readNowFromEnvironment();

    // The environment goes back only once the modem's and the run's threads have ended.
    struct RestoreClock {
        ~RestoreClock() {
            qunsetenv("BULKSMS_FAKE_NOW_FILE");
            Clock::readNowFromEnvironment();
            Clock::setScale(0.001);
        }
    } restore;
    QString noteWhileWaiting, labelWhileWaiting, noteAfter;
    QStringList reachedWhileWaiting, reached;
    bool labelHiddenAfter = false;
    {
        TestDataHome home;
        ScriptedOperator op;
        Gsm_Bulk_Sms_Wnd window(op, home.folder);
        window.windowDidLoad();
        sim::ModemBehaviour network;
        network.networkDelayMs = 0;
        sim::VirtualModem modem(sim::ModemIdentity{}, network);
        ASSERT_TRUE(modem.start());
        selectModem(window.selection(), modem.devicePath());
        window.applyDeviceSelection();
        window.setQuietHours(true);
        for (const QString& n : {kNewYork, kLondon})
            window.Create_Num_Msg_List(n, "Good morning");
        window.prev_composer_msg = window.composerText();

        op.onModal<SMS_Sending>([&](SMS_Sending& job) {
            SendingJobView view(job, nullptr);
            view.show();
            auto* label = view.findChild<QLabel*>("waitingNote");
            ASSERT_NE(label, nullptr);
            ASSERT_TRUE(spinUntil([&] { return !job.waitingNote().isEmpty(); }, std::chrono::seconds(60)));
            ASSERT_TRUE(spinUntil([&] { return modem.received().size() == 1; }, std::chrono::seconds(30)));
            noteWhileWaiting = job.waitingNote();
            labelWhileWaiting = label->isVisible() ? label->text() : QString();
            reachedWhileWaiting = numbersReceived(modem);
            const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
            if (!pictures.isEmpty())
                view.grab().save(pictures + "/sending-waiting.png");
            // New York's morning comes.
            EXPECT_TRUE(writeFileAtomically(nowFile, "2026-06-15T12:59:55Z"));
            ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                                  std::chrono::seconds(90)));
            noteAfter = job.waitingNote();
            labelHiddenAfter = !label->isVisible();
            ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
            if (!job.isEnded())
                job.CancelPressed();
        });
        window.Send_SMS_Btn();
        EXPECT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(120)));
        reached = numbersReceived(modem);
    }
    EXPECT_EQ(reachedWhileWaiting, QStringList{kLondon});
    EXPECT_EQ(noteWhileWaiting, "waiting for 09:00 in America/New_York (1 recipient)");
    EXPECT_TRUE(labelWhileWaiting.contains(noteWhileWaiting)) << labelWhileWaiting.toStdString();
    EXPECT_EQ(reached, (QStringList{kLondon, kNewYork})); // each once, London first
    EXPECT_EQ(noteAfter, "");
    EXPECT_TRUE(labelHiddenAfter);
}

// The Android progress window lists who waits beside its phones while the note lasts, and
// not once the run has ended.
TEST(QuietHours, TheAndroidProgressWindowShowsWhoWaitsUntilTheRunEnds) {
    ScriptedOperator op;
    AndroidSendingProgress progress(op);
    AndroidSendingProgressView view(progress, nullptr);
    progress.start([](AndroidSendingProgress::State& s) { s.visible = true; });
    const auto shownWith = [&view](const QString& text) {
        for (QLabel* label : view.findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(text))
                return true;
        return false;
    };
    const QString note = QStringLiteral("waiting for 09:00 in America/New_York (1 recipient)");
    progress.update([&](AndroidSendingProgress::State& s) { s.waiting = note; });
    EXPECT_TRUE(shownWith("Some recipients wait for their hours: " + note));
    progress.update([](AndroidSendingProgress::State& s) { s.waiting.clear(); });
    EXPECT_FALSE(shownWith(note));
    progress.update([&](AndroidSendingProgress::State& s) { s.waiting = note; });
    progress.finish(QStringLiteral("Finished."));
    EXPECT_FALSE(shownWith(note));
}

} // namespace
