// The program as a person or an end-to-end run starts it.
#include "sim/MessageLog.h"
#include "sim/PtyClient.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using sim::PtyClient;

class SimProcess {
public:
    explicit SimProcess(const QStringList& arguments) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_CLOCK_SCALE", "0.001");
        m_process.setProcessEnvironment(env);
        m_process.start(QStringLiteral(BULKSMS_MODEM_SIM), arguments);
    }
    ~SimProcess() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    QStringList readPaths(int count) {
        QStringList paths;
        while (paths.size() < count && m_process.waitForReadyRead(10000))
            while (m_process.canReadLine())
                paths.append(QString::fromLocal8Bit(m_process.readLine()).trimmed());
        return paths;
    }
    int terminate() {
        m_process.terminate();
        m_process.waitForFinished(10000);
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};

TEST(SimExecutable, ServesSeveralModemsAndLogsUntilTerminated) {
    QTemporaryDir dir;
    const QString log = dir.filePath("network.jsonl");
    SimProcess sim({"--count", "2", "--log", log, "--no-echo", "--imei", "490154203237518"});
    const QStringList paths = sim.readPaths(2);
    ASSERT_EQ(paths.size(), 2);
    EXPECT_NE(paths.at(0), paths.at(1));

    PtyClient first(paths.at(0));
    PtyClient second(paths.at(1));
    EXPECT_NE(first.command("AT+CGSN\r"), second.command("AT+CGSN\r")); // told apart by IMEI
    EXPECT_NE(first.command("AT+CCID\r"), second.command("AT+CCID\r")); // and by SIM
    first.command("AT+CMGS=12\r");
    EXPECT_TRUE(first.command("00110005912143F50000FF0141\x1a").contains("+CMGS: 1"));
    // a message still waiting for its second part is logged as incomplete at shutdown
    second.command("AT+CMGS=20\r");
    EXPECT_TRUE(second.command("00510005912143F50000FF0A06080400000201C834\x1a").contains("+CMGS: 1"));

    EXPECT_EQ(sim.terminate(), 0);
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(log);
    ASSERT_EQ(logged.size(), 2);
    EXPECT_EQ(logged.at(0).device, paths.at(0));
    EXPECT_EQ(logged.at(0).text, QStringLiteral("A"));
    EXPECT_TRUE(logged.at(0).complete);
    EXPECT_EQ(logged.at(1).device, paths.at(1));
    EXPECT_FALSE(logged.at(1).complete);
}

// A test names the modem's path before the modem exists: the link is there once the path is
// printed, one per modem with --count, gone after a clean stop; a file in the way is kept.
TEST(SimExecutable, LinksItsPathsWhileItServes) {
    QTemporaryDir dir;
    const QString link = dir.filePath("modem");
    SimProcess sim({"--count", "2", "--link", link, "--no-echo"});
    const QStringList paths = sim.readPaths(2);
    ASSERT_EQ(paths.size(), 2);
    EXPECT_EQ(QFileInfo(link + "-1").symLinkTarget(), paths.at(0));
    EXPECT_EQ(QFileInfo(link + "-2").symLinkTarget(), paths.at(1));
    EXPECT_FALSE(QFileInfo::exists(link));
    PtyClient through(link + "-2");
    EXPECT_TRUE(through.command("AT\r").contains("OK"));
    EXPECT_EQ(sim.terminate(), 0);
    EXPECT_FALSE(QFileInfo(link + "-1").isSymLink());
    EXPECT_FALSE(QFileInfo(link + "-2").isSymLink());

    QFile inTheWay(link);
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    inTheWay.write("kept");
    inTheWay.close();
    SimProcess refused({"--link", link});
    refused.process().waitForFinished(10000);
    EXPECT_EQ(refused.process().exitCode(), 1);
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    EXPECT_EQ(QFileInfo(link).size(), 4);
}

// Several modems of one SIM number given: each still holds a SIM of its own, padding kept.
TEST(SimExecutable, SeveralModemsOfOneIccidHoldDifferentSims) {
    SimProcess sim({"--count", "2", "--no-echo", "--iccid", "8944100000000000098F"});
    const QStringList paths = sim.readPaths(2);
    ASSERT_EQ(paths.size(), 2);
    PtyClient first(paths.at(0));
    PtyClient second(paths.at(1));
    EXPECT_TRUE(first.command("AT+CCID\r").contains("+CCID: 8944100000000000098F"));
    EXPECT_TRUE(second.command("AT+CCID\r").contains("+CCID: 8944100000000000099F"));
    EXPECT_EQ(sim.terminate(), 0);
}

TEST(SimExecutable, RefusesBadFlagsWithoutServing) {
    SimProcess sim({"--modes", "fast"});
    ASSERT_TRUE(sim.process().waitForFinished(10000));
    EXPECT_EQ(sim.process().exitCode(), 2);
    EXPECT_TRUE(sim.process().readAllStandardOutput().isEmpty());
    EXPECT_TRUE(sim.process().readAllStandardError().contains("--modes"));
}

} // namespace
