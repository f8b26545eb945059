#include "CompanionStart.h"

#include "AdbRunner.h"
#include "CompanionApp.h"
#include "PhoneStorage.h"
#include "core/TroubleshootingLog.h"

namespace {

const AdbStop kUninterrupted = [] { return false; }; // a start in hand is finished

} // namespace

bool appDidNotStart(const QString& output) {
    return output.contains(QLatin1String("Error: Activity")) ||
           output.contains(QLatin1String("unable to resolve Intent"));
}

QStringList sendMessageArguments(const QString& number, const QString& message, bool test, int attempt) {
    Q_UNUSED(attempt); // both attempts carry the exact text; the second one retries a start that failed
    // The text goes as it was typed, line breaks, tabs and white space at its ends included: one
    // word for the phone's sh, quoted, so that nothing in it is ever read as the shell's.
    const QString& text = message;
    QStringList arguments = {QStringLiteral("shell"),
                             QStringLiteral("am"),
                             QStringLiteral("start"),
                             QStringLiteral("-a"),
                             QStringLiteral("android.intent.category.MAIN"),
                             QStringLiteral("-e"),
                             QStringLiteral("NUM"),
                             phoneShellWord(number)};
    // The text is quoted for the phone's sh, so that it arrives exactly as composed.
    if (test)
        arguments << QStringLiteral("-e") << QStringLiteral("MSG") << phoneShellWord(text)
                  << QStringLiteral("-e") << QStringLiteral("TESTMSG") << phoneShellWord(number);
    else if (!text.isEmpty())
        arguments << QStringLiteral("--es") << QStringLiteral("MSG") << phoneShellWord(text);
    arguments << QStringLiteral("-n") << kCompanionActivity;
    return arguments;
}

QString Send_AN_MSG_Command(const QString& number, const QString& message, bool test) {
    QString output = ExecuteExternalFile(sendMessageArguments(number, message, test, 1), kUninterrupted);
    if (test || message.isEmpty() || !Find_Error_In_Stat_Activity(output))
        return output;
    Write_In_Troubleshoot_File(QStringLiteral("again try the one by one mode with command line params\n"));
    return ExecuteExternalFile(sendMessageArguments(number, message, test, 2), kUninterrupted);
}
