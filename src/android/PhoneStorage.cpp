#include "PhoneStorage.h"

#include "AdbRunner.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/TroubleshootingLog.h"

using namespace std::chrono_literals;

namespace {

QString joined(const QString& folder, const QString& name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

// The second place a legacy root's files go to ("" for none).
QString secondRoot(const QString& target) {
    if (target.contains(QLatin1String("/storage/emulated/legacy"), Qt::CaseInsensitive))
        return QStringLiteral("/storage/emulated/0");
    if (target.contains(QLatin1String("/mnt/sdcard"), Qt::CaseInsensitive))
        return QStringLiteral("/sdcard");
    return {};
}

QString removeOnPhone(const QString& path, const AdbStop& stop) {
    return ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("rm"), phoneShellWord(path)}, stop);
}

} // namespace

QString phoneStorageRoot(const AdbStop& stop) {
    QString root = ExecuteExternalFile(
        {QStringLiteral("shell"), QStringLiteral("echo"), QStringLiteral("$EXTERNAL_STORAGE")}, stop);
    root.remove(QLatin1Char('\r'));
    root.remove(QLatin1Char('\n'));
    return root.trimmed();
}

bool Save_File_To_Phone_Storage(const DataFolder& folder, const QString& fileName, bool writeToLog,
                                const AdbStop& stop) {
    return copyToPhoneStorage(joined(folder.Created_Resource_Path(), fileName), fileName, writeToLog, stop);
}

bool copyToPhoneStorage(const QString& source, const QString& fileName, bool writeToLog,
                        const AdbStop& stop) {
    const QString target = joined(phoneStorageRoot(stop), fileName);
    const QString output = ExecuteExternalFile({QStringLiteral("push"), source, target}, stop);
    QString log = target + QLatin1Char('\n') + output + QLatin1Char('\n');
    const QString second = secondRoot(target);
    if (!second.isEmpty()) {
        Clock::sleep(1s);
        const QString secondTarget = joined(second, fileName);
        log += secondTarget + QLatin1Char('\n') +
               ExecuteExternalFile({QStringLiteral("push"), source, secondTarget}, stop) + QLatin1Char('\n');
    }
    Clock::sleep(1s);
    const bool failed = output.contains(QLatin1String("failed to copy"), Qt::CaseInsensitive);
    if (failed)
        log += QStringLiteral("Failed to access storage");
    if (writeToLog)
        Write_In_Troubleshoot_File(log);
    return !failed;
}

QString Send_DEL_File_Command_To_ADB(const QString& fileName, const AdbStop& stop) {
    const QString target = joined(phoneStorageRoot(stop), fileName);
    QString output = removeOnPhone(target, stop);
    const QString second = secondRoot(target);
    if (!second.isEmpty())
        removeOnPhone(joined(second, fileName), stop);
    return output;
}

void Send_DEL_File_Command_To_Phone(const AdbStop& stop) {
    Send_DEL_File_Command_To_ADB(kListFileName, stop);
    Send_DEL_File_Command_To_ADB(kMessageFileName, stop);
}

QByteArray listFileLine(const QString& number, const QString& message) {
    QString text = message;
    text.replace(QStringLiteral("\r\n"), kListLineBreak);
    text.replace(QLatin1Char('\n'), kListLineBreak);
    return (number + kListFieldSeparator + text + QStringLiteral("\r\n")).toUtf8();
}
