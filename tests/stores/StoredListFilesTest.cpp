#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"

#include "TestEnvironment.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QFile>
#include <QRegularExpression>

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
    ASSERT_TRUE(appendSentItem(SentItem_File_Path,
                               {"111", "line one\nline two", "03/04/2025", "Message sent to device."}));
    ASSERT_TRUE(appendSentItem(SentItem_File_Path, {"+222", "", "03/04/2025", "+CMS ERROR: 38"}));
    const QList<SentItem> items = parseSentItems(readAll(SentItem_File_Path));
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0].message, "line one\nline two");
    EXPECT_EQ(items[1].number, "+222");
    EXPECT_EQ(items[1].status, "+CMS ERROR: 38");
}

TEST(SentItemFile, ControlCharactersInAMessageDoNotSurvive) {
    const QList<SentItem> items = parseSentItems(formatSentItemLine({"1", "a\ab", "d", "s"}));
    EXPECT_TRUE(items.isEmpty() || items.first().message != "a\ab");
}

TEST(SentItemFile, DateIsDayMonthYear) {
    EXPECT_TRUE(QRegularExpression("^\\d\\d/\\d\\d/\\d{4}$").match(sentItemDate()).hasMatch());
}

TEST(TemplateFile, BlankAndKnownTextsAddNothing) {
    TestDataHome home;
    EXPECT_TRUE(appendTemplateIfNew("Hello\nWorld"));
    EXPECT_FALSE(appendTemplateIfNew("Hello\nWorld"));
    EXPECT_FALSE(appendTemplateIfNew(" \n\t"));
    EXPECT_TRUE(appendTemplateIfNew("Other"));
    EXPECT_EQ(readAll(Templates_File_Path), "Hello|AP*|DX/World\nOther\n");
    EXPECT_TRUE(Check_Duplicate_Template("  Other \n"));
    EXPECT_FALSE(Check_Duplicate_Template("other"));
}

TEST(TemplateFile, SeesTemplatesWrittenByOthersAndRestoresTheSeparator) {
    TestDataHome home;
    Check_Path_And_Create_Files();
    EXPECT_FALSE(Check_Duplicate_Template("a\nb"));
    ASSERT_TRUE(writeFileAtomically(Templates_File_Path, "x|AP*|DX/y\nsecond line longer\n"));
    EXPECT_TRUE(Check_Duplicate_Template("x\ny"));
    EXPECT_EQ(parseTemplates(readAll(Templates_File_Path)), (QStringList{"x\ny", "second line longer"}));
}

TEST(TemplateFile, ParallelSendersAddEachTextOnce) {
    TestDataHome home;
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
        workers.emplace_back([] {
            for (int i = 0; i < 50; ++i)
                appendTemplateIfNew(QStringLiteral("Offer %1").arg(i));
        });
    for (auto& w : workers)
        w.join();
    const QStringList templates = parseTemplates(readAll(Templates_File_Path));
    EXPECT_EQ(templates.size(), 50);
    EXPECT_EQ(QSet<QString>(templates.begin(), templates.end()).size(), 50);
}

} // namespace
