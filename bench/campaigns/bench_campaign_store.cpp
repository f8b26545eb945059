// The campaign store under a sending load: what it costs per item beside a record held in
// memory (8 senders of 4 devices that answer at once, on one campaign; on SQLite and on a
// throwaway PostgreSQL server), how long a campaign of a million recipients takes to create,
// and the peak memory of a sender that takes that campaign up, in a process of its own (this
// program started again with --sender). Prints figures beside their targets; never asserts on
// time. --quick: a tenth of every count.
#include "MemoryRun.h"
#include "PostgresCluster.h"
#include "Senders.h"

#include "BenchSupport.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/StoredRun.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Log.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int kSenders = 8, kDevicesEach = 4;

QList<SendingItem> itemsOf(int count) {
    QList<SendingItem> items(count);
    for (int i = 0; i < count; ++i) {
        items[i].number = QStringLiteral("+4477%1").arg(i, 8, 10, QLatin1Char('0'));
        items[i].message = QStringLiteral("Bench");
    }
    return items;
}

std::shared_ptr<CampaignStore> openStore(QString* why) {
    return CampaignStore::forFolder(DataFolder::fromEnvironment(), why);
}

StoredRun::Campaign attachedTo(qint64 campaign) {
    return {CampaignStore::folderKey(DataFolder::fromEnvironment()), QStringLiteral("{}"), 0, campaign};
}

// A campaign for any sender of the store: its id, or 0 (and why).
qint64 queueCampaign(CampaignStore& store, const QList<SendingItem>& items, QString* why) {
    return createCampaign(store,
                          {CampaignStore::folderKey(DataFolder::fromEnvironment()), kGsmRoad,
                           QStringLiteral("{}"), QStringLiteral("queued")},
                          items, why);
}

// Each sender's record, made by `make`.
std::vector<std::unique_ptr<RunRecord>>
senderRecords(const std::function<std::unique_ptr<RunRecord>()>& make) {
    std::vector<std::unique_ptr<RunRecord>> records(kSenders);
    for (std::unique_ptr<RunRecord>& record : records)
        record = make();
    return records;
}

double inMemory(int items) {
    const std::shared_ptr<MemoryRun::List> list = MemoryRun::listOf(itemsOf(items));
    return runSenders(senderRecords([&] { return std::make_unique<MemoryRun>(list); }), kDevicesEach).seconds;
}

// The senders attached to one queued campaign of the store in use.
void inStore(const char* engine, int items, double memorySeconds, double targetMs) {
    QString why;
    const std::shared_ptr<CampaignStore> store = openStore(&why);
    const qint64 id = store ? queueCampaign(*store, itemsOf(items), &why) : 0;
    if (id == 0) {
        std::printf("  %-10s not measured: %s\n", engine, qPrintable(why));
        return;
    }
    const double seconds =
        runSenders(senderRecords([&] { return std::make_unique<StoredRun>(store, attachedTo(id)); }),
                   kDevicesEach)
            .seconds;
    const std::optional<CampaignSummary> summary = campaignSummary(*store, id);
    std::printf("  %-10s %6d items: %7.2f s with the store, %6.2f s in memory: %6.3f ms per item"
                " (target <= %.0f ms); %lld sent\n",
                engine, items, seconds, memorySeconds, (seconds - memorySeconds) * 1000.0 / items, targetMs,
                summary ? static_cast<long long>(summary->sent) : -1LL);
    std::fflush(stdout);
}

qint64 createLarge(int recipients) {
    QString why;
    const std::shared_ptr<CampaignStore> store = openStore(&why);
    const QList<SendingItem> items = itemsOf(recipients);
    QElapsedTimer timer;
    timer.start();
    const qint64 id = store ? queueCampaign(*store, items, &why) : 0;
    if (id == 0)
        std::printf("Creating a campaign of %d recipients on SQLite: refused: %s\n", recipients,
                    qPrintable(why));
    else
        std::printf("Creating a campaign of %d recipients on SQLite: %.2f s (target <= 10 s)\n", recipients,
                    double(timer.nsecsElapsed()) / 1e9);
    std::fflush(stdout);
    return id;
}

// The child's side: one sender takes up the queued campaign and sends `count` of its items.
int sendFromQueued(qint64 campaign, int count) {
    DataFolder::fromEnvironment().adoptForProcess();
    const double before = bench::peakMiB();
    QString why;
    std::shared_ptr<CampaignStore> store = openStore(&why);
    if (!store) {
        std::printf("The sender cannot open the store: %s\n", qPrintable(why));
        return 1;
    }
    std::vector<std::unique_ptr<RunRecord>> records;
    records.push_back(std::make_unique<StoredRun>(std::move(store), attachedTo(campaign)));
    const SendersRan ran = runSenders(std::move(records), kDevicesEach, count);
    std::printf("A sender of %d devices on that campaign, %d items sent in %.2f s: peak %.1f MiB"
                " (target <= 60 MiB), %.1f MiB before it attached\n",
                kDevicesEach, ran.finished, ran.seconds, bench::peakMiB(), before);
    return ran.finished >= count ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    setLogToStandardError(qEnvironmentVariableIsSet("BENCH_VERBOSE"));
    // The rest after each message (a prescribed second) shrinks to a millisecond: the engine's
    // own pace stays in both figures, and the record's cost is their difference.
    Clock::setScale(0.001);
    CampaignStore::useDatabase({}); // SQLite, whatever BULKSMS_DATABASE says
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--sender"))
        return sendFromQueued(arguments.value(2).toLongLong(), arguments.value(3).toInt());
    const int divisor = arguments.contains(QLatin1String("--quick")) ? 10 : 1;

    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(home.path()));
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    if (!folder.Check_Path_And_Create_Files())
        return 1;

    const int items = 10000 / divisor;
    std::printf("Store overhead per item: %d senders x %d devices answering at once, one campaign\n",
                kSenders, kDevicesEach);
    const double memory = inMemory(items);
    std::printf("  %-10s %6d items: %7.2f s\n", "in memory", items, memory);
    inStore("SQLite", items, memory, 2);
    QString why;
    if (PostgresCluster* cluster = PostgresCluster::shared(&why)) {
        CampaignStore::useDatabase(cluster->newDatabase());
        inStore("PostgreSQL", items, memory, 5);
        CampaignStore::useDatabase({});
    } else {
        std::printf("  %-10s not measured: %s\n", "PostgreSQL", qPrintable(why));
    }

    const qint64 large = createLarge(1000000 / divisor);
    if (large == 0)
        return 1;
    QProcess sender;
    sender.setProcessChannelMode(QProcess::ForwardedChannels);
    sender.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--sender"), QString::number(large), QString::number(20000 / divisor)});
    if (!sender.waitForFinished(-1) || sender.exitStatus() != QProcess::NormalExit) {
        std::printf("The sender's process failed: %s\n", qPrintable(sender.errorString()));
        return 1;
    }
    return sender.exitCode();
}
