#include "sheets/XmlPartWriter.h"
#include "sheets/SSZipArchive.h"

#include "ZipTestSupport.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QByteArray kDeclaration = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
                                "\n";

// Collects what a writer hands on, block by block.
struct Collected {
    QByteArray bytes;
    int blocks = 0;
    XmlPartWriter::Sink sink() {
        return [this](const char* data, qsizetype size) {
            bytes.append(data, size);
            ++blocks;
            return true;
        };
    }
};

TEST(XmlPartWriter, WritesCompactMarkupWithEscapedAttributesAndTexts) {
    Collected out;
    XmlPartWriter w(out.sink());
    w.start("root");
    w.attribute("a", R"(&<>"')");
    w.attribute("b", "tab\tline\ncr\r");
    w.attribute("c", std::string_view("nul\0bel\007 gone", 13));
    w.start("empty");
    w.end();
    w.element("t", u"x < y & _x0041_ \r");
    w.start("n");
    w.text(std::string_view("1 < 2 & \"q\"\t\n\001"));
    w.end();
    w.start("cells");
    w.markup("<c>1</c><c>2</c>");
    w.end();
    w.start("unclosed");
    w.start("inner");
    w.attribute("u", "é中");
    ASSERT_TRUE(w.finish());
    EXPECT_EQ(out.bytes.toStdString(),
              (kDeclaration + R"(<root a="&amp;&lt;&gt;&quot;'" b="tab&#9;line&#10;cr&#13;" c="nulbel gone">)"
                              R"(<empty/><t>x &lt; y &amp; _x005F_x0041_ _x000D_</t>)"
                              "<n>1 &lt; 2 &amp; \"q\"\t\n</n><cells><c>1</c><c>2</c></cells>"
                              "<unclosed><inner u=\"é中\"/></unclosed></root>\n")
                  .toStdString());
}

TEST(XmlPartWriter, HandsOnLargeOutputInBlocksAndGrowsForOneHugeText) {
    const QString huge(1 << 20, QChar(u'中')); // 3 MiB of UTF-8 in one text
    Collected out;
    XmlPartWriter w(out.sink());
    w.start("rows");
    for (int i = 0; i < 20000; ++i)
        w.element("r", u"some cell text");
    w.element("big", huge);
    ASSERT_TRUE(w.finish());
    EXPECT_GT(out.blocks, 3);
    EXPECT_TRUE(out.bytes.startsWith(kDeclaration + "<rows><r>some cell text</r>"));
    EXPECT_TRUE(out.bytes.endsWith("<big>" + huge.toUtf8() + "</big></rows>\n"));
    EXPECT_EQ(out.bytes.count("<r>some cell text</r>"), 20000);
}

TEST(XmlPartWriter, StopsHandingOnOnceTheSinkRefuses) {
    int calls = 0;
    XmlPartWriter w([&calls](const char*, qsizetype) {
        ++calls;
        return false;
    });
    w.start("rows");
    for (int i = 0; i < 50000 && w.ok(); ++i)
        w.element("r", u"some cell text");
    EXPECT_FALSE(w.ok());
    EXPECT_FALSE(w.finish());
    EXPECT_EQ(calls, 1);
}

class ArchiveFromTemplate : public ::testing::Test {
protected:
    QString file(const QString& name) const { return m_dir.path() + "/" + name; }
    QTemporaryDir m_dir;
};

TEST_F(ArchiveFromTemplate, CopiesTheTemplateInNameOrderWithGeneratedEntriesInPlace) {
    const QString templ = file("template.zip");
    ASSERT_TRUE(buildZip(templ, {{"xl/part.xml", "placeholder"},
                                 {"[Content_Types].xml", "<Types/>"},
                                 {"xl/kept.xml", "kept", QDateTime(QDate(2020, 5, 6), QTime(7, 8, 10))},
                                 {"full/", ""},
                                 {"empty/", ""},
                                 {"full\\x.txt", "x"}}));
    const QByteArray made = QByteArray("<made/>").repeated(100000); // several blocks
    const QHash<QString, SSZipEntryContent> generated = {
        {"xl/part.xml",
         [&](const SSZipEntrySink& sink) {
             return sink(made.constData(), made.size() / 2) &&
                    sink(made.constData() + made.size() / 2, made.size() - made.size() / 2);
         }},
        {"xl/new.xml", [](const SSZipEntrySink& sink) { return sink("<new/>", 6); }},
    };
    const QString zip = file("out.zip");
    ASSERT_TRUE(SSZipArchive::createZipFileFromTemplate(zip, templ, generated));
    EXPECT_EQ(zipEntryNames(zip), (QStringList{"[Content_Types].xml", "empty/", "full/x.txt", "xl/kept.xml",
                                               "xl/new.xml", "xl/part.xml"}));
    EXPECT_EQ(zipEntryData(zip, "xl/part.xml"), made);
    EXPECT_EQ(zipEntryData(zip, "xl/new.xml"), "<new/>");
    EXPECT_EQ(zipEntryData(zip, "xl/kept.xml"), "kept");
    EXPECT_EQ(zipEntryData(zip, "full/x.txt"), "x");

    // The same again gives the same bytes.
    const QString again = file("again.zip");
    ASSERT_TRUE(SSZipArchive::createZipFileFromTemplate(again, templ, generated));
    EXPECT_EQ(readFileBytes(again), readFileBytes(zip));
}

TEST_F(ArchiveFromTemplate, FailsWithoutLeavingAnArchive) {
    const QString templ = file("template.zip");
    ASSERT_TRUE(buildZip(templ, {{"a.xml", "a"}, {"b.xml", "b"}}));
    const QString locked = file("locked.zip");
    ASSERT_TRUE(buildZip(locked, {{"a.xml", "a", {}, "secret"}}));
    const auto failing = [](const SSZipEntrySink& sink) { return sink("<half", 5) && false; };
    const auto fine = [](const SSZipEntrySink& sink) { return sink("<ok/>", 5); };
    struct Case {
        const char* what;
        QString templ;
        SSZipEntryContent content;
    };
    const Case cases[] = {
        {"content fails", templ, failing},
        {"no template", file("missing.zip"), fine},
        {"encrypted template entry", locked, fine},
    };
    for (const Case& c : cases) {
        LogCapture log;
        const QString zip = file("out.zip");
        EXPECT_FALSE(SSZipArchive::createZipFileFromTemplate(zip, c.templ, {{"a.xml", c.content}})) << c.what;
        EXPECT_FALSE(QFileInfo::exists(zip)) << c.what;
        EXPECT_FALSE(log.lines().isEmpty()) << c.what;
    }
}

} // namespace
