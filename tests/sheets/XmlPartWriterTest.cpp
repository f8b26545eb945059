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
    w.start("unclosed");
    w.start("inner");
    w.attribute("u", "é中");
    ASSERT_TRUE(w.finish());
    EXPECT_EQ(out.bytes.toStdString(),
              (kDeclaration + R"(<root a="&amp;&lt;&gt;&quot;'" b="tab&#9;line&#10;cr&#13;" c="nulbel gone">)"
                              R"(<empty/><t>x &lt; y &amp; _x005F_x0041_ _x000D_</t>)"
                              "<n>1 &lt; 2 &amp; \"q\"\t\n</n>"
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

class GeneratedEntries : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir(m_dir.path()).mkpath("tree/xl"));
        ASSERT_TRUE(writeFileBytes(m_dir.path() + "/tree/xl/part.xml", "placeholder"));
        ASSERT_TRUE(writeFileBytes(m_dir.path() + "/tree/xl/kept.xml", "kept"));
    }
    QString tree() const { return m_dir.path() + "/tree/xl"; }
    QTemporaryDir m_dir;
};

TEST_F(GeneratedEntries, ReplaceTheirFilesInTheArchive) {
    const QByteArray made = QByteArray("<made/>").repeated(100000);
    const QString zip = m_dir.path() + "/out.zip";
    const QHash<QString, SSZipEntryContent> generated = {
        {"xl/part.xml", [&](const SSZipEntrySink& sink) {
             return sink(made.constData(), made.size() / 2) &&
                    sink(made.constData() + made.size() / 2, made.size() - made.size() / 2);
         }}};
    ASSERT_TRUE(SSZipArchive::createZipFileAtPath(zip, {tree()}, generated));
    EXPECT_EQ(zipEntryNames(zip), (QStringList{"xl/kept.xml", "xl/part.xml"}));
    EXPECT_EQ(zipEntryData(zip, "xl/part.xml"), made);
    EXPECT_EQ(zipEntryData(zip, "xl/kept.xml"), "kept");
}

TEST_F(GeneratedEntries, ContentThatFailsLeavesNoArchive) {
    LogCapture log;
    const QString zip = m_dir.path() + "/out.zip";
    const QHash<QString, SSZipEntryContent> generated = {
        {"xl/part.xml", [](const SSZipEntrySink& sink) { return sink("<half", 5) && false; }}};
    EXPECT_FALSE(SSZipArchive::createZipFileAtPath(zip, {tree()}, generated));
    EXPECT_FALSE(QFileInfo::exists(zip));
    EXPECT_TRUE(log.contains("could not be written completely"));
}

} // namespace
