// Replies and opt-outs in the campaign store, on the embedded file and on a shared server: a
// message read twice kept once, the campaign a reply answers, stop and start words, and the
// claims that leave an opted-out recipient untexted.
#include "campaigns/Replies.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/OptOuts.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

constexpr qint64 kDay = qint64(24) * 3600 * 1000;

class RepliesTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        if (QString why; !useStoreEngine(GetParam(), &why))
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override { CampaignStore::useDatabase({}); }

    // A run over the numbers, sent with the country ("" for none), begun and not yet claimed.
    std::unique_ptr<StoredRun> begun(const QStringList& numbers, const QString& country = {}) {
        RunSettings settings;
        settings.country = country;
        auto run = std::make_unique<StoredRun>(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(settings), 0});
        QList<SendingItem> items;
        for (const QString& n : numbers) {
            SendingItem item;
            item.number = n;
            item.message = QStringLiteral("Hello");
            items << item;
        }
        run->begin(items, kGsmRoad);
        EXPECT_EQ(run->failure(), "");
        return run;
    }
    // A campaign whose every item the device answered with `outcome`; its id.
    qint64 sent(const QStringList& numbers, const QString& country = {}, Outcome outcome = Outcome::Sent) {
        std::unique_ptr<StoredRun> run = begun(numbers, country);
        while (const auto claim = run->claimNext("A", false, {}, {}, true)) {
            run->handing(claim->index, "A");
            SendOutcome answer =
                SendOutcome::of(outcome, outcome == Outcome::NotSent ? "+CMS ERROR: 21" : "");
            answer.device = "A";
            run->finish(claim->index, answer, "Done (A)", false);
        }
        run->end();
        return run->campaignId();
    }
    // The items of a campaign went this long ago.
    void sentAgo(qint64 campaign, qint64 ms) {
        ASSERT_TRUE(store->write([&](SqlDatabase& db) {
            return db.exec("UPDATE items SET sent_at = ? WHERE campaign = ?",
                           {CampaignStore::now() - ms, campaign});
        }));
    }
    static ReceivedMessage reply(const QString& sender, const QString& text, qint64 sentAt = 0) {
        ReceivedMessage m;
        m.device = QStringLiteral("8944100000000000001"); // the SIM's ICCID
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        m.sentAt = sentAt ? sentAt : CampaignStore::now();
        return m;
    }
    StoredReply stored(const ReceivedMessage& m, const ReplyRules& rules = {}) {
        QString why;
        const std::optional<StoredReply> r = storeReceived(*store, m, rules, &why);
        EXPECT_TRUE(r) << why.toStdString();
        return r.value_or(StoredReply{});
    }
    bool optedOut(const QString& number) { return isOptedOut(*store, number).value_or(false); }
    qint64 count(const char* table) {
        qint64 n = -1;
        store->read([&](SqlDatabase& db) {
            n = db.value(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table)).toLongLong();
            return true;
        });
        return n;
    }
    // Claims every item of the run: the statuses of those finished on the way, and the numbers
    // handed to the device.
    static QStringList claimAll(StoredRun& run, QStringList* handed = nullptr) {
        QStringList onTheWay;
        const auto shown = [&](const RunRecord::Claim& c) {
            onTheWay << c.item.number + "=" + c.item.status;
        };
        while (const auto claim = run.claimNext("A", false, {}, shown, true)) {
            if (handed)
                *handed << claim->item.number;
            SendOutcome ok = SendOutcome::of(Outcome::Sent);
            ok.device = "A";
            run.finish(claim->index, ok, "Done (A)", false);
        }
        return onTheWay;
    }

    TestDataHome home;
    std::shared_ptr<CampaignStore> store;
};

TEST_P(RepliesTest, AMessageReadTwiceIsKeptOnceAndItsStopActsOnce) {
    const qint64 campaign = sent({"+447911123100"});
    const ReceivedMessage stop = reply("+447911123100", "STOP");
    const StoredReply first = stored(stop);
    EXPECT_TRUE(first.fresh);
    EXPECT_EQ(first.campaign, campaign);
    EXPECT_EQ(first.change, OptOutWord::Stop);
    // Read again after a crash, before the SIM let go of it: the same row, nothing done again.
    const StoredReply again = stored(stop);
    EXPECT_FALSE(again.fresh);
    EXPECT_EQ(again.id, first.id);
    EXPECT_EQ(again.campaign, campaign);
    EXPECT_EQ(again.change, OptOutWord::None);
    EXPECT_EQ(count("received"), 1);
    EXPECT_EQ(count("opt_outs"), 1);

    // The same words at another time, or another part of a long message, are another message.
    ReceivedMessage later = stop;
    later.sentAt += 60000;
    EXPECT_NE(stored(later).id, first.id);
    ReceivedMessage part = stop;
    part.partReference = 7;
    part.partTotal = 2;
    part.partsArrived = {1};
    part.complete = false;
    const qint64 partId = stored(part).id;
    part.partsArrived = {2, 1, 2}; // both parts now, in any order
    part.complete = true;
    EXPECT_NE(stored(part).id, partId);
    EXPECT_EQ(count("received"), 4);
    EXPECT_EQ(count("opt_outs"), 1); // one active opt-out a number
}

TEST_P(RepliesTest, AReplyAnswersTheLatestCampaignThatTextedItsSenderWithinTheWindow) {
    const qint64 older = sent({"+447911123100", "+447911123101"});
    sentAgo(older, 2 * kDay);
    const qint64 latest = sent({"+447911123100"});
    sentAgo(latest, kDay);
    const qint64 refused = sent({"+447911123100"}, {}, Outcome::NotSent); // never reached them
    const qint64 unknown = sent({"+447911123102"}, {}, Outcome::Unknown); // may have reached them

    EXPECT_EQ(stored(reply("+447911123100", "Who is this?")).campaign, latest);
    EXPECT_EQ(stored(reply("+447911123101", "Thanks")).campaign, older);
    EXPECT_EQ(stored(reply("+447911123102", "Thanks")).campaign, unknown);
    EXPECT_EQ(stored(reply("+447911123199", "Hello?")).campaign, 0); // texted by none
    EXPECT_NE(refused, 0);

    // Past the window nothing is answered; a narrower window is the operator's to set.
    sentAgo(older, 8 * kDay);
    sentAgo(latest, 8 * kDay);
    EXPECT_EQ(stored(reply("+447911123100", "Anyone?")).campaign, 0);
    sentAgo(latest, kDay / 12); // two hours
    EXPECT_EQ(stored(reply("+447911123100", "Hi"), {1h, {}}).campaign, 0);
    EXPECT_EQ(stored(reply("+447911123100", "Hi there"), {3h, {}}).campaign, latest);
}

TEST_P(RepliesTest, ItemsKeptBeforeRepliesWereStoredAreMatchedAndHonouredAsWritten) {
    // Such items have neither an E.164 form beside them nor the time they went: their number
    // (then already E.164 when a country applied) and their last change stand in.
    const qint64 campaign = sent({"+447911123100"});
    std::unique_ptr<StoredRun> waiting = begun({"+447911123100", "+447911123101"});
    ASSERT_TRUE(store->write(
        [](SqlDatabase& db) { return db.exec("UPDATE items SET number_e164 = NULL, sent_at = NULL"); }));
    EXPECT_EQ(stored(reply("+447911123100", "STOP")).campaign, campaign);
    QStringList handed;
    EXPECT_EQ(claimAll(*waiting, &handed), QStringList{"+447911123100=" + kOptedOut});
    EXPECT_EQ(handed, QStringList{"+447911123101"});
}

TEST_P(RepliesTest, EachCampaignsNumbersAreReadInTheCountryItWasSentWith) {
    // A British list written nationally, and a list without a country kept as written.
    const qint64 british = sent({"07911 123100"}, "GB");
    const qint64 none = sent({"07911123200"});
    EXPECT_EQ(stored(reply("+447911123100", "Hi")).campaign, british);
    const StoredReply national = stored(reply("07911123100", "Hi again")); // as some networks give it
    EXPECT_EQ(national.campaign, british);
    EXPECT_EQ(national.number, "+447911123100");
    EXPECT_EQ(stored(reply("07911123200", "Hi")).campaign, none);
    // Which country "07911123200" is in nobody knows: the international form is someone else.
    EXPECT_EQ(stored(reply("+447911123200", "Hi")).campaign, 0);

    // Both stop, each in the form their campaign knows them by; the next runs leave them out.
    EXPECT_EQ(stored(reply("07911123100", "stop")).change, OptOutWord::Stop);
    EXPECT_EQ(stored(reply("07911123200", "Stop.")).change, OptOutWord::Stop);
    EXPECT_TRUE(optedOut("+447911123100"));
    EXPECT_TRUE(optedOut("07911123200"));
    std::unique_ptr<StoredRun> nextBritish = begun({"07911123100", "07911123101"}, "GB");
    std::unique_ptr<StoredRun> nextNone = begun({"07911123200", "07911123201"});
    QStringList handed;
    EXPECT_EQ(claimAll(*nextBritish, &handed), QStringList{"07911123100=" + kOptedOut});
    EXPECT_EQ(claimAll(*nextNone, &handed), QStringList{"07911123200=" + kOptedOut});
    EXPECT_EQ(handed, (QStringList{"07911123101", "07911123201"}));
}

TEST_P(RepliesTest, ARecipientWhoOptsOutMidRunIsNotHandedTheirMessage) {
    std::unique_ptr<StoredRun> run = begun({"+447911123100", "+447911123101", "+447911123102"});
    const auto first = run->claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(first);
    SendOutcome refused = SendOutcome::of(Outcome::Refused, "+CMS ERROR: 38");
    refused.device = "A";
    run->retryLater(first->index, refused, std::chrono::steady_clock::now() - 1s); // it waits to go again

    // The first and the last recipient reply STOP while the run sends.
    stored(reply("+447911123100", "STOP"));
    stored(reply("+447911123102", "UNSUBSCRIBE"));
    QStringList handed;
    const QStringList onTheWay = claimAll(*run, &handed);
    EXPECT_EQ(handed, QStringList{"+447911123101"});
    EXPECT_EQ(onTheWay, (QStringList{"+447911123100=" + kOptedOut, "+447911123102=" + kOptedOut}));
    EXPECT_TRUE(run->allFinished());
    EXPECT_EQ(run->at(0).status, kOptedOut);
    EXPECT_EQ(run->at(0).currentStatus, "Done (A)");
    EXPECT_TRUE(leftOutOnPurpose(run->at(2).status));
    run->end();
    const std::optional<CampaignSummary> summary = campaignSummary(*store, run->campaignId());
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->state, "finished");
    EXPECT_EQ(summary->sent, 1);
    EXPECT_EQ(summary->notSent, 2);
}

TEST_P(RepliesTest, StartBringsANumberBackAndTheHistoryStays) {
    const qint64 campaign = sent({"+447911123100"});
    const StoredReply stop = stored(reply("+447911123100", "STOP"));
    EXPECT_EQ(stored(reply("+447911123100", "stop!!", CampaignStore::now() + 1000)).change,
              OptOutWord::None); // already out: the first opt-out stays
    const StoredReply start = stored(reply("+447911123100", "Start", CampaignStore::now() + 2000));
    EXPECT_EQ(start.change, OptOutWord::Start);
    EXPECT_FALSE(optedOut("+447911123100"));
    EXPECT_EQ(stored(reply("+447911123100", "START", CampaignStore::now() + 3000)).change, OptOutWord::None);

    EXPECT_TRUE(listOptOuts(*store)->isEmpty());
    const QList<OptOut> history = listOptOuts(*store, false).value();
    ASSERT_EQ(history.size(), 1);
    EXPECT_EQ(history.first().number, "+447911123100");
    EXPECT_EQ(history.first().how, kOptOutByKeyword);
    EXPECT_EQ(history.first().message, stop.id);
    EXPECT_FALSE(history.first().active);
    EXPECT_EQ(history.first().endedHow, kOptOutByKeyword);
    EXPECT_EQ(history.first().endedMessage, start.id);
    EXPECT_GE(history.first().endedAt, history.first().since);

    QStringList handed;
    std::unique_ptr<StoredRun> next = begun({"+447911123100"});
    EXPECT_TRUE(claimAll(*next, &handed).isEmpty());
    EXPECT_EQ(handed, QStringList{"+447911123100"});
    // The opt-out that ended still counts for the campaign whose reply asked it.
    EXPECT_EQ(campaignReplyCounts(*store, campaign)->optOuts, 1);
}

TEST_P(RepliesTest, TheOperatorOptsNumbersOutAndBackIn) {
    QString why;
    EXPECT_TRUE(addOptOut(*store, "+44 7911 123100", kOptOutByOperator, &why)) << why.toStdString();
    EXPECT_TRUE(optedOut("+447911123100"));
    const qint64 since = listOptOuts(*store)->first().since;
    EXPECT_TRUE(addOptOut(*store, "+447911123100", kOptOutByApi));
    ASSERT_EQ(listOptOuts(*store)->size(), 1);
    EXPECT_EQ(listOptOuts(*store)->first().since, since);
    EXPECT_EQ(listOptOuts(*store)->first().how, kOptOutByOperator);
    EXPECT_EQ(listOptOuts(*store)->first().message, 0);

    EXPECT_TRUE(addOptOut(*store, "(0791) 112-3200", kOptOutByOperator)); // no country: as written
    EXPECT_TRUE(optedOut("07911123200"));
    EXPECT_FALSE(addOptOut(*store, "MyBank", kOptOutByOperator, &why));
    EXPECT_EQ(why, "Not a phone number: MyBank");

    EXPECT_TRUE(removeOptOut(*store, "+447911123100", kOptOutByOperator));
    EXPECT_FALSE(optedOut("+447911123100"));
    EXPECT_EQ(listOptOuts(*store, false)->size(), 2);
    EXPECT_EQ(listOptOuts(*store)->size(), 1);
}

TEST_P(RepliesTest, OnlyAWholeMessageFromANumberCanOptOut) {
    ReceivedMessage first = reply("+447911123100", "Stop");
    first.partReference = 3;
    first.partTotal = 2;
    first.partsArrived = {1};
    first.complete = false; // "Stop" may go on in the part still missing
    EXPECT_EQ(stored(first).change, OptOutWord::None);
    const StoredReply name = stored(reply("MyBank", "STOP"));
    EXPECT_EQ(name.change, OptOutWord::None);
    EXPECT_EQ(name.number, "MyBank");
    EXPECT_EQ(count("opt_outs"), 0);
    EXPECT_EQ(stored(reply("+447911123100", "Arr\xc3\xaat"), {168h, {"ARRET"}}).change, OptOutWord::Stop);
}

TEST_P(RepliesTest, ListsFilterPageAndMarkRead) {
    const qint64 a = sent({"+447911123100", "+447911123101"});
    const qint64 b = sent({"+447911123102"});
    const qint64 r1 = stored(reply("+447911123100", "Hello")).id;
    const qint64 r2 = stored(reply("+447911123101", "STOP")).id;
    const qint64 r3 = stored(reply("+447911123102", "Thanks")).id;
    const qint64 r4 = stored(reply("+447911123199", "Who?")).id;
    const auto ids = [&](const ReceivedFilter& filter) {
        QList<qint64> out;
        const QList<ReceivedRow> rows = listReceived(*store, filter).value();
        for (const ReceivedRow& row : rows)
            out << row.id;
        return out;
    };
    EXPECT_EQ(ids({}), (QList<qint64>{r4, r3, r2, r1})); // newest first
    ReceivedFilter byCampaign;
    byCampaign.campaign = a;
    EXPECT_EQ(ids(byCampaign), (QList<qint64>{r2, r1}));
    byCampaign.campaign = 0;
    EXPECT_EQ(ids(byCampaign), QList<qint64>{r4});
    ReceivedFilter optedOutOnly;
    optedOutOnly.optedOutOnly = true;
    EXPECT_EQ(ids(optedOutOnly), QList<qint64>{r2});
    ReceivedFilter page;
    page.limit = 2;
    EXPECT_EQ(ids(page), (QList<qint64>{r4, r3}));
    page.before = r3;
    EXPECT_EQ(ids(page), (QList<qint64>{r2, r1}));
    ReceivedFilter later;
    later.since = CampaignStore::now() + kDay;
    EXPECT_TRUE(ids(later).isEmpty());

    EXPECT_TRUE(markRead(*store, {r1, r3}));
    ReceivedFilter unread;
    unread.unreadOnly = true;
    EXPECT_EQ(ids(unread), (QList<qint64>{r4, r2}));
    EXPECT_TRUE(markRead(*store, {r3}, false));
    EXPECT_EQ(ids(unread), (QList<qint64>{r4, r3, r2}));

    const QList<ReceivedRow> rows = listReceived(*store, {}).value();
    const ReceivedRow& stop = rows.at(2);
    EXPECT_EQ(stop.message.text, "STOP");
    EXPECT_EQ(stop.message.device, "8944100000000000001");
    EXPECT_EQ(stop.campaign, a);
    EXPECT_EQ(stop.change, OptOutWord::Stop);
    EXPECT_TRUE(stop.senderOptedOut);
    EXPECT_EQ(rows.at(3).readAt > 0, true);

    EXPECT_EQ(campaignReplyCounts(*store, a)->replies, 2);
    EXPECT_EQ(campaignReplyCounts(*store, a)->optOuts, 1);
    const std::optional<CampaignSummary> summaryB = campaignSummary(*store, b);
    EXPECT_EQ(summaryB->replies, 1);
    EXPECT_EQ(summaryB->optOuts, 0);
    EXPECT_EQ(listCampaigns(*store)->last().replies, 2); // a, the oldest
}

INSTANTIATE_TEST_SUITE_P(Engines, RepliesTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
