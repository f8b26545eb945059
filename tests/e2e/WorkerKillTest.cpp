// Several workers send one campaign through their own modems while some are killed with
// SIGKILL at random moments: over all of it every recipient reaches the network once, except
// those the store reported of unknown fate (in a killed worker's hands), sent again on the
// operator's word: at most twice. On the embedded store and on a shared PostgreSQL server.
#include "PostgresCluster.h"
#include "SenderFixture.h"
#include "core/Clock.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <csignal>

namespace {

struct WorkerCase {
    const char* name;
    bool postgres;
    int workers, killed, recipients;
};

void PrintTo(const WorkerCase& c, std::ostream* os) { *os << c.name; }

class WorkerKillTest : public SenderFixture, public ::testing::WithParamInterface<WorkerCase> {
protected:
    void TearDown() override {
        qunsetenv("BULKSMS_DATABASE");
        modems.clear(); // on the clock they were made with
        Clock::setScale(0.001);
    }

    // A worker with modems of its own (the n-th pair), until nothing is left.
    std::unique_ptr<QProcess> worker(int n) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(senderEnvironment(
            home.path(), kScale,
            {modems.at(size_t(2) * n)->devicePath(), modems.at(size_t(2) * n + 1)->devicePath()}));
        process->start(QStringLiteral(BULKSMS_EXECUTABLE), {"worker", "--until-idle"});
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    QStringList bulksms(const QStringList& arguments) {
        int exitCode = -1;
        QString errors;
        QStringList out = runToEnd(senderEnvironment(home.path(), kScale, {}), arguments, exitCode, errors);
        EXPECT_EQ(exitCode, 0) << errors.toStdString();
        return out;
    }
    static inline const QString kScale = QStringLiteral("0.05");
};

TEST_P(WorkerKillTest, NobodyIsTextedTwiceUnlessTheStoreSaidItMayHaveGone) {
    const WorkerCase& c = GetParam();
    if (c.postgres) {
        QString why;
        PostgresCluster* server = PostgresCluster::shared(&why);
        if (!server)
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
        qputenv("BULKSMS_DATABASE", server->newDatabase().toUtf8());
    }
    // The modems run on the workers' clock, and the network takes its time (100 ms there): a kill
    // finds messages in a modem's hands.
    Clock::setScale(kScale.toDouble());
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 2000;
    startModems(2 * c.workers, behaviour, QStringLiteral("35800000000011"));
    QStringList create{"campaign", "create", "--message", "Together", "--yes"};
    QStringList numbers;
    for (int i = 0; i < c.recipients; ++i)
        create << "--to" << (numbers << QStringLiteral("+4477009%1").arg(10000 + i)).last();
    const QString id = bulksms(create).value(0);
    ASSERT_FALSE(id.isEmpty());

    std::vector<std::unique_ptr<QProcess>> workers;
    workers.reserve(c.workers);
    for (int n = 0; n < c.workers; ++n)
        workers.push_back(worker(n));
    for (int n = 0; n < c.killed; ++n) {
        // Once some messages went out: a random moment in the middle of the run.
        const int after = int(QRandomGenerator::global()->bounded(c.recipients / 8, c.recipients / 2));
        for (int wait = 0; wait < 1200 && received() < after; ++wait)
            QThread::msleep(50);
        ::kill(pid_t(workers.at(n)->processId()), SIGKILL);
    }
    for (auto& w : workers)
        EXPECT_TRUE(w->waitForFinished(240000));

    // The operator sends again what may have gone; one worker finishes it.
    const QString resent = bulksms({"campaign", "resend-unknown", id}).value(0);
    const int unknown =
        QRegularExpression("(\\d+) recipients? of unknown fate").match(resent).captured(1).toInt();
    EXPECT_LE(unknown, 2 * c.killed); // at most what each killed worker's modems held
    auto last = worker(c.workers - 1);
    EXPECT_TRUE(last->waitForFinished(240000));

    int twice = 0;
    for (const QString& number : numbers) {
        const int times = timesReceived(number);
        EXPECT_GE(times, 1) << number.toStdString();
        EXPECT_LE(times, 2) << number.toStdString();
        twice += times == 2;
    }
    EXPECT_LE(twice, unknown);
    RecordProperty("unknown", unknown);
    RecordProperty("twice", twice);
    const QStringList shown = bulksms({"campaign", "show", id}).value(0).split('\t');
    EXPECT_EQ(shown.value(1), "finished") << shown.join(' ').toStdString();
    EXPECT_EQ(shown.value(4).toInt(), c.recipients); // every one sent

    // Every worker told the store of the modems it sends with: the killed ones as they last
    // were, the others stopped, with what each modem sent. (A modem whose check failed on a
    // busy machine is not among them.)
    const QStringList devices = bulksms({"devices", "--stored"});
    for (int n = 0; n < c.workers; ++n) {
        const QStringList lines = devices.filter(QRegularExpression(
            QStringLiteral("\t(%1|%2)\t")
                .arg(modems.at(size_t(2) * n)->devicePath(), modems.at(size_t(2) * n + 1)->devicePath())));
        EXPECT_GE(lines.size(), 1) << n << devices.join('\n').toStdString();
        for (const QString& line : lines) {
            EXPECT_TRUE(line.contains(n < c.killed ? "\tstate: sending campaign " + id + '\t'
                                                   : QStringLiteral("\tstate: stopped\t")))
                << line.toStdString();
            const QString path = line.section('\t', 2, 2);
            const size_t m =
                modems.at(size_t(2) * n)->devicePath() == path ? size_t(2) * n : size_t(2) * n + 1;
            if (n >= c.killed && n < c.workers - 1) { // the last one's row is its second run's
                EXPECT_TRUE(
                    line.contains(QStringLiteral("\tsent: %1\t").arg(modems.at(m)->received().size())))
                    << line.toStdString();
            }
        }
    }
}

// The campaign commands as a script uses them: ids, states and counts it can parse, a cancelled
// campaign that no worker sends, and a store that cannot be used named with the exit status 4.
TEST_F(SenderFixture, CampaignCommandsQueueListCancelAndRefuseAStoreTheyCannotUse) {
    const QProcessEnvironment env = senderEnvironment(home.path(), "0.05", {});
    int exitCode = -1;
    QString errors;
    const QString id = runToEnd(env,
                                {"campaign", "create", "--to", "+447700900301", "--to", "+447700900302",
                                 "--message", "m", "--yes"},
                                exitCode, errors)
                           .value(0);
    ASSERT_EQ(exitCode, 0) << errors.toStdString();
    QStringList listed = runToEnd(env, {"campaign", "list"}, exitCode, errors);
    ASSERT_EQ(listed.size(), 1);
    EXPECT_EQ(listed.first().split('\t').mid(0, 4), (QStringList{id, "queued", "gsm", "2"}));
    EXPECT_EQ(runToEnd(env, {"campaign", "cancel", id}, exitCode, errors).value(0),
              QStringLiteral("Campaign %1 cancelled: 2 recipients will not be sent.").arg(id));
    runToEnd(env, {"worker", "--until-idle"}, exitCode, errors);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    const QJsonObject shown =
        QJsonDocument::fromJson(
            runToEnd(env, {"campaign", "show", id, "--json"}, exitCode, errors).value(0).toUtf8())
            .object();
    EXPECT_EQ(shown.value("state").toString(), "cancelled");
    EXPECT_EQ(shown.value("not_sent").toInt(), 2);
    EXPECT_EQ(received(), 0);

    runToEnd(env, {"campaign", "show", "99"}, exitCode, errors);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(errors.contains("No campaign 99.")) << errors.toStdString();
    runToEnd(env, {"campaign", "list", "--database", "mysql://somewhere/db"}, exitCode, errors);
    EXPECT_EQ(exitCode, 4);
    EXPECT_TRUE(errors.contains("mysql://somewhere/db: not a database this program can use"))
        << errors.toStdString();
    runToEnd(env, {"campaign", "list", "--database=postgresql://nobody@/none?host=/nonexistent"}, exitCode,
             errors);
    EXPECT_EQ(exitCode, 4);
}

INSTANTIATE_TEST_SUITE_P(Stores, WorkerKillTest,
                         ::testing::Values(WorkerCase{"EmbeddedTwoWorkers", false, 2, 1, 200},
                                           WorkerCase{"SharedFourWorkers", true, 4, 2, 1000}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
