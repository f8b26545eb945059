// A modem plugged in while `bulksms send --take-new-devices` sends: the program sees it appear,
// probes it and gives it a share of what is left; the network receives every message once.
#include "SenderFixture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

namespace {

class TakeNewDevicesTest : public SenderFixture {};

TEST_F(TakeNewDevicesTest, AModemPluggedInWhileSendingJoinsAndNobodyIsTextedTwice) {
    sim::ModemBehaviour slow;
    slow.networkDelayMs = 4000; // a fifth of a second a message at the test's clock
    startModems(1, slow, "35800000000011");
    // The second modem's path is named before it exists, as a port the system has yet to make.
    const QString late = home.path() + "/late-modem";
    QProcessEnvironment env = environment();
    env.insert("BULKSMS_EXTRA_MODEMS", env.value("BULKSMS_EXTRA_MODEMS") + ':' + late);
    QStringList numbers, arguments{"send", "--take-new-devices", "--message", "Joined"};
    for (int i = 1; i <= 30; ++i) {
        numbers << QStringLiteral("+4477009%1").arg(i, 5, 10, QLatin1Char('0'));
        arguments << "--to" << numbers.last();
    }
    QProcess sender;
    sender.setProcessEnvironment(env);
    sender.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
    ASSERT_TRUE(sender.waitForStarted());

    QElapsedTimer waited;
    waited.start();
    while (received() < 1 && waited.elapsed() < 20000)
        QThread::msleep(10);
    ASSERT_GE(received(), 1) << "the run never sent through its first modem";
    sim::ModemBehaviour quick;
    quick.networkDelayMs = 0;
    startModems(1, quick, "35800000000012");
    ASSERT_TRUE(QFile::link(modems.back()->devicePath(), late));

    ASSERT_TRUE(sender.waitForFinished(60000));
    const QString errors = QString::fromUtf8(sender.readAllStandardError());
    EXPECT_EQ(sender.exitCode(), 0) << errors.toStdString();
    EXPECT_TRUE(errors.contains("Took in the modem on late-modem (IMEI 35800000000012"))
        << errors.toStdString();
    EXPECT_FALSE(modems.back()->received().isEmpty()) << "the modem plugged in sent nothing";
    for (const QString& number : numbers)
        EXPECT_EQ(timesReceived(number), 1) << number.toStdString();
}

} // namespace
