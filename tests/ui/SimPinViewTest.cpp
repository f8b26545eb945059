// The PIN question as the operator meets it: a real dialog in front while a modem's SIM waits,
// the PIN typed, "Remember this PIN" ticked or not, and the keyring (a real one) afterwards.
#include "KeyringSession.h"
#include "TestEnvironment.h"
#include "gsm/MFCSMS.h"
#include "gsm/SimPinKeyring.h"
#include "gsm/windows/SimPinDialog.h"
#include "sim/VirtualModem.h"
#include "ui/QtOperator.h"
#include "ui/ViewRegistry.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

struct Typed {
    QString pin;
    bool remember = false;
};

// Unlocks a modem whose SIM wants 1234 through the dialog, typing each answer in turn; the
// reasons the dialog showed, one per time it came up.
QStringList unlockThroughDialog(const QString& simKey, const QList<Typed>& answers, QString& outcome) {
    sim::ModemBehaviour locked;
    locked.simPin = "1234";
    locked.answerLatencyMs = 0;
    sim::VirtualModem modem({}, locked);
    EXPECT_TRUE(modem.start());
    TestDataHome home;
    QtOperator op(home.folder);
    std::atomic<bool> done{false};
    std::thread probe([&] {
        MFCSMS session;
        int fd = -1;
        session.initPort_with_decp(modem.devicePath(), fd);
        session.port()->setReadTimeout(30.0);
        outcome = SimUnlock::unlock(
            session, fd, [&] { return simKey; }, "ttyUSB3, IMEI 490154203237518", SimPinDialog::asking(op));
        done = true;
    });
    QStringList reasons;
    QWidget* answered = nullptr;
    int next = 0;
    // The dialog runs its own loop: it is answered from a timer, which that loop serves too.
    QTimer answering;
    QObject::connect(&answering, &QTimer::timeout, [&] {
        QWidget* front = QApplication::activeModalWidget();
        if (front == nullptr || front == answered || !front->inherits("SimPinView") || next >= answers.size())
            return;
        answered = front;
        auto* reason = front->findChild<QLabel*>("_simPinReason");
        reasons << (reason && reason->isVisibleTo(front) ? reason->text() : QString());
        front->findChild<QLineEdit*>("_simPinEdit")->setText(answers.at(next).pin);
        front->findChild<QCheckBox*>("_simPinRemember")->setChecked(answers.at(next).remember);
        const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!pictures.isEmpty())
            front->grab().save(pictures + QStringLiteral("/sim-pin-%1.png").arg(reasons.size()));
        front->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
        ++next;
    });
    answering.start(20);
    QElapsedTimer clock;
    clock.start();
    while (!done && clock.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    probe.join();
    return reasons;
}

TEST(SimPinView, PinIsUsedOnceOrRememberedWhenTicked) {
    ViewRegistry::registerStandardViews();
    QString why;
    if (KeyringSession::kWindowsSkipped)
        GTEST_SKIP() << "the thread sanitizer loses track of locks once the keyring was reached";
    ASSERT_TRUE(KeyringSession::start(&why)) << why.toStdString();
    QString outcome;

    const QString once = "iccid:8944000000000000011";
    EXPECT_EQ(unlockThroughDialog(once, {{"1234", false}}, outcome), QStringList{""});
    EXPECT_EQ(outcome, "");
    EXPECT_EQ(SimPinKeyring::find(once), std::nullopt); // not ticked: never stored

    const QString kept = "iccid:8944000000000000012";
    // A wrong PIN first: the dialog comes back and says why.
    EXPECT_EQ(unlockThroughDialog(kept, {{"1111", true}, {"1234", true}}, outcome),
              (QStringList{"", SimUnlock::kRefused}));
    EXPECT_EQ(outcome, "");
    EXPECT_EQ(SimPinKeyring::find(kept), std::optional<QString>("1234"));
    SimPinKeyring::forget(kept);
}

} // namespace
