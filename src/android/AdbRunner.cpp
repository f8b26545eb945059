#include "AdbRunner.h"

#include "core/ChildProcess.h"
#include "core/DataFolder.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/WallClock.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <QStandardPaths>

namespace {

QString& threadTarget() {
    thread_local QString serial;
    return serial;
}

} // namespace

AdbTarget::AdbTarget(const QString& serial) : m_before(threadTarget()) {
    if (!serial.isEmpty())
        threadTarget() = serial;
}

AdbTarget::~AdbTarget() { threadTarget() = m_before; }

QString AdbTarget::current() { return threadTarget(); }

QString adbProgram() {
    QString configured = qEnvironmentVariable("BULKSMS_ADB");
    if (!configured.isEmpty())
        return configured;
    const QFileInfo bundled(locateResourcePath() + QStringLiteral("/adb"));
    if (bundled.isFile() && bundled.isExecutable())
        return bundled.absoluteFilePath();
    const QString onPath = QStandardPaths::findExecutable(QStringLiteral("adb"));
    return onPath.isEmpty() ? QStringLiteral("adb") : onPath;
}

QString ExecuteExternalFile(const QStringList& arguments, const std::function<bool()>& stop) {
    const std::function<bool()> stopAsked = stop ? stop : [] { return false; };
    return Guard::run(
        "ExecuteExternalFile",
        [&] {
            const QString program = adbProgram();
            const QString serial = AdbTarget::current();
            const QStringList words =
                serial.isEmpty() ? arguments : QStringList{QStringLiteral("-s"), serial} + arguments;
            const ChildResult run = runChild(program, words, stopAsked);
            if (!run.started) {
                Show_NSLog_Message(QStringLiteral("cannot start %1: %2").arg(program, run.error));
                return QString();
            }
            QString text = QString::fromUtf8(run.output);
            Show_NSLog_Message(QStringLiteral("adb %1\n%2").arg(words.join(QLatin1Char(' ')), text));
            return text;
        },
        QString());
}

QString Check_Command_Response_Is_Valid(const QString& output) {
    if (output.contains(QLatin1String("error"), Qt::CaseInsensitive) ||
        output.contains(QLatin1String("No device"), Qt::CaseInsensitive))
        return {};
    return output;
}

QString Android_Device_Details(const QString& line) {
    const qsizetype equals = line.indexOf(QLatin1Char('='));
    if (equals < 0)
        return {};
    const QString value = line.mid(equals + 1).trimmed();
    return value.contains(QLatin1String("error:"), Qt::CaseInsensitive) ? QString() : value;
}

bool Find_Error_In_Stat_Activity(const QString& output) {
    for (const char* sign : {"error:", "-n: permission denied", "cannot", ": permission denied", "-n:"})
        if (output.contains(QLatin1String(sign)))
            return true;
    return false;
}

bool outputShowsLostDevice(const QString& output) {
    // Older clients say "error: device not found"; this one names the phone or finds none.
    static const QRegularExpression lost(
        QStringLiteral("error:.*(device not found|device '[^']*' not found|no devices/emulators found)"),
        QRegularExpression::CaseInsensitiveOption);
    return output.contains(lost) || output.contains(QLatin1String("offline"), Qt::CaseInsensitive);
}

QString Get_Date_Time_Val() {
    return QLocale::c().toString(Clock::now().toLocalTime(), QStringLiteral("dd-MMM-yyyy  hh:mm:ss AP"));
}

QString phoneShellWord(const QString& text) {
    // Anchored on the whole text: "$" alone would also match before a final line feed.
    static const QRegularExpression plain(
        QRegularExpression::anchoredPattern(QStringLiteral("[A-Za-z0-9_./+=:,@%-]+")));
    if (plain.match(text).hasMatch())
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}
