// `bulksms devices --json` against virtual modems, one of them held by another program: the
// held one is named with its holder and never spoken to, the free one is described.
#include "SenderFixture.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <memory>

#include <csignal>

namespace {

class DevicesJson : public SenderFixture {};

TEST_F(DevicesJson, HeldPortsAreNamedWithTheirHolderAndNeverOpened) {
    startModems(2, sim::ModemBehaviour(), QStringLiteral("35800000000012"));
    const QString held = modems.at(0)->devicePath();
    const QString free = modems.at(1)->devicePath();

    // Another program on the first modem's line, started before us.
    QProcess other;
    other.setStandardInputFile(held);
    other.start("sleep", {"60"});
    ASSERT_TRUE(other.waitForStarted());
    const qint64 otherPid = other.processId();
    // A lock on the second left by a program that is gone: stale, no reason to stay off.
    const QString locks = home.path() + "/locks";
    const QProcessEnvironment env = environment();
    const QString staleLock = locks + "/LCK.." + free.mid(5).replace('/', '_');
    {
        QFile lock(staleLock);
        ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
        lock.write("   4194304\n");
    }

    int exitCode = -1;
    QString errors;
    const QStringList lines = runToEnd(env, {"devices", "--json"}, exitCode, errors);
    other.kill();
    other.waitForFinished();
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    ASSERT_EQ(lines.size(), 2) << lines.join('\n').toStdString() << errors.toStdString();

    QMap<QString, QJsonObject> byPort;
    for (const QString& line : lines) {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8(), &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        byPort.insert(document.object().value("port").toString(), document.object());
    }
    const QJsonObject h = byPort.value(held);
    EXPECT_EQ(h.value("state").toString(), "held");
    EXPECT_EQ(h.value("holder").toObject().value("name").toString(), "sleep");
    EXPECT_EQ(h.value("holder").toObject().value("pid").toInteger(), otherPid);
    EXPECT_EQ(h.value("IMEI").toString(), "");
    EXPECT_TRUE(modems.at(0)->commandLog().isEmpty())
        << "the held modem heard: " << modems.at(0)->commandLog().join(' ').toStdString();
    EXPECT_TRUE(errors.contains(
        QStringLiteral("The device %1 is held by sleep, pid %2. Close sleep").arg(held).arg(otherPid)))
        << errors.toStdString();

    const QJsonObject f = byPort.value(free);
    EXPECT_EQ(f.value("state").toString(), "ready");
    EXPECT_TRUE(f.value("holder").isNull());
    EXPECT_EQ(f.value("IMEI").toString(), "358000000000121");
    EXPECT_EQ(f.value("slot").toString(), ""); // a pseudo-terminal sits on no USB
    for (const char* key : {"ICCID", "operator", "signal"})
        EXPECT_TRUE(f.value(key).isString()) << key;
    EXPECT_FALSE(modems.at(1)->commandLog().isEmpty());
    // The stale lock was replaced by ours, and ours went with the port.
    EXPECT_FALSE(QFile::exists(staleLock));
}

// `--watch`: a modem plugged in after the list is printed as it answers, with its IMEI; one
// unplugged is told with its port; Ctrl-C ends the watch with success.
TEST_F(DevicesJson, WatchTellsModemsPluggedAndUnpluggedUntilInterrupted) {
    const QString late = home.path() + "/late-modem";
    QProcessEnvironment env = environment();
    env.insert("BULKSMS_EXTRA_MODEMS", late);
    QProcess watch;
    watch.setProcessEnvironment(env);
    watch.start(QStringLiteral(BULKSMS_EXECUTABLE), {"devices", "--watch", "--json"});
    ASSERT_TRUE(watch.waitForStarted());
    const auto nextLine = [&watch]() -> QJsonObject {
        while (!watch.canReadLine())
            if (!watch.waitForReadyRead(20000))
                return {};
        return QJsonDocument::fromJson(watch.readLine()).object();
    };

    // The list first: nothing there yet.
    QByteArray said;
    for (int i = 0; i < 200 && !said.contains("GSM device not found."); ++i) {
        watch.waitForReadyRead(100); // standard output: what standard error says arrives meanwhile
        said += watch.readAllStandardError();
    }
    ASSERT_TRUE(said.contains("GSM device not found.")) << said.toStdString();

    startModems(1, sim::ModemBehaviour(), QStringLiteral("35800000000031"));
    ASSERT_TRUE(QFile::link(modems.back()->devicePath(), late));
    const QJsonObject plugged = nextLine();
    EXPECT_EQ(plugged.value("event").toString(), "plugged");
    EXPECT_EQ(plugged.value("port").toString(), late);
    EXPECT_EQ(plugged.value("state").toString(), "ready");
    EXPECT_EQ(plugged.value("IMEI").toString(), "358000000000310");

    ASSERT_TRUE(QFile::remove(late));
    const QJsonObject unplugged = nextLine();
    EXPECT_EQ(unplugged.value("event").toString(), "unplugged");
    EXPECT_EQ(unplugged.value("ports").toArray().first().toString(), late);

    ::kill(pid_t(watch.processId()), SIGINT);
    ASSERT_TRUE(watch.waitForFinished(20000));
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 0) << watch.readAllStandardError().toStdString();
}

} // namespace
