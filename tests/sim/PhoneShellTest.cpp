// The virtual phone's sh word parser: what the phone's shell would make of a line, and which
// operators would have run something.
#include "sim/PhoneShell.h"

#include <gtest/gtest.h>

namespace {

using sim::parseShellLine;

TEST(PhoneShell, SplitsWordsAsShDoes) {
    const QHash<QString, QString> env = {{"EXTERNAL_STORAGE", "/storage/emulated/0"}, {"TWO", "a  b"}};
    struct Case {
        QString line;
        QStringList words;
    };
    const QList<Case> cases = {
        {"echo $EXTERNAL_STORAGE", {"echo", "/storage/emulated/0"}},
        {"echo \\$EXTERNAL_STORAGE", {"echo", "$EXTERNAL_STORAGE"}},
        {"echo \"${EXTERNAL_STORAGE}/x\"", {"echo", "/storage/emulated/0/x"}},
        {"echo '$EXTERNAL_STORAGE'", {"echo", "$EXTERNAL_STORAGE"}},
        {"echo \"Price $5\"", {"echo", "Price "}},
        {"echo $TWO", {"echo", "a", "b"}},
        {"echo \"$TWO\"", {"echo", "a  b"}},
        {"echo $UNSET x", {"echo", "x"}},
        {"echo 'it'\\''s'", {"echo", "it's"}},
        {"echo \"a \\\"q\\\" \\\\ \\x\"", {"echo", "a \"q\" \\ \\x"}},
        {"echo a\\ b  c", {"echo", "a b", "c"}},
        {"echo '' x", {"echo", "", "x"}},
        {"echo a # comment", {"echo", "a"}},
        {"echo a#b", {"echo", "a#b"}},
        {"echo $", {"echo", "$"}},
    };
    for (const Case& c : cases) {
        const sim::ShellParse parsed = parseShellLine(c.line, env);
        EXPECT_EQ(parsed.words, c.words) << c.line.toStdString();
        EXPECT_TRUE(parsed.injections.isEmpty()) << c.line.toStdString();
    }
}

TEST(PhoneShell, ReportsEveryOperatorThatReachesTheShellUnquoted) {
    struct Case {
        QString line;
        QStringList injections;
        QStringList words;
    };
    const QList<Case> cases = {
        {"am start -e MSG Tom ^& Jerry", {"&"}, {"am", "start", "-e", "MSG", "Tom", "^"}},
        {"echo a; rm -rf /", {";"}, {"echo", "a"}},
        {"echo a | cat", {"|"}, {"echo", "a"}},
        {"echo a > /sdcard/x", {">"}, {"echo", "a"}},
        {"echo `id`", {"`", "`"}, {"echo"}},
        {"echo \"$(id)\"", {"$("}, {"echo", "id)"}},
        {"echo (2)", {"(", ")"}, {"echo"}},
        {"echo 'a; b | c & d'", {}, {"echo", "a; b | c & d"}},
        {"rm '/data/local/tmp/x.apk' </dev/null", {}, {"rm", "/data/local/tmp/x.apk"}},
        {"rm x </etc/passwd", {"<"}, {"rm", "x"}},
    };
    for (const Case& c : cases) {
        const sim::ShellParse parsed = parseShellLine(c.line, {});
        EXPECT_EQ(parsed.injections, c.injections) << c.line.toStdString();
        EXPECT_EQ(parsed.words, c.words) << c.line.toStdString();
    }
    EXPECT_TRUE(parseShellLine("echo 'open", {}).unterminated);
    EXPECT_TRUE(parseShellLine("echo \"open", {}).unterminated);
}

TEST(PhoneShell, QuotedWordsComeBackUnchanged) {
    for (const QString& word : {QString("it's"), QString("$5 & `x` \"y\" \\z"), QString(""), QString("'''"),
                                QString("\U0001F600\n")}) {
        const sim::ShellParse parsed = parseShellLine("echo " + sim::shellQuote(word), {});
        EXPECT_EQ(parsed.words, (QStringList{"echo", word}));
        EXPECT_TRUE(parsed.injections.isEmpty());
    }
}

} // namespace
