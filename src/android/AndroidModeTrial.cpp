#include "AndroidModeTrial.h"

#include "AdbRunner.h"
#include "CompanionApp.h"
#include "CompanionStart.h"
#include "PhoneStorage.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

#include <functional>

using namespace std::chrono_literals;

namespace AndroidModeTrial {
namespace {
const AdbStop kUninterrupted = [] { return false; };
} // namespace

QString caseText(const QString& description, const QString& device) {
    return description + QStringLiteral(" is working for Device Model: ") + device;
}

QString checkedTestNumber(const QString& typed, QString& problem) {
    QString number = Trim_Str(typed);
    QString checked = number;
    if (checked.startsWith(QLatin1Char('+')))
        checked = QStringLiteral("00") + checked.mid(1);
    if (checked.contains(QLatin1Char('+')) || Check_Ph_Number(checked, false)) {
        problem = kInvalidTestNumber;
        return {};
    }
    problem.clear();
    return number;
}

bool Outcome::worked() const { return copied && started && !Find_Error_In_Stat_Activity(output); }

namespace {
// Once the file is on the phone, the app is started (start gives adb's output); then the
// file goes from both sides, whether or not the copy worked.
void startThenClean(Outcome& outcome, const QString& localFile, const std::function<QString()>& start) {
    if (outcome.copied) {
        outcome.output = start();
        outcome.started = true;
        Clock::sleep(1s);
    }
    Delete_File(localFile);
    Send_DEL_File_Command_To_Phone(kUninterrupted);
    Clock::sleep(1s);
}
} // namespace

Outcome singleShot(const DataFolder& folder, const QString& number, const QString& text) {
    Outcome outcome;
    const QString path = folder.Created_Resource_Path() + QLatin1Char('/') + kListFileName;
    // An empty list first: whether the phone's storage takes the file at all. A file that
    // could not be written here is never copied: the phone would get an old one.
    outcome.copied = writeFileAtomically(path, QByteArray(), &outcome.fileError) &&
                     Save_File_To_Phone_Storage(folder, kListFileName, true, kUninterrupted);
    if (outcome.copied)
        outcome.copied = writeFileAtomically(path, listFileLine(number, text), &outcome.fileError) &&
                         Save_File_To_Phone_Storage(folder, kListFileName, true, kUninterrupted);
    startThenClean(outcome, path, [] {
        return ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("am"), QStringLiteral("start"),
                                    QStringLiteral("-a"), QStringLiteral("android.intent.category.MAIN"),
                                    QStringLiteral("-n"), kCompanionActivity},
                                   kUninterrupted);
    });
    return outcome;
}

Outcome standard(const DataFolder& folder, const QString& number, const QString& text) {
    Outcome outcome;
    const QString path = folder.Created_Resource_Path() + QLatin1Char('/') + kMessageFileName;
    outcome.copied = writeFileAtomically(path, text.toUtf8(), &outcome.fileError) &&
                     Save_File_To_Phone_Storage(folder, kMessageFileName, true, kUninterrupted);
    startThenClean(outcome, path, [&number] { return Send_AN_MSG_Command(number, QString(), false); });
    return outcome;
}

Outcome classic(const QString& number, const QString& text) {
    Outcome outcome;
    outcome.output = Send_AN_MSG_Command(number, text, false);
    outcome.started = true;
    Clock::sleep(1s);
    return outcome;
}

} // namespace AndroidModeTrial
