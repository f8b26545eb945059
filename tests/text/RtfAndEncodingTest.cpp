// RTF to text and the encodings plain text files arrive in.
#include "text/CodePageDecoder.h"
#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"

#include <QList>
#include <QStringEncoder>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

struct RtfCase {
    const char* name;
    QByteArray rtf;
    QString text;
};

class RtfConversion : public ::testing::TestWithParam<RtfCase> {};

TEST_P(RtfConversion, GivesThePlainText) {
    EXPECT_EQ(RtfConverter::toPlainText(GetParam().rtf), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, RtfConversion,
    ::testing::Values(
        RtfCase{"ParagraphsAndLines", R"({\rtf1\ansi 111\par 222\line 333\par})", "111\n222\n333\n"},
        RtfCase{"SourceLineEndsAreNotText", "{\\rtf1 11\r\n1\\par\n222}", "111\n222"},
        RtfCase{
            "FontAndColourTablesDropped",
            R"({\rtf1\ansi{\fonttbl{\f0\fswiss Arial;}{\f1 Times;}}{\colortbl;\red255\green0\blue0;}\f0 A})",
            "A"},
        RtfCase{"StylesheetAndInfoDropped",
                R"({\rtf1{\stylesheet{\s0 Normal;}}{\info{\title T}{\author X}}B})", "B"},
        RtfCase{"IgnorableDestinationDropped", R"({\rtf1 a{\*\generator Writer 1.0;}b{\*\unknownthing c}d})",
                "abd"},
        RtfCase{"PictureDropped", R"({\rtf1 x{\pict\pngblip\picw10 89504e470d0a1a0a}y})", "xy"},
        RtfCase{"NestedGroupsKeepText", R"({\rtf1 {a{\b b{\i c}}d}e})", "abcde"},
        RtfCase{"FormattingResetsAtGroupEnd", R"({\rtf1 {\fonttbl{\f0 F;}}{\b bold}\par plain})",
                "bold\nplain"},
        RtfCase{"HexEscapeInWindows1252", R"({\rtf1\ansi\ansicpg1252 Jos\'e9})", QString::fromUtf8("José")},
        RtfCase{"HexEscapeInDocumentCodePage", R"({\rtf1\ansi\ansicpg1251 \'cf\'f0\'e8})",
                QString::fromUtf8("При")},
        RtfCase{"UnicodeSkipsOneFallback", R"({\rtf1 \u1055?\u1088?})", QString::fromUtf8("Пр")},
        RtfCase{"NegativeUnicode", R"({\rtf1 \u-3971?})", QString(QChar(0xF07D))},
        RtfCase{"UcSetsFallbackLength", R"({\rtf1\uc2 \u1055\'cf\'cfz})", QString::fromUtf8("Пz")},
        RtfCase{"UcZeroSkipsNothing", R"({\rtf1\uc0 \u1055 z})", QString::fromUtf8("Пz")},
        RtfCase{"FallbackAsHexEscape", R"({\rtf1 \u233\'e9x})", QString::fromUtf8("éx")},
        RtfCase{"EscapedSymbols", R"({\rtf1 a\\b\{c\}d\tab e})", "a\\b{c}d\te"},
        RtfCase{"TableCellsAndRows", R"({\rtf1 \trowd 1\cell 2\cell\row 3\cell\row})", "1\t2\t\n3\t\n"},
        RtfCase{"FieldKeepsResultOnly", R"({\rtf1 {\field{\*\fldinst HYPERLINK "x"}{\fldrslt link}}})",
                "link"},
        RtfCase{"BinaryDataSkipped", QByteArray("{\\rtf1 a{\\bin3 \x01}\x02}b}", 21), "ab"},
        RtfCase{"UnbalancedGroupsDoNotStopReading", R"({\rtf1 a}}}b{{c)", "abc"},
        RtfCase{"TruncatedEscape", R"({\rtf1 a\'e)", "a"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RtfConverter, ADocumentWithEverythingAtOnce) {
    const QByteArray rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fnil\\fcharset0 Calibri;}}\r\n"
                           "{\\colortbl ;\\red0\\green0\\blue255;}\r\n"
                           "{\\*\\generator Riched20 10.0;}\\viewkind4\\uc1\r\n"
                           "\\pard\\sa200\\sl276\\slmult1\\f0\\fs22 +44 1234 567890\\par\r\n"
                           "{\\b Caf\\'e9}\\par\r\n"
                           "{\\pict{\\*\\picprop}\\wmetafile8 0100090000}\r\n"
                           "\\u1055?\\u1088?\\par\r\n"
                           "0044-555\\par\r\n}";
    EXPECT_EQ(
        RtfConverter::toPlainText(rtf).split('\n'),
        (QStringList{"+44 1234 567890", QString::fromUtf8("Café"), QString::fromUtf8("Пр"), "0044-555", ""}));
}

TEST(RtfConverter, HostileInputNeverCrashes) {
    const QList<QByteArray> inputs{QByteArray(100000, '{'),          QByteArray(100000, '}'),
                                   QByteArray(5000, '\\'),           "{\\rtf1\\bin999999999 x}",
                                   "{\\rtf1\\u99999999999999999 x}", "{\\rtf1\\uc99999 \\u65 abc}",
                                   QByteArray("\x00\xff\\'zz", 6)};
    for (const QByteArray& input : inputs)
        RtfConverter::toPlainText(input); // survives, whatever it returns
    EXPECT_EQ(RtfConverter::toPlainText("{\\rtf1\\u65 abc}"), "Abc");
}

// ---- plain text encodings ----

QByteArray encoded(const QString& text, QStringConverter::Encoding encoding, bool bom) {
    QStringEncoder encoder(encoding,
                           bom ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
    return encoder(text);
}

struct EncodingCase {
    const char* name;
    QByteArray bytes;
    QString encoding;
};

const QString kSample = QString::fromUtf8("José\r\n+441234567890\r\n0044 555 1234\r\nMüller;Zoë");

class TextEncodings : public ::testing::TestWithParam<EncodingCase> {};

TEST_P(TextEncodings, DecodeToTheSameText) {
    QString text;
    ASSERT_TRUE(TextFileDecoder::decode(GetParam().bytes, text));
    EXPECT_EQ(text, kSample);
    EXPECT_EQ(TextFileDecoder::detectEncoding(GetParam().bytes), GetParam().encoding);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TextEncodings,
    ::testing::Values(
        EncodingCase{"Utf8", kSample.toUtf8(), "UTF-8"},
        EncodingCase{"Utf8Bom", encoded(kSample, QStringConverter::Utf8, true), "UTF-8"},
        EncodingCase{"Utf16LeBom", encoded(kSample, QStringConverter::Utf16LE, true), "UTF-16LE"},
        EncodingCase{"Utf16BeBom", encoded(kSample, QStringConverter::Utf16BE, true), "UTF-16BE"},
        EncodingCase{"Utf32LeBom", encoded(kSample, QStringConverter::Utf32LE, true), "UTF-32LE"},
        EncodingCase{"Windows1252", kSample.toLatin1(), "windows-1252"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(TextFileDecoder, LegacyCyrillicIsRecognised) {
    const QString russian =
        QString::fromUtf8("Иванов Иван Петрович, телефон для связи с клиентом\r\n+79161234567\r\n"
                          "Петров Пётр Сергеевич, рабочий номер офиса в Москве\r\n84951234567\r\n");
    QString text;
    QByteArray cp1251; // А..я are 0xC0..0xFF, ё is 0xB8
    for (const QChar c : russian)
        cp1251 += c.unicode() >= 0x410 && c.unicode() <= 0x44F ? char(c.unicode() - 0x410 + 0xC0)
                  : c.unicode() == 0x451                       ? char(0xB8)
                                                               : char(c.unicode());
    ASSERT_TRUE(TextFileDecoder::decode(cp1251, text));
    EXPECT_EQ(text, russian);
}

TEST(TextFileDecoder, BinaryAndControlHeavyBytesAreNotText) {
    QString text;
    EXPECT_FALSE(TextFileDecoder::decode(QByteArray("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR", 16), text));
    EXPECT_TRUE(text.isEmpty());
    EXPECT_FALSE(TextFileDecoder::decode(QByteArray("1\x01\x02\x03\x04\x05", 6), text));
    EXPECT_TRUE(TextFileDecoder::decode("", text));
    EXPECT_TRUE(text.isEmpty());
}

TEST(CodePageDecoder, CodePageNumbersAndUnknownNames) {
    EXPECT_EQ(CodePageDecoder::decode("\xe9", CodePageDecoder::charsetOfCodePage(1252)),
              QString::fromUtf8("é"));
    EXPECT_EQ(CodePageDecoder::decode("\x82", CodePageDecoder::charsetOfCodePage(437)),
              QString::fromUtf8("é"));
    EXPECT_EQ(CodePageDecoder::decode("\x8e", CodePageDecoder::charsetOfCodePage(10000)),
              QString::fromUtf8("é"));
    EXPECT_EQ(CodePageDecoder::decode("\x80", "no-such-charset"), QString::fromUtf8("€"));
}

} // namespace
