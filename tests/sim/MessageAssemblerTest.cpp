#include "sim/MessageAssembler.h"

#include <gtest/gtest.h>

namespace {

struct Part {
    QString number;
    int reference, total, sequence;
    QString text;
};

struct Outcome {
    QString text;
    int parts;
    bool complete;
};

sim::ReceivedMessage received(const Part& p) {
    sim::ReceivedMessage m;
    m.number = p.number;
    m.mode = QStringLiteral("PDU");
    m.text = p.text;
    m.pduHex = QStringList{p.text.toLatin1().toHex()};
    return m;
}

TEST(MessageAssembler, JoinsPartsTheWayHandsetsTieThem) {
    const struct {
        const char* name;
        QList<Part> parts;
        QList<Outcome> finished;
        QList<Outcome> pending;
    } cases[] = {
        {"single messages pass straight through",
         {{"+1", -1, 1, 1, "a"}, {"+1", -1, 1, 1, "b"}},
         {{"a", 1, true}, {"b", 1, true}},
         {}},
        {"parts in order", {{"+1", 0, 2, 1, "ab"}, {"+1", 0, 2, 2, "cd"}}, {{"abcd", 2, true}}, {}},
        {"parts out of order are put in order",
         {{"+1", 0, 3, 3, "e"}, {"+1", 0, 3, 1, "a"}, {"+1", 0, 3, 2, "c"}},
         {{"ace", 3, true}},
         {}},
        {"a missing part keeps the message waiting",
         {{"+1", 0, 3, 1, "a"}, {"+1", 0, 3, 3, "e"}},
         {},
         {{"ae", 2, false}}},
        {"different numbers never mix",
         {{"+1", 0, 2, 1, "a"}, {"+2", 0, 2, 2, "x"}, {"+1", 0, 2, 2, "b"}},
         {{"ab", 2, true}},
         {{"x", 1, false}}},
        {"different references never mix",
         {{"+1", 5, 2, 1, "a"}, {"+1", 6, 2, 1, "x"}, {"+1", 5, 2, 2, "b"}},
         {{"ab", 2, true}},
         {{"x", 1, false}}},
        {"a repeated part starts a new message and closes the old one",
         {{"+1", 0, 3, 1, "a"}, {"+1", 0, 3, 1, "A"}, {"+1", 0, 3, 2, "B"}, {"+1", 0, 3, 3, "C"}},
         {{"a", 1, false}, {"ABC", 3, true}},
         {}},
        {"a header announcing one part is a whole message", {{"+1", 0, 1, 1, "z"}}, {{"z", 1, true}}, {}},
    };
    for (const auto& c : cases) {
        sim::MessageAssembler assembler;
        QList<sim::ReceivedMessage> finished;
        for (const Part& p : c.parts)
            finished += assembler.add(received(p), sim::Concatenation{p.reference, p.total, p.sequence});
        const QList<sim::ReceivedMessage> pending = assembler.pending();
        ASSERT_EQ(finished.size(), c.finished.size()) << c.name;
        for (qsizetype i = 0; i < finished.size(); ++i) {
            EXPECT_EQ(finished.at(i).text, c.finished.at(i).text) << c.name;
            EXPECT_EQ(finished.at(i).parts, c.finished.at(i).parts) << c.name;
            EXPECT_EQ(finished.at(i).complete, c.finished.at(i).complete) << c.name;
            EXPECT_EQ(finished.at(i).pduHex.size(), c.finished.at(i).parts) << c.name;
        }
        ASSERT_EQ(pending.size(), c.pending.size()) << c.name;
        for (qsizetype i = 0; i < pending.size(); ++i) {
            EXPECT_EQ(pending.at(i).text, c.pending.at(i).text) << c.name;
            EXPECT_FALSE(pending.at(i).complete) << c.name;
        }
    }
}

TEST(MessageAssembler, TakingPendingMessagesEmptiesTheWait) {
    sim::MessageAssembler assembler;
    assembler.add(received({"+1", 0, 2, 1, "a"}), {0, 2, 1});
    assembler.add(received({"+2", 0, 2, 1, "b"}), {0, 2, 1});
    const QList<sim::ReceivedMessage> taken = assembler.takePending();
    ASSERT_EQ(taken.size(), 2);
    EXPECT_EQ(taken.at(0).number, QStringLiteral("+1")); // oldest first
    EXPECT_EQ(taken.at(0).totalParts, 2);
    EXPECT_TRUE(assembler.pending().isEmpty());
    // the second part now starts afresh rather than completing a forgotten message
    EXPECT_TRUE(assembler.add(received({"+1", 0, 2, 2, "c"}), {0, 2, 2}).isEmpty());
}

} // namespace
