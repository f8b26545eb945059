// Files from every kind of computer: lines ended by LF, CR LF, CR alone, or a mix. Every
// number of the file is read whatever the endings, also where an ending falls between two
// of the reader's chunks.
#include "list/NumberCandidates.h"
#include "list/NumberFileReader.h"

#include "TestEnvironment.h"
#include "core/FileUtils.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QStringList numbers(int count) {
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << QStringLiteral("+4477009%1").arg(10000 + i);
    return out;
}

// The numbers joined with the endings, taken in turn.
QByteArray fileOf(const QStringList& lines, const QList<QByteArray>& endings) {
    QByteArray bytes;
    for (qsizetype i = 0; i < lines.size(); ++i)
        bytes += lines.at(i).toUtf8() + endings.at(i % endings.size());
    return bytes;
}

QStringList readThrough(const QString& path) {
    NumberFileReader reader;
    QString failure;
    EXPECT_TRUE(reader.open(path, failure)) << failure.toStdString();
    QStringList candidates;
    while (reader.next(candidates)) {
    }
    candidates.removeAll(QString());
    return candidates;
}

TEST(LineEndings, EveryNumberIsReadWhateverEndsItsLine) {
    const struct {
        const char* name;
        QList<QByteArray> endings;
    } cases[] = {{"LF", {"\n"}}, {"CR LF", {"\r\n"}}, {"CR", {"\r"}}, {"mixed", {"\n", "\r\n", "\r"}}};
    QTemporaryDir dir;
    // A short list, and one long enough to cross the reader's chunks (an ending may be cut there).
    for (const int count : {3, 20000}) {
        const QStringList expected = numbers(count);
        for (const auto& c : cases) {
            const QString path = dir.filePath(QStringLiteral("numbers-%1.txt").arg(count));
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(fileOf(expected, c.endings));
            file.close();
            EXPECT_EQ(readThrough(path), expected) << c.name << ", " << count << " lines";
            if (count == 3) {
                QStringList pasted =
                    NumberCandidates::fromPaste(QString::fromUtf8(fileOf(expected, c.endings)));
                pasted.removeAll(QString());
                EXPECT_EQ(pasted, expected) << c.name << ", pasted";
            }
        }
    }
}

// The reader tells each candidate's line, and the lines it cut, whatever the endings, across
// its chunks, and through CSV records whose quoted fields hold line breaks.
TEST(LineEndings, CandidatesAndCutLinesKeepTheirLineNumbers) {
    QTemporaryDir dir;
    const QByteArray longLine(NumberFileReader::kChunkBytes + 100, '5'); // crosses a chunk
    const struct {
        const char* name;
        QByteArray bytes;
        QStringList candidates;
        QList<qint64> lines;
        QList<qint64> cut;
    } cases[] = {
        {"a.txt", "111\r\n\r222\n" + longLine + "\r333", {"111", "", "222", "333"}, {1, 2, 3, 5}, {4}},
        {"b.csv",
         "sep=;\nname;phone\r\n\"A\nB\";+447700900001\r\r\nx;+447700900002",
         {"+447700900001", "+447700900002"},
         {3, 6},
         {}},
    };
    for (const auto& c : cases) {
        const QString path = dir.filePath(c.name);
        ASSERT_TRUE(writeFileAtomically(path, c.bytes));
        NumberFileReader reader;
        QString failure;
        ASSERT_TRUE(reader.open(path, failure));
        QStringList candidates;
        QList<qint64> lines;
        while (reader.next(candidates, &lines)) {
        }
        EXPECT_EQ(candidates, c.candidates) << c.name;
        EXPECT_EQ(lines, c.lines) << c.name;
        EXPECT_EQ(reader.cutLineNumbers(), c.cut) << c.name;
    }
}

} // namespace
