#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"

#include "FullDisk.h"
#include "TestEnvironment.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(SentItemFile, RecordIsOneLineWithBellAndVerticalTab) {
    const QByteArray line =
        formatSentItemLine({"5550100", "Hi\nthere", "01/02/2025", "Message sent successfully."});
    EXPECT_EQ(line, "\a5550100\vHi|AP*|DX/there\a01/02/2025\vMessage sent successfully.\n");
    EXPECT_EQ(formatSentItemLine({"1", "\xE2\x82\xAC", "d", ""}),
              "\a1\v\xE2\x82\xAC\ad\v\n"); // UTF-8, empty Android status
}

TEST(SentItemFile, AppendedItemsReadBack) {
    TestDataHome home;
    ASSERT_TRUE(appendSentItem(home.folder, home.folder.SentItem_File_Path(),
                               {"111", "line one\nline two", "03/04/2025", "Message sent to device."}));
    ASSERT_TRUE(appendSentItem(home.folder, home.folder.SentItem_File_Path(),
                               {"+222", "", "03/04/2025", "+CMS ERROR: 38"}));
    const QList<SentItem> items = parseSentItems(readAll(home.folder.SentItem_File_Path()));
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0].message, "line one\nline two");
    EXPECT_EQ(items[1].number, "+222");
    EXPECT_EQ(items[1].status, "+CMS ERROR: 38");
}

TEST(SentItemFile, LinesAreReadFieldByField) {
    struct Case {
        const char* what;
        QByteArray content;
        QList<SentItem> expected;
    };
    const QList<Case> cases = {
        {"no VT at all", "\a5550100 hello\n", {}},
        {"number only", "\a 77 \v\n", {{"77", "", "", ""}}},
        {"blank number dropped", "\a \vmsg\ad\vs\n", {}},
        {"status trimmed",
         "\a1\vm\ad\v  Message sent successfully. \r\n",
         {{"1", "m", "d", "Message sent successfully."}}},
        {"separator restored", "\a1\vHi|AP*|DX/there\ad\vs\n", {{"1", "Hi\nthere", "d", "s"}}},
        {"two records on one line",
         "\a1\vm1\ad1\vs1\a2\vm2\ad2\vs2\n",
         {{"1", "m1", "d1", "s1"}, {"2", "m2", "d2", "s2"}}},
        {"BEL in a message cuts it", formatSentItemLine({"1", "a\ab", "d", "s"}), {{"1", "a", "b\ad", "s"}}},
    };
    for (const Case& c : cases) {
        const QList<SentItem> got = parseSentItems(c.content);
        ASSERT_EQ(got.size(), c.expected.size()) << c.what;
        for (int i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].number, c.expected[i].number) << c.what;
            EXPECT_EQ(got[i].message, c.expected[i].message) << c.what;
            EXPECT_EQ(got[i].date, c.expected[i].date) << c.what;
            EXPECT_EQ(got[i].status, c.expected[i].status) << c.what;
        }
    }
}

TEST(SentItemFile, RewriteRoundTripsAndIsPrivate) {
    TestDataHome home;
    home.folder.Check_Path_And_Create_Files();
    const QList<SentItem> items = {{"+1", "two\nlines", "01/02/2025", "Message sent successfully."},
                                   {"2", "\xE2\x82\xAC |AP*|DX/", "01/02/2025", ""}};
    ASSERT_TRUE(writeSentItemsFile(home.folder.SentItem_File_Path(), items));
    const QList<SentItem> back = parseSentItems(readAll(home.folder.SentItem_File_Path()));
    ASSERT_EQ(back.size(), 2);
    EXPECT_EQ(back[0].message, "two\nlines");
    EXPECT_EQ(back[1].message,
              QString::fromUtf8("\xE2\x82\xAC \n")); // the separator text comes back a line feed
    EXPECT_EQ(permissionsOf(home.folder.SentItem_File_Path()), 0600u);
}

TEST(SentItemFile, DateIsDayMonthYear) {
    EXPECT_TRUE(QRegularExpression("^\\d\\d/\\d\\d/\\d{4}$").match(sentItemDate()).hasMatch());
}

TEST(TemplateFile, BlankAndKnownTextsAddNothing) {
    TestDataHome home;
    TemplateFile file(home.folder);
    EXPECT_TRUE(file.appendTemplateIfNew("Hello\nWorld"));
    EXPECT_FALSE(file.appendTemplateIfNew("Hello\nWorld"));
    EXPECT_FALSE(file.appendTemplateIfNew(" \n\t"));
    EXPECT_TRUE(file.appendTemplateIfNew("Other"));
    EXPECT_EQ(readAll(home.folder.Templates_File_Path()), "Hello|AP*|DX/World\nOther\n");
    EXPECT_TRUE(file.Check_Duplicate_Template("  Other \n"));
    EXPECT_FALSE(file.Check_Duplicate_Template("other"));
}

TEST(TemplateFile, TextsDifferingInWhiteSpaceAreStoredOnce) {
    TestDataHome home;
    TemplateFile file(home.folder);
    // As three sends of one text file would add them: trailing line feed, spaces, tab.
    EXPECT_TRUE(file.appendTemplateIfNew("Meeting at 5\n"));
    EXPECT_FALSE(file.appendTemplateIfNew("Meeting at 5\n"));
    EXPECT_FALSE(file.appendTemplateIfNew("  Meeting at 5\t"));
    EXPECT_EQ(readAll(home.folder.Templates_File_Path()), "Meeting at 5\n");
}

TEST(TemplateFile, UntrimmedLinesOfEarlierVersionsCountAsKnown) {
    TestDataHome home;
    TemplateFile file(home.folder);
    home.folder.Check_Path_And_Create_Files();
    ASSERT_TRUE(writeFileAtomically(home.folder.Templates_File_Path(), "Offer |AP*|DX/\n"));
    EXPECT_FALSE(file.appendTemplateIfNew("Offer"));
    EXPECT_EQ(readAll(home.folder.Templates_File_Path()), "Offer |AP*|DX/\n");
}

TEST(TemplateFile, SeesTemplatesWrittenByOthersAndRestoresTheSeparator) {
    TestDataHome home;
    TemplateFile file(home.folder);
    home.folder.Check_Path_And_Create_Files();
    EXPECT_FALSE(file.Check_Duplicate_Template("a\nb"));
    ASSERT_TRUE(writeFileAtomically(home.folder.Templates_File_Path(), "x|AP*|DX/y\nsecond line longer\n"));
    EXPECT_TRUE(file.Check_Duplicate_Template("x\ny"));
    EXPECT_EQ(parseTemplates(readAll(home.folder.Templates_File_Path())),
              (QStringList{"x\ny", "second line longer"}));
}

// The workers of one run share its file; two runs of one process each have their own.
TEST(TemplateFile, ParallelSendersAddEachTextOnce) {
    TestDataHome home;
    TemplateFile gsmRun(home.folder), androidRun(home.folder);
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
        workers.emplace_back([&file = t % 2 == 0 ? gsmRun : androidRun] {
            for (int i = 0; i < 50; ++i)
                file.appendTemplateIfNew(QStringLiteral("Offer %1").arg(i));
        });
    for (auto& w : workers)
        w.join();
    const QStringList templates = parseTemplates(readAll(home.folder.Templates_File_Path()));
    EXPECT_EQ(templates.size(), 50);
    EXPECT_EQ(QSet<QString>(templates.begin(), templates.end()).size(), 50);
}

// The disk is full during a run: the appends say which file and why, the files keep what they
// had, and a template that never reached its file is not taken as known.
TEST(StoredListFiles, AppendsOnAFullDiskFailWithTheReason) {
    TestDataHome home;
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    const QString outcome = inChildWithFileSizeLimit(0, [&home] {
        TemplateFile file(home.folder);
        QString sentError, templateError;
        appendSentItem(home.folder, home.folder.SentItem_File_Path(),
                       {"222", "Hi", "01/02/2025", "Message sent successfully."}, &sentError);
        const bool added = file.appendTemplateIfNew("Hi", &templateError);
        return QStringList{sentError, templateError,
                           added || file.Check_Duplicate_Template("Hi") ? "known" : "new"}
            .join('|');
    });
    EXPECT_EQ(outcome, home.folder.SentItem_File_Path() + ": File too large|" +
                           home.folder.Templates_File_Path() + ": File too large|new");
    EXPECT_EQ(readAll(home.folder.SentItem_File_Path()) + readAll(home.folder.Templates_File_Path()), "");
}

} // namespace
