// The command-line tool against virtual modems: what it prints agrees with what the
// modems received, and its exit status tells whether everything went out.
#include "sim/VirtualModem.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

class CommandLineSendTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 2; ++i) {
            sim::ModemIdentity id;
            id.imei = QStringLiteral("35800000000001%1").arg(i);
            sim::ModemBehaviour behaviour;
            behaviour.networkDelayMs = 0;
            if (i == 1)
                behaviour.modes = sim::ModemBehaviour::Modes::TextOnly;
            modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
            ASSERT_TRUE(modems.back()->start());
        }
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_DATA_HOME", home.path());
        env.insert("BULKSMS_RESOURCES", home.path() + "/resources");
        env.insert("BULKSMS_CLOCK_SCALE", "0.02");
        env.insert("BULKSMS_EXTRA_MODEMS", modems.at(0)->devicePath() + ":" + modems.at(1)->devicePath());
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        exitCode = process.exitCode();
        return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }
    QTemporaryDir home;
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
};

TEST_F(CommandLineSendTest, SendsEveryRecipientOnceAndReportsEach) {
    int exitCode = -1;
    const QStringList lines = run({"send", "--to", "+447700900001", "--to", "447700900002", "--to", "+447700900003",
                                   "--message", "Headless hello"},
                                  exitCode);
    EXPECT_EQ(exitCode, 0);
    ASSERT_EQ(lines.size(), 4) << lines.join('\n').toStdString();
    EXPECT_EQ(lines.last(), "3 of 3 recipients sent.");
    QStringList received;
    for (const auto& m : modems)
        for (const auto& r : m->received()) {
            received << r.number;
            EXPECT_EQ(r.text, "Headless hello");
        }
    received.sort();
    EXPECT_EQ(received, (QStringList{"+447700900001", "+447700900003", "447700900002"}));
    for (const QString& line : lines.mid(0, 3)) {
        const QStringList cells = line.split('\t');
        ASSERT_EQ(cells.size(), 3);
        EXPECT_EQ(cells.at(2), "Message sent successfully.");
    }
}

TEST_F(CommandLineSendTest, DryRunOpensNoDeviceAndMarksDuplicates) {
    int exitCode = -1;
    const QStringList lines =
        run({"send", "--to", "111", "--to", "111", "--message", "m", "--skip-duplicates", "--dry-run"}, exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(lines, (QStringList{"111\tsend\tm", "111\tskipped\tm"}));
    EXPECT_TRUE(modems.at(0)->commandLog().isEmpty());
}

TEST_F(CommandLineSendTest, RefusedRecipientsMakeTheExitStatusNonZero) {
    sim::ModemBehaviour refusing;
    refusing.networkDelayMs = 0;
    refusing.cmsErrorForNumber.insert("222", 38);
    modems.at(0)->setBehaviour(refusing);
    int exitCode = -1;
    const QStringList lines =
        run({"send", "--to", "222", "--message", "x", "--device", modems.at(0)->devicePath()}, exitCode);
    EXPECT_EQ(exitCode, 1);
    EXPECT_EQ(lines.last(), "0 of 1 recipients sent.");
}

} // namespace
