// `bulksms devices --json` against virtual modems, one of them held by another program: the
// held one is named with its holder and never spoken to, the free one is described.
#include "SenderFixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <memory>

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

} // namespace
