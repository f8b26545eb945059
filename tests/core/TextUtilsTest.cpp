#include "core/TextUtils.h"
#include "core/Counted.h"
#include "core/Log.h"

#include <QLocale>

#include <gtest/gtest.h>

namespace {

struct IndexCase {
    const char* name;
    QString (*fn)(const QString&, int);
    QString input;
    int index;
    QString expected;
};

TEST(TextUtils, IndexFunctionsClampAsPrescribed) {
    const IndexCase cases[] = {
        {"left beyond length", Left_Str_substringToIndex, "12345", 9, "12345"},
        {"left negative", Left_Str_substringToIndex, "12345", -2, ""},
        {"left inside", Left_Str_substringToIndex, "12345", 2, "12"},
        {"left at length", Left_Str_substringToIndex, "12345", 5, "12345"},
        {"right inside", Right_Str_substringFromIndex, "12345", 2, "45"},
        {"right negative", Right_Str_substringFromIndex, "12345", -1, ""},
        {"right beyond", Right_Str_substringFromIndex, "12345", 7, "12345"},
        {"from index at length", Read_Str_FromIndex, "ab", 2, ""},
        {"from index past length", Read_Str_FromIndex, "ab", 3, ""},
        {"from index inside", Read_Str_FromIndex, "ab", 1, "b"},
        {"from index negative", Read_Str_FromIndex, "ab", -1, ""},
        {"upto inside", Read_Str_Upto_Index, "abc", 2, "ab"},
        {"upto at length", Read_Str_Upto_Index, "abc", 3, "abc"},
        {"upto past length", Read_Str_Upto_Index, "abc", 4, ""},
        {"upto negative", Read_Str_Upto_Index, "abc", -1, ""},
    };
    for (const IndexCase& c : cases)
        EXPECT_EQ(c.fn(c.input, c.index), c.expected) << c.name;
}

TEST(TextUtils, IndexesCountUtf16Units) {
    const QString smileAndA = QString::fromUtf8("\xF0\x9F\x98\x80") + QStringLiteral("a"); // U+1F600 then 'a'
    ASSERT_EQ(smileAndA.size(), 3);
    EXPECT_EQ(Left_Str_substringToIndex(smileAndA, 2), QString::fromUtf8("\xF0\x9F\x98\x80"));
    EXPECT_EQ(Read_Str_FromIndex(smileAndA, 2), QStringLiteral("a"));
    EXPECT_EQ(Right_Str_substringFromIndex(smileAndA, 1), QStringLiteral("a"));
    // Cutting between the two units of a pair keeps the lone high surrogate: units, not code points.
    EXPECT_EQ(Read_Str_Upto_Index(smileAndA, 1).size(), 1);
    EXPECT_TRUE(Read_Str_Upto_Index(smileAndA, 1).at(0).isHighSurrogate());
}

TEST(TextUtils, TrimRemovesWhitespaceThenControlCharacters) {
    const struct {
        QString input;
        QString expected;
    } cases[] = {
        {"  hello \n", "hello"},
        {"\t\r\nhi\r\n", "hi"},
        {QString(QChar(0x2028)) + "x" + QChar(0x00A0), "x"}, // line separator, no-break space
        {QString(QChar(0x0007)) + " a " + QChar(0x200B),
         " a "}, // BEL and a format character go, the spaces they guarded stay
        {QString(" ") + QChar(0x0001) + "b", "b"}, // whitespace first, then the control character
        {"", ""},
        {"   ", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Trim_Str(c.input), c.expected) << c.input.toStdString();
    EXPECT_TRUE(Trim_Str(QString()).isEmpty());
}

TEST(TextUtils, CaseConversionTrimsBeforeAndAfter) {
    EXPECT_EQ(MakeUpper("  abc\n"), "ABC");
    EXPECT_EQ(MakeLower("\tAbC "), "abc");
    EXPECT_EQ(MakeUpper(" \n "), "");
    EXPECT_EQ(MakeUpper(QString::fromUtf8("stra\xC3\x9F"
                                          "e")),
              "STRASSE"); // length may change
}

TEST(TextUtils, ReplaceIsCaseSensitiveOrNotAsNamed) {
    EXPECT_EQ(Replace_char_in_string("aAaA", "a", "x"), "xAxA");
    EXPECT_EQ(Replace_char_in_string_Case_Insensitive("aAaA", "a", "x"), "xxxx");
    EXPECT_EQ(Replace_char_in_string("abc", "", "x"), "abc"); // an empty pattern changes nothing
    EXPECT_EQ(Replace_char_in_string("ERROR: +CMS ERROR", "ERROR", ""), ": +CMS ");
}

TEST(TextUtils, FindNeedsRealTextAndANonEmptyNeedle) {
    EXPECT_FALSE(Find_Str("abc", ""));
    EXPECT_FALSE(Find_Str(QString(), "a"));
    EXPECT_FALSE(Find_Str("abc", QString()));
    EXPECT_FALSE(Find_Str("abc", "B"));
    EXPECT_TRUE(Find_Str_Case_Insensitive("abc", "B"));
    EXPECT_TRUE(Find_Str("\r\nOK\r\n", "OK"));
    EXPECT_FALSE(Find_Str_Case_Insensitive("", ""));
}

TEST(TextUtils, PhoneNumberNormalisation) {
    EXPECT_EQ(Replace_Char_For_Valid_Number(" +1 (555) 010-99.12 "), "+15550109912");
    EXPECT_EQ(Replace_Char_For_Valid_Number("[44],20\t"), "4420");
    EXPECT_EQ(Replace_Char_For_Valid_Number("\n12/34\n"), "12/34"); // only the listed characters go
}

TEST(TextUtils, StoredLineSeparatorRoundTrip) {
    const QString stored = Replace_Sent_Item_and_Template_New_Line_with_Seprator("a\nb\n");
    EXPECT_EQ(stored, "a|AP*|DX/b|AP*|DX/");
    EXPECT_EQ(Replace_Sent_Item_and_Template_Seprator_With_New_Line(stored), "a\nb\n");
    // Not escaped: a text holding the separator itself comes back with a line break.
    EXPECT_EQ(Replace_Sent_Item_and_Template_Seprator_With_New_Line("x|AP*|DX/y"), "x\ny");
}

TEST(Log, BlankTextsAreNotLoggedAndLinesAreTrimmed) {
    LogCapture capture;
    Show_NSLog_Message("");
    Show_NSLog_Message(" \n ");
    Show_NSLog_Message("port closed\n");
    EXPECT_EQ(capture.lines(), QStringList{"NSLOG : port closed"});
}

} // namespace

TEST(Counted, PluralsAndTheLocaleDigitGroups) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    EXPECT_EQ(counted(1, "recipient", "recipients"), "1 recipient");
    EXPECT_EQ(counted(0, "recipient", "recipients"), "0 recipients");
    EXPECT_EQ(counted(12345, "recipient", "recipients"), "12,345 recipients");
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(counted(1234567, "Zeile", "Zeilen"), "1.234.567 Zeilen");
    EXPECT_EQ(localNumber(-1), "-1");
    QLocale::setDefault(before);
}
