// Generated hostile texts through the command builders: the phone's shell must get exactly
// one word per argument, the text unchanged, and never an operator it would act on.
#include "android/AdbRunner.h"
#include "android/CompanionStart.h"
#include "sim/PhoneShell.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

QString hostileText(QRandomGenerator& random) {
    static const QStringList pieces = {
        "&", "|",          "<",      ">",      ";", "$5", "$HOME", "${PATH}", "'",    "\"", "\\",
        "`", "$(",         ")",      "(",      " ", "\t", "\n",    "\r\n",    "#",    "*",  "~",
        "!", "\U0001F600", "\u00e9", "\u0416", "a", "Z",  "0",     "'\\''",   "\\\"", "^&", "%"};
    QString text;
    const int length = int(random.bounded(1, 24));
    for (int i = 0; i < length; ++i)
        text += pieces.at(int(random.bounded(qsizetype(pieces.size()))));
    return text;
}

TEST(CommandBuilderSecurity, ThousandHostileTextsReachThePhoneExactlyAndInjectNothing) {
    QRandomGenerator random(20261123);
    const QHash<QString, QString> phoneEnvironment = {{"EXTERNAL_STORAGE", "/sdcard"}, {"HOME", "/"}};
    for (int i = 0; i < 1000; ++i) {
        const QString text = hostileText(random);
        const QString& expected = text; // as typed, line breaks and white space included
        for (const bool test : {false, true}) {
            const QStringList arguments = sendMessageArguments("+447700900001", text, test, 1);
            ASSERT_EQ(arguments.first(), "shell");
            // adb joins the words after "shell" with spaces; the phone's sh splits them again.
            const sim::ShellParse parsed = sim::parseShellLine(arguments.mid(1).join(' '), phoneEnvironment);
            ASSERT_TRUE(parsed.injections.isEmpty()) << text.toStdString();
            ASSERT_FALSE(parsed.unterminated) << text.toStdString();
            const qsizetype msg = parsed.words.indexOf("MSG");
            if (expected.isEmpty() && !test) {
                EXPECT_EQ(msg, -1);
                continue;
            }
            ASSERT_GE(msg, 0) << text.toStdString();
            EXPECT_EQ(parsed.words.value(msg + 1), expected) << text.toStdString();
            EXPECT_EQ(parsed.words.last(), "com.OSTRELPROBULKSMS/.SMS");
        }
        // Paths on the phone go through the same quoting.
        const sim::ShellParse removal =
            sim::parseShellLine("rm " + phoneShellWord("/sdcard/" + text), phoneEnvironment);
        ASSERT_TRUE(removal.injections.isEmpty()) << text.toStdString();
        EXPECT_EQ(removal.words.value(1), "/sdcard/" + text);
    }
}

} // namespace
