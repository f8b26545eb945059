// The replies as conversations, on the embedded file and on a shared server: the numbers that
// wrote with their latest reply, the filters and the search, paging, and one number's exchange
// with the campaigns that texted it.
#include "campaigns/Conversations.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"

#include <gtest/gtest.h>

namespace {

constexpr qint64 kHour = qint64(3600) * 1000;

class ConversationsTest : public ::testing::TestWithParam<const char*> {
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

    // A campaign of the text to the numbers (read in the country), each answered by the device
    // with `outcome`, sent `ago` ms ago; its id.
    qint64 sent(const QStringList& numbers, const QString& text, qint64 ago, const QString& country = {},
                Outcome outcome = Outcome::Sent) {
        RunSettings settings;
        settings.country = country;
        StoredRun run(store,
                      StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(settings), 0});
        QList<SendingItem> items;
        for (const QString& n : numbers) {
            items << SendingItem{};
            items.last().number = n;
            items.last().message = text;
        }
        run.begin(items, kGsmRoad);
        EXPECT_EQ(run.failure(), "");
        while (const auto claim = run.claimNext("A", false, {}, {}, true)) {
            run.handing(claim->index, "A");
            SendOutcome answer =
                SendOutcome::of(outcome, outcome == Outcome::NotSent ? "+CMS ERROR: 21" : "");
            answer.device = "A";
            run.finish(claim->index, answer, "Done (A)", false);
        }
        run.end();
        EXPECT_TRUE(store->write([&](SqlDatabase& db) {
            return db.exec("UPDATE items SET sent_at = ? WHERE campaign = ?",
                           {CampaignStore::now() - ago, run.campaignId()});
        }));
        return run.campaignId();
    }
    // A reply the network stamped `ago` ms ago; its id.
    qint64 reply(const QString& sender, const QString& text, qint64 ago = 0) {
        ReceivedMessage m;
        m.device = "8944100000000000001";
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        m.sentAt = CampaignStore::now() - ago;
        QString why;
        const std::optional<StoredReply> kept = storeReceived(*store, m, {}, &why);
        EXPECT_TRUE(kept) << why.toStdString();
        return kept ? kept->id : 0;
    }
    QStringList numbers(const ConversationFilter& filter) {
        QString why;
        const std::optional<ConversationPage> page = listConversations(*store, filter, &why);
        EXPECT_TRUE(page) << why.toStdString();
        QStringList found;
        for (const ConversationRow& row : page ? page->rows : QList<ConversationRow>{})
            found << row.number;
        return found;
    }
    QStringList searched(const QString& text) {
        ConversationFilter filter;
        filter.search = text;
        return numbers(filter);
    }
    QStringList exported(const ConversationFilter& filter) {
        QStringList texts;
        for (const ReplyLine& line : repliesMatching(*store, filter).value_or(QList<ReplyLine>{}))
            texts << line.text;
        return texts;
    }

    TestDataHome home;
    std::shared_ptr<CampaignStore> store;
};

TEST_P(ConversationsTest, ListsEachNumberOnceByItsLatestReplyWithItsUnreadCountAndOptOut) {
    const qint64 campaign = sent({"+447911123100", "+447911123101"}, "Sale today", kHour);
    reply("+447911123100", "Hi");
    reply("+447911123101", "Yes please");
    const qint64 stop = reply("+447911123100", "STOP");
    reply("MyBank", "Your code is 1234"); // a name: answers no campaign

    const std::optional<ConversationPage> page = listConversations(*store, {});
    ASSERT_TRUE(page);
    EXPECT_FALSE(page->more);
    ASSERT_EQ(page->rows.size(), 3);
    const ConversationRow& latest = page->rows.at(1);
    EXPECT_EQ(page->rows.at(0).number, "MyBank");
    EXPECT_EQ(page->rows.at(0).campaign, 0);
    EXPECT_EQ(latest.number, "+447911123100");
    EXPECT_EQ(latest.latest, stop);
    EXPECT_EQ(latest.latestText, "STOP");
    EXPECT_EQ(latest.campaign, campaign);
    EXPECT_EQ(latest.replies, 2);
    EXPECT_EQ(latest.unread, 2);
    EXPECT_TRUE(latest.optedOut);
    EXPECT_FALSE(page->rows.at(2).optedOut);
    EXPECT_EQ(unreadReplies(*store), 4);

    // Read up to what the operator saw: a reply that came meanwhile stays unread.
    const qint64 later = reply("+447911123100", "START", 0);
    EXPECT_EQ(markConversationRead(*store, "+447911123100", stop), 2);
    EXPECT_EQ(markConversationRead(*store, "+447911123100", stop), 0);
    EXPECT_EQ(listConversations(*store, {})->rows.first().unread, 1);
    EXPECT_EQ(listConversations(*store, {})->rows.first().latest, later);
    EXPECT_FALSE(listConversations(*store, {})->rows.first().optedOut); // START took it back
    EXPECT_EQ(unreadReplies(*store), 3);

    const std::optional<QList<RepliedCampaign>> campaigns = repliedCampaigns(*store);
    ASSERT_TRUE(campaigns);
    ASSERT_EQ(campaigns->size(), 1);
    EXPECT_EQ(campaigns->first().id, campaign);
    EXPECT_EQ(campaigns->first().replies, 4);
}

TEST_P(ConversationsTest, FiltersByCampaignUnreadOptedOutAndDate) {
    const qint64 first = sent({"+447911123100", "+447911123101"}, "First", 2 * kHour);
    reply("+447911123100", "One");
    reply("+447911123101", "STOP");
    const qint64 second = sent({"+447911123102"}, "Second", kHour);
    reply("+447911123102", "Two");
    reply("MyBank", "Code 1");

    ConversationFilter filter;
    filter.campaign = first;
    EXPECT_EQ(numbers(filter), (QStringList{"+447911123101", "+447911123100"}));
    filter.campaign = second;
    EXPECT_EQ(numbers(filter), (QStringList{"+447911123102"}));
    filter.campaign = 0;
    EXPECT_EQ(numbers(filter), (QStringList{"MyBank"}));
    EXPECT_EQ(exported(filter), (QStringList{"Code 1"}));

    filter = {};
    filter.optedOutOnly = true;
    EXPECT_EQ(numbers(filter), (QStringList{"+447911123101"}));
    EXPECT_EQ(exported(filter), (QStringList{"STOP"}));

    ASSERT_EQ(markConversationRead(*store, "+447911123102", 1 << 30), 1);
    filter = {};
    filter.unreadOnly = true;
    EXPECT_EQ(numbers(filter), (QStringList{"MyBank", "+447911123101", "+447911123100"}));
    filter.keep = "+447911123102"; // the one being read stays
    EXPECT_EQ(numbers(filter), (QStringList{"MyBank", "+447911123102", "+447911123101", "+447911123100"}));
    EXPECT_EQ(exported(filter), (QStringList{"Code 1", "STOP", "One"}));

    // Kept before the date: the first campaign's replies are a day old.
    ASSERT_TRUE(store->write([&](SqlDatabase& db) {
        return db.exec("UPDATE received SET received_at = received_at - ? WHERE campaign = ?",
                       {24 * kHour, first});
    }));
    filter = {};
    filter.since = CampaignStore::now() - 12 * kHour;
    EXPECT_EQ(numbers(filter), (QStringList{"MyBank", "+447911123102"}));
    filter.campaign = first;
    EXPECT_TRUE(numbers(filter).isEmpty());
}

TEST_P(ConversationsTest, SearchFindsNumbersAndTextsIgnoringCaseWithWildcardsTakenLiterally) {
    sent({"+447911123100", "+447911123101", "+447911123102", "+447911123103"}, "Offer", kHour);
    reply("+447911123100", "50% off? No thanks");
    reply("+447911123101", "what is a_b");
    reply("+447911123102", "Hello WORLD");
    reply("+447911123103", "ab 50 off! x");

    EXPECT_EQ(searched("%"), (QStringList{"+447911123100"}));
    EXPECT_EQ(searched("_"), (QStringList{"+447911123101"}));
    EXPECT_EQ(searched("50% off"), (QStringList{"+447911123100"}));
    EXPECT_EQ(searched("off!"), (QStringList{"+447911123103"}));
    EXPECT_EQ(searched("world"), (QStringList{"+447911123102"}));
    EXPECT_EQ(searched("hello world"), (QStringList{"+447911123102"}));
    EXPECT_EQ(searched("  a_b "), (QStringList{"+447911123101"}));
    // A number as people write it.
    EXPECT_EQ(searched("7911 123-102"), (QStringList{"+447911123102"}));
    EXPECT_EQ(searched("+44 7911 12310").size(), 4);
    EXPECT_TRUE(searched("nothing like it").isEmpty());
    EXPECT_TRUE(searched("' OR 1=1 --").isEmpty());

    ConversationFilter filter;
    filter.search = "50";
    EXPECT_EQ(exported(filter), (QStringList{"ab 50 off! x", "50% off? No thanks"}));
}

TEST_P(ConversationsTest, AConversationInterleavesWhatTheCampaignsSentWithTheReplies) {
    // The list wrote the number in its national form; the reply comes in its international one.
    const qint64 first = sent({"07911 123100"}, "Sale today", 3 * kHour, "GB");
    const qint64 hi = reply("+447911123100", "What sale?", 2 * kHour);
    sent({"+447911123100"}, "Never went", 90 * 60 * 1000, {}, Outcome::NotSent); // refused: not shown
    const qint64 second = sent({"+447911123100"}, "Last day!", kHour);
    ReceivedMessage part;
    part.device = "8944100000000000001";
    part.road = kGsmRoad;
    part.sender = "+447911123100";
    part.text = "I would like to know";
    part.partReference = 9;
    part.partTotal = 3;
    part.partsArrived = {1, 3};
    part.complete = false;
    part.sentAt = CampaignStore::now() - 30 * 60 * 1000;
    ASSERT_TRUE(storeReceived(*store, part));

    const std::optional<QList<ConversationEntry>> entries = conversationOf(*store, "+447911123100");
    ASSERT_TRUE(entries);
    QStringList seen;
    for (const ConversationEntry& e : *entries)
        seen << QStringLiteral("%1 %2 %3")
                    .arg(e.kind == ConversationEntry::Kind::Sent ? "sent" : "reply")
                    .arg(e.campaign)
                    .arg(e.text);
    EXPECT_EQ(seen, (QStringList{QStringLiteral("sent %1 Sale today").arg(first),
                                 QStringLiteral("reply %1 What sale?").arg(first),
                                 QStringLiteral("sent %1 Last day!").arg(second),
                                 QStringLiteral("reply %1 I would like to know").arg(second)}));
    EXPECT_EQ(entries->at(1).id, hi);
    EXPECT_FALSE(entries->at(3).complete);
    EXPECT_EQ(entries->at(3).partTotal, 3);
    EXPECT_EQ(entries->at(3).partsArrived, (QList<int>{1, 3}));
    EXPECT_EQ(entries->at(3).readAt, 0);

    // The latest ones when there are more.
    const std::optional<QList<ConversationEntry>> last = conversationOf(*store, "+447911123100", 2);
    ASSERT_TRUE(last);
    ASSERT_EQ(last->size(), 2);
    EXPECT_EQ(last->first().text, "Last day!");
    EXPECT_TRUE(conversationOf(*store, "+447911999999")->isEmpty());
}

TEST_P(ConversationsTest, LargeListsComeInPagesThatMissAndRepeatNothing) {
    QStringList all;
    for (int i = 0; i < 25; ++i)
        all << QStringLiteral("+4479111231%1").arg(i, 2, 10, QLatin1Char('0'));
    sent(all, "Hello", kHour);
    for (const QString& number : all)
        reply(number, "Hi");
    reply(all.first(), "Again"); // its latest moves it to the top

    ConversationFilter filter;
    filter.limit = 10;
    QStringList seen;
    int pages = 0;
    for (;;) {
        const std::optional<ConversationPage> page = listConversations(*store, filter);
        ASSERT_TRUE(page);
        ++pages;
        for (const ConversationRow& row : page->rows)
            seen << row.number;
        if (!page->more)
            break;
        filter.before = page->rows.last().latest;
    }
    EXPECT_EQ(pages, 3);
    EXPECT_EQ(seen.size(), 25);
    EXPECT_EQ(seen.first(), all.first());
    EXPECT_EQ(QSet<QString>(seen.begin(), seen.end()).size(), 25);
}

INSTANTIATE_TEST_SUITE_P(Engines, ConversationsTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
