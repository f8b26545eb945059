// A run's record in the campaign store on its own: claims in the list's order, what is finished
// on the way, items given back for another attempt, reports, and what a resume finds of a run
// that broke off (or of a journal an older version left).
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignItems.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignResume.h"
#include "core/FileUtils.h"
#include "sending/ItemReport.h"

#include <QFile>

#include <numeric>
#include <thread>

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;

// Each case on the embedded file and on a shared server.
class StoredRunTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        if (QString why; !useStoreEngine(GetParam(), &why))
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
    }
    void TearDown() override { CampaignStore::useDatabase({}); }

    // A run over these numbers, begun.
    std::unique_ptr<StoredRun> begun(const QStringList& numbers, const QString& road = kGsmRoad) {
        QList<SendingItem> items;
        for (const QString& n : numbers) {
            SendingItem item;
            item.number = n;
            item.message = QStringLiteral("m") + n;
            items.append(item);
        }
        std::unique_ptr<StoredRun> run = storedRunIn(home.folder);
        run->begin(items, road);
        EXPECT_EQ(run->failure(), "");
        return run;
    }
    static SendOutcome sent(const QString& device, const QList<int>& references = {}) {
        SendOutcome outcome = SendOutcome::of(Outcome::Sent);
        outcome.device = device;
        outcome.references = references;
        return outcome;
    }
    TestDataHome home;
};

TEST_P(StoredRunTest, WhatIsFinishedOnTheWayIsReportedOnceTheStoreIsFree) {
    std::unique_ptr<StoredRun> items = begun({"1", "2", "1", "3"});
    QStringList reported;
    // The report reads the store again, as the job's window does: inside the claim it would hang.
    const auto report = [&](const RunRecord::Claim& c) { reported << items->at(c.index).status; };
    const auto excluded = [](const QString& n) { return n == QLatin1String("2"); };
    auto first = items->claimNext("A", true, excluded, report, true);
    auto second = items->claimNext("A", true, excluded, report, true);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->item.number, "1");
    EXPECT_EQ(second->item.number, "3");
    EXPECT_EQ(second->item.currentStatus, "Sending (A)");
    EXPECT_EQ(reported, (QStringList{kExcluded, kSkipped}));
    EXPECT_FALSE(items->anyWaiting());
    EXPECT_TRUE(items->anyWaitingOrSending());
}

TEST_P(StoredRunTest, ARefusedItemGoesToAnotherDeviceAfterItsPause) {
    std::unique_ptr<StoredRun> items = begun({"1"});
    auto claim = items->claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(claim);
    SendOutcome refused = SendOutcome::of(Outcome::Refused, "+CMS ERROR: 38");
    refused.device = "A";
    items->retryLater(claim->index, refused, Clock::now() + std::chrono::hours(1));
    EXPECT_TRUE(items->anyWaiting());
    EXPECT_FALSE(items->claimNext("B", false, {}, {}, false)); // its pause is not over
    EXPECT_EQ(items->at(0).currentStatus, "Wait to retry (+CMS ERROR: 38)");

    std::unique_ptr<StoredRun> ready = begun({"1"});
    claim = ready->claimNext("A", false, {}, {}, true);
    ready->retryLater(claim->index, refused, Clock::now() - std::chrono::seconds(1));
    EXPECT_FALSE(ready->claimNext("A", false, {}, {}, false)); // another device is there to take it
    auto again = ready->claimNext("B", false, {}, {}, false);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->item.attempts, 2);
    ready->handing(again->index, "B");
    EXPECT_TRUE(ready->finish(again->index, sent("B"), "Done (B)", false));
    EXPECT_FALSE(ready->finish(again->index, sent("B"), "Done (B)", false)); // once only
    EXPECT_TRUE(ready->allFinished());
    EXPECT_EQ(ready->at(0).status, kStatusSent);
    EXPECT_EQ(ready->at(0).outcome->device, "B");
}

TEST_P(StoredRunTest, TheOnlyDeviceLeftTakesItsOwnRetryAndALineFailureCostsNoAttempt) {
    std::unique_ptr<StoredRun> items = begun({"1", "2"});
    auto claim = items->claimNext("A", false, {}, {}, true);
    items->giveBack(claim->index, {}, "A"); // the line failed before the hand-over
    auto again = items->claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->item.number, "1");
    EXPECT_EQ(again->item.attempts, 1);
}

TEST_P(StoredRunTest, StoppingKeepsTheLastFailureOfAnItemWaitingToRetry) {
    std::unique_ptr<StoredRun> items = begun({"1", "2"});
    auto claim = items->claimNext("A", false, {}, {}, true);
    items->retryLater(claim->index, SendOutcome::of(Outcome::Refused, "+CMS ERROR: 38"),
                      Clock::now() + std::chrono::hours(1));
    EXPECT_EQ(items->markStopped(kStopped), (QList<int>{0, 1}));
    EXPECT_EQ(items->at(0).status, "+CMS ERROR: 38");
    EXPECT_EQ(items->at(0).outcome->outcome, Outcome::Refused);
    EXPECT_EQ(items->at(1).status, kStopped);
    EXPECT_FALSE(items->claimNext("A", false, {}, {}, true));
    EXPECT_TRUE(items->allFinished());
}

TEST_P(StoredRunTest, ReportsMatchByDeviceAndReferenceAndAMessageIsDeliveredWhenEveryPartIs) {
    std::unique_ptr<StoredRun> items = begun({"1", "2", "3", "4"});
    const auto sendThrough = [&](const QString& device, const QList<int>& references) {
        auto claim = items->claimNext(device, false, {}, {}, true);
        items->handing(claim->index, device);
        EXPECT_TRUE(items->finish(claim->index, sent(device, references), "Done", true));
        return claim->index;
    };
    const int longOne = sendThrough("A", {5, 6});
    const int onB = sendThrough("B", {5}); // the same reference from another modem
    const int failed = sendThrough("A", {7});
    const int silent = sendThrough("A", {8});
    EXPECT_EQ(items->at(longOne).delivery, kDeliveryPending);
    EXPECT_EQ(items->awaitingReports(), 4);

    EXPECT_EQ(items->report("A", {5, 0}), longOne);
    EXPECT_EQ(items->at(longOne).delivery, kDeliveryPending); // its second part is not in yet
    EXPECT_EQ(items->at(onB).delivery, kDeliveryPending);
    EXPECT_EQ(items->report("A", {6, 0x30}), longOne); // still trying
    EXPECT_EQ(items->report("A", {6, 0}), longOne);
    EXPECT_EQ(items->at(longOne).delivery, "Delivered");
    EXPECT_EQ(items->report("B", {5, 0x61}), onB);
    EXPECT_EQ(items->at(onB).delivery, "Not delivered (recipient busy)");
    EXPECT_EQ(items->report("A", {7, 0x21}), failed);
    EXPECT_FALSE(items->report("A", {99, 0})); // no message of this run
    EXPECT_EQ(items->awaitingReports("A"), 2);

    // The wait ends: a message with no report at all says so; one the network said it still
    // tries stays as the network left it.
    EXPECT_EQ(items->endReportWait("A"), QList<int>{silent});
    EXPECT_EQ(items->at(silent).delivery, kNoReport);
    EXPECT_EQ(items->at(failed).delivery, kDeliveryPending);
}

// The campaigns window's report, read from the store, tells what the run's own report does:
// the device, every attempt, the network's references and the delivery.
TEST_P(StoredRunTest, ACampaignsReportTellsDeviceAttemptsReferencesAndDelivery) {
    std::unique_ptr<StoredRun> items = begun({"1", "2", "3"});
    auto first = items->claimNext("A", false, {}, {}, true);
    SendOutcome refused = SendOutcome::of(Outcome::Refused, "+CMS ERROR: 38");
    refused.device = "A";
    items->retryLater(first->index, refused, Clock::now() - std::chrono::seconds(1));
    auto retried = items->claimNext("B", false, {}, {}, false);
    ASSERT_TRUE(retried);
    items->handing(retried->index, "B");
    ASSERT_TRUE(items->finish(retried->index, sent("B", {5, 6}), "Done (B)", true));
    items->report("B", {5, 0});
    items->report("B", {6, 0});
    auto unasked = items->claimNext("A", false, {}, {}, true);
    items->handing(unasked->index, "A");
    ASSERT_TRUE(items->finish(unasked->index, sent("A", {9}), "Done (A)", false));

    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, nullptr);
    ASSERT_TRUE(store);
    const std::optional<QList<ReportItem>> report = campaignItems(*store, items->campaignId());
    ASSERT_TRUE(report);
    const SpreadsheetData rows = sendingReportRows(*report);
    EXPECT_EQ(rows, sendingReportRows(itemReport(items->all())));
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[1], (QStringList{"1", "m1", "Done (B)", kStatusSent, "B", "2", "5, 6", "Delivered"}));
    EXPECT_EQ(rows[2], (QStringList{"2", "m2", "Done (A)", kStatusSent, "A", "1", "9", ""}));
    EXPECT_EQ(rows[3].mid(3), (QStringList{"", "", "0", "", ""})); // still waiting: no device yet
}

TEST_P(StoredRunTest, NoReportIsAwaitedForAMessageThatDidNotGoOrWhenNoneWasAsked) {
    std::unique_ptr<StoredRun> items = begun({"1", "2"});
    auto refused = items->claimNext("A", false, {}, {}, true);
    items->finish(refused->index, SendOutcome::of(Outcome::NotSent, "+CMS ERROR: 38"), "Done", true);
    auto unasked = items->claimNext("A", false, {}, {}, true);
    items->finish(unasked->index, sent("A", {4}), "Done", false);
    EXPECT_EQ(items->awaitingReports(), 0);
    EXPECT_FALSE(items->report("A", {4, 0}));
    EXPECT_EQ(items->at(unasked->index).delivery, "");
}

TEST_P(StoredRunTest, ARunThatBrokeOffIsFoundWithWhatMayHaveGoneAndItsContinuationStopsIt) {
    QList<SendingItem> rows;
    {
        std::unique_ptr<StoredRun> broken = begun({"1", "2", "3", "4"});
        auto first = broken->claimNext("A", false, {}, {}, true);
        broken->handing(first->index, "A");
        broken->finish(first->index, sent("A"), "Done (A)", false);
        auto second = broken->claimNext("A", false, {}, {}, true);
        broken->handing(second->index, "A");         // the process dies here
        broken->claimNext("B", false, {}, {}, true); // claimed: from then on it may have gone
    }
    const std::optional<UnfinishedCampaign> left = unfinishedIn(home.folder);
    ASSERT_TRUE(left);
    EXPECT_FALSE(unfinishedIn(home.folder, kAndroidRoad)); // each road its own
    EXPECT_EQ(left->sent(), 1);
    const ResumePlan plan = planResume(*left, false);
    EXPECT_EQ(plan.unknown, 2);
    QStringList toSend;
    for (const UnfinishedCampaign::Entry& entry : plan.toSend)
        toSend << entry.number;
    EXPECT_EQ(toSend, QStringList{"4"}); // those of unknown fate are kept back
    EXPECT_EQ(planResume(*left, true).toSend.size(), 3);

    // The continuation's start stops the run it goes on with: nothing is left to resume.
    QString why;
    const StoredRun::Campaign continuation{CampaignStore::folderKey(home.folder), "{}", plan.campaign};
    auto next = std::make_unique<StoredRun>(CampaignStore::forFolder(home.folder, &why), continuation);
    SendingItem three;
    three.number = "3";
    next->begin({three}, kGsmRoad);
    ASSERT_EQ(next->failure(), "");
    // The continuation's sender lives: its campaign is no run that broke off, and the one it
    // goes on with is resumed once, whoever else tries.
    EXPECT_FALSE(unfinishedIn(home.folder));
    auto twice = std::make_unique<StoredRun>(CampaignStore::forFolder(home.folder, &why), continuation);
    twice->begin({three}, kGsmRoad);
    EXPECT_EQ(twice->failure(),
              QStringLiteral("Campaign %1 was resumed by another sender.").arg(plan.campaign));
    const auto claim = next->claimNext("A", false, {}, {}, true);
    next->handing(claim->index, "A");
    next->finish(claim->index, sent("A"), "Done (A)", false);
    next->end();
    EXPECT_FALSE(unfinishedIn(home.folder));
}

TEST_P(StoredRunTest, AJournalAnOlderVersionLeftIsImportedOnceAsAnUnfinishedRun) {
    const QString journal = home.folder.Bulk_SMS_Data_Folder_Path() + "/Run_Journal_Android.jsonl";
    const QByteArray lines =
        R"({"road":"android","carried":[["0","m0","Handed to the phone","","handed-to-phone"]],)"
        R"("items":[["1","m1",""],["2","m2",""],["3","m3",""]]})"
        "\n"
        R"({"i":0,"handing":"phone"})"
        "\n"
        R"({"i":0,"status":"Handed to the phone","references":[],"attempts":1,"outcome":"handed-to-phone"})"
        "\n"
        R"({"i":1,"handing":"phone"})"
        "\n"
        R"({"i":2,"hand)"; // cut short by the crash
    QString why;
    ASSERT_TRUE(writeFileAtomically(journal, lines, &why)) << why.toStdString();

    const std::optional<UnfinishedCampaign> imported = unfinishedIn(home.folder, kAndroidRoad);
    ASSERT_TRUE(imported);
    EXPECT_FALSE(QFile::exists(journal));
    QStringList statuses;
    for (const UnfinishedCampaign::Entry& entry : imported->entries)
        statuses << entry.number + "=" + entry.status;
    EXPECT_EQ(statuses,
              (QStringList{"0=Handed to the phone", "1=Handed to the phone", "2=" + kStatusUnknown, "3="}));
    EXPECT_EQ(imported->sent(), 2);
    EXPECT_EQ(planResume(*imported, false).toSend.size(), 1);
}

TEST_P(StoredRunTest, SendersSharingACampaignNeverClaimOneItemTwice) {
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, &why);
    ASSERT_TRUE(store) << why.toStdString();
    QList<SendingItem> items;
    for (int i = 0; i < 40; ++i) {
        SendingItem item;
        item.number = QString::number(1000 + i);
        items << item;
    }
    const qint64 id = createCampaign(
        *store, {CampaignStore::folderKey(home.folder), kGsmRoad, "{}", "queued"}, items, &why);
    ASSERT_GT(id, 0) << why.toStdString();
    const auto sender = [&] {
        return std::make_unique<StoredRun>(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), "{}", 0, id});
    };
    std::unique_ptr<StoredRun> a = sender(), b = sender();
    a->begin({}, kGsmRoad);
    b->begin({}, kGsmRoad);
    EXPECT_EQ(a->size(), 40);
    QList<int> byA, byB;
    const auto work = [](StoredRun& run, const QString& device, QList<int>& claimed) {
        while (const auto claim = run.claimNext(device, false, {}, {}, true)) {
            run.handing(claim->index, device);
            run.finish(claim->index, sent(device), "Done", false);
            claimed << claim->index;
        }
    };
    std::thread other([&] { work(*b, "B", byB); });
    work(*a, "A", byA);
    other.join();
    QList<int> all = byA + byB;
    std::sort(all.begin(), all.end());
    QList<int> expected(40);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(all, expected);                        // each once, by one of them
    EXPECT_TRUE(a->markStopped(kStopped).isEmpty()); // a shared campaign: a stop leaves the rest to others
    a->end();
    b->end();
    EXPECT_EQ(campaignSummary(*store, id)->state, "finished");
    EXPECT_EQ(campaignSummary(*store, id)->sent, 40);
}

TEST_P(StoredRunTest, WhatASenderThatStoppedRenewingHeldIsUnknownAndSentAgainOnlyWhenAsked) {
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(home.folder, &why);
    QList<SendingItem> items(3);
    for (int i = 0; i < 3; ++i)
        items[i].number = QString::number(i);
    const qint64 id = createCampaign(
        *store, {CampaignStore::folderKey(home.folder), kGsmRoad, "{}", "queued"}, items, &why);
    const StoredRun::Campaign shared{CampaignStore::folderKey(home.folder), "{}", 0, id};
    StoredRun silent(store, shared), alive(store, shared);
    silent.begin({}, kGsmRoad);
    alive.begin({}, kGsmRoad);
    const auto handed = silent.claimNext("S", false, {}, {}, true);
    silent.handing(handed->index, "S");
    silent.claimNext("S", false, {}, {}, true); // claimed: it may be in the device already
    // Its leases run out (its renewals stopped).
    ASSERT_TRUE(store->write(
        [](SqlDatabase& db) { return db.exec("UPDATE items SET lease_until = 0 WHERE device = 'S'"); }));

    const auto taken = alive.claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->index, 2); // both of its items may have gone: neither is handed out again
    EXPECT_EQ(alive.at(0).status, kStatusUnknown);
    EXPECT_EQ(alive.at(1).status, kStatusUnknown);
    EXPECT_TRUE(silent.finish(0, sent("S"), "Done", false)); // a late outcome is still kept
    EXPECT_EQ(alive.at(0).status, kStatusSent);

    EXPECT_EQ(resendUnknown(*store, id), 1); // the operator's word: item 1 waits again
    EXPECT_EQ(cancelCampaign(*store, id), 1);
    EXPECT_FALSE(alive.claimNext("A", false, {}, {}, true));
    EXPECT_EQ(campaignSummary(*store, id)->state, "cancelled");
    EXPECT_FALSE(cancelCampaign(*store, id + 100));
}

INSTANTIATE_TEST_SUITE_P(Engines, StoredRunTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
