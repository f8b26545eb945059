// Files from every kind of computer: lines ended by LF, CR LF, CR alone, or a mix. Every
// number of the file is read whatever the endings, also where an ending falls between two
// of the reader's chunks.
#include "list/NumberCandidates.h"
#include "list/NumberFileReader.h"

#include "TestEnvironment.h"

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

} // namespace
