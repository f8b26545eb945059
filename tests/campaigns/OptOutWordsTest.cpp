// The stop and start words of replies: only a reply that is the word itself counts.
#include "campaigns/OptOutWords.h"

#include <gtest/gtest.h>

namespace {

struct WordCase {
    const char* reply;
    OptOutWord expected;
};

const char* wordName(OptOutWord word) {
    switch (word) {
    case OptOutWord::Stop: return "stop";
    case OptOutWord::Start: return "start";
    case OptOutWord::None: break;
    }
    return "none";
}

TEST(OptOutWordsTest, OnlyAReplyThatIsTheWordItselfCounts) {
    const QStringList extra{QStringLiteral("ARRET"), QStringLiteral("baja")};
    const WordCase cases[] = {
        {"STOP", OptOutWord::Stop},
        {"stop", OptOutWord::Stop},
        {"  Stop.  ", OptOutWord::Stop},
        {"STOP!!!", OptOutWord::Stop},
        {"stop ?", OptOutWord::Stop},
        {"\xe2\x80\x8bSTOP\xe2\x80\x8b", OptOutWord::Stop}, // zero-width spaces a keyboard left
        {"\xef\xbc\xb3\xef\xbc\xb4\xef\xbc\xaf\xef\xbc\xb0", OptOutWord::Stop}, // full-width letters
        {"StopAll", OptOutWord::Stop},
        {"Unsubscribe.", OptOutWord::Stop},
        {"cancel", OptOutWord::Stop},
        {"END", OptOutWord::Stop},
        {"quit!", OptOutWord::Stop},
        {"Arr\xc3\xaat", OptOutWord::Stop}, // the operator's word, accent folded
        {"ARR\xc3\x8aT !", OptOutWord::Stop},
        {"Baja", OptOutWord::Stop},
        {"START", OptOutWord::Start},
        {"unstop.", OptOutWord::Start},
        {"don't stop", OptOutWord::None},
        {"stop it please", OptOutWord::None},
        {"STOP STOP", OptOutWord::None},
        {"STOP ALL", OptOutWord::None},
        {"S T O P", OptOutWord::None},
        {"\"STOP", OptOutWord::None}, // only trailing punctuation goes
        {"STOPP", OptOutWord::None},
        {"stopped", OptOutWord::None},
        {"STOP \xf0\x9f\x99\x8f", OptOutWord::None}, // an emoji is no punctuation
        {"", OptOutWord::None},
        {"...", OptOutWord::None},
        {"Yes", OptOutWord::None},
        {"arreter", OptOutWord::None},
    };
    for (const WordCase& c : cases)
        EXPECT_STREQ(wordName(optOutWordOf(QString::fromUtf8(c.reply), extra)), wordName(c.expected))
            << "reply: " << c.reply;
}

TEST(OptOutWordsTest, TheOperatorsWordsCountOnlyWhenGivenAndNeverWhenBlank) {
    EXPECT_EQ(optOutWordOf(QStringLiteral("baja")), OptOutWord::None);
    EXPECT_EQ(optOutWordOf(QStringLiteral("baja"), {QStringLiteral(" BAJA. ")}), OptOutWord::Stop);
    // A blank or punctuation-only word of the operator's never makes an empty reply a stop.
    EXPECT_EQ(optOutWordOf(QStringLiteral("!"), {QString(), QStringLiteral("!!")}), OptOutWord::None);
    EXPECT_EQ(optOutWordOf(QStringLiteral(" "), {QStringLiteral(" ")}), OptOutWord::None);
}

} // namespace
