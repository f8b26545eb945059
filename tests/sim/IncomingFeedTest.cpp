// The file of incoming messages the virtual devices follow: what a line may say, and a file
// that grows while it is read.
#include "sim/IncomingFeed.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using sim::IncomingFeed;

TEST(IncomingFeed, ReadsALineOrSaysWhyNot) {
    const struct {
        QByteArray line;
        const char* problem; // nullptr: a message
    } cases[] = {
        {R"({"from": "+447700900001", "text": "STOP"})", nullptr},
        {R"({"from": " MyBank ", "text": "", "alphanumeric": true})", nullptr},
        {R"({"from": "1", "text": "x", "at": "2024-05-01T12:00:00+01:00"})", nullptr},
        {R"({"from": "1", "text": "x", "at": 1714561200000})", nullptr},
        {R"({"from": "1", "text": "x", "at": "yesterday"})", "no time"},
        {R"({"from": "", "text": "x"})", "needs"},
        {R"({"from": 447700900001, "text": "x"})", "needs"},
        {R"({"text": "x"})", "needs"},
        {R"(["from", "text"])", "object"},
        {R"({"from": "1", "text": "x")", "JSON"},
        {"\xff\xfe{}", "JSON"},
    };
    for (const auto& c : cases) {
        QString problem;
        const std::optional<sim::IncomingMessage> m = IncomingFeed::parseLine(c.line, &problem);
        EXPECT_EQ(m.has_value(), c.problem == nullptr) << c.line.constData() << " " << problem.toStdString();
        if (c.problem != nullptr && !problem.contains(QLatin1String(c.problem)))
            ADD_FAILURE() << c.line.constData() << ": " << problem.toStdString();
    }
    QString problem;
    const auto timed =
        IncomingFeed::parseLine(R"({"from": "1", "text": "x", "at": "2024-05-01T12:00:00+01:00"})", &problem);
    ASSERT_TRUE(timed);
    EXPECT_EQ(timed->at.toMSecsSinceEpoch(), 1714561200000);
    EXPECT_EQ(timed->at.offsetFromUtc(), 3600);
    const auto flagged = IncomingFeed::parseLine(
        R"({"from": "1", "text": "x", "eight_bit": true, "sixteen_bit_reference": true, "out_of_order": true, "drop_part": 2, "to": "490154203237518"})",
        &problem);
    ASSERT_TRUE(flagged);
    EXPECT_TRUE(flagged->eightBit && flagged->sixteenBitReference && flagged->outOfOrder);
    EXPECT_EQ(flagged->dropPart, 2);
    EXPECT_EQ(flagged->to, "490154203237518");
    const QByteArray tooLong =
        R"({"from": "1", "text": ")" + QByteArray(IncomingFeed::kMaxText + 1, 'a') + "\"}";
    EXPECT_FALSE(IncomingFeed::parseLine(tooLong, &problem));
}

TEST(IncomingFeed, FollowsTheFileAsItGrows) {
    QTemporaryDir dir;
    const QString path = dir.filePath("incoming.jsonl");
    IncomingFeed feed(path);
    EXPECT_TRUE(feed.poll().messages.isEmpty()); // not there yet
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered));
    file.write("{\"from\": \"1\", \"text\": \"one\"}\n\nnot json\n{\"from\": \"2\", \"te");
    IncomingFeed::Batch batch = feed.poll();
    ASSERT_EQ(batch.messages.size(), 1);
    EXPECT_EQ(batch.messages.at(0).text, "one");
    ASSERT_EQ(batch.problems.size(), 1);
    EXPECT_TRUE(batch.problems.at(0).contains("line 3")) << batch.problems.at(0).toStdString();
    file.write("xt\": \"two\"}\n"); // the half-written line completed
    batch = feed.poll();
    ASSERT_EQ(batch.messages.size(), 1);
    EXPECT_EQ(batch.messages.at(0).text, "two");
    EXPECT_TRUE(feed.poll().messages.isEmpty()); // each line once
    file.close();
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)); // replaced by a shorter file
    file.write("{\"from\": \"3\", \"text\": \"new\"}\n");
    file.close();
    batch = feed.poll();
    ASSERT_EQ(batch.messages.size(), 1);
    EXPECT_EQ(batch.messages.at(0).text, "new");
}

TEST(IncomingFeed, AnEndlessLineIsDroppedNotHoarded) {
    QTemporaryDir dir;
    const QString path = dir.filePath("incoming.jsonl");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(qsizetype(300) * 1024, 'x'));
    file.write("\n{\"from\": \"1\", \"text\": \"after\"}\n");
    file.close();
    IncomingFeed feed(path);
    IncomingFeed::Batch batch = feed.poll();
    EXPECT_FALSE(batch.problems.isEmpty());
    EXPECT_EQ(batch.messages.size(), 1);
    EXPECT_EQ(batch.messages.constLast().text, "after");
}

} // namespace
