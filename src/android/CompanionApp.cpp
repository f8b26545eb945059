#include "CompanionApp.h"

#include "AdbRunner.h"
#include "AndroidDevices.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Operator.h"
#include "core/TroubleshootingLog.h"

#include <QFileInfo>

using namespace std::chrono_literals;

namespace {

using Stop = std::function<bool()>;

QString shellRun(const QStringList& words, const Stop& stop) {
    return ExecuteExternalFile(QStringList{QStringLiteral("shell")} + words, stop);
}

QString apkPath(const DataFolder& folder) {
    return folder.Resource_Path() + QLatin1Char('/') + kCompanionApk;
}

void mark(ConnectionStatusLines* status, ConnectionStatusLines::Line line, const QString& text, QChar m) {
    if (status != nullptr)
        status->markLine(line, text, m);
}

// Waits one prescribed second; false (with "Stopped" on the connection line) on a stop.
bool restUnlessStopped(ConnectionStatusLines* status, const Stop& stop) {
    const auto stopped = [&stop] { return stop && stop(); };
    if (!Clock::sleepUnless(1s, stopped) || stopped()) {
        mark(status, ConnectionStatusLines::Connection, QStringLiteral("Stopped"), QLatin1Char('A'));
        return false;
    }
    return true;
}

// One install attempt with its log line and the two settings; returns the install result.
QString installOnce(const DataFolder& folder, const Stop& stop) {
    const QString manufacturer =
        Check_Command_Response_Is_Valid(
            shellRun({QStringLiteral("getprop"), QStringLiteral("ro.product.manufacturer")}, stop))
            .trimmed();
    const QString model = Check_Command_Response_Is_Valid(
                              shellRun({QStringLiteral("getprop"), QStringLiteral("ro.product.model")}, stop))
                              .trimmed();
    const QString time = Get_Date_Time_Val();
    QString result =
        ExecuteExternalFile(
            {QStringLiteral("install"), QStringLiteral("-t"), QStringLiteral("-r"), apkPath(folder)}, stop) +
        QLatin1Char('\n');
    Write_In_Troubleshoot_File(
        QStringLiteral("Install OstrelBulkSMS.apk in %1-%2 at %3\n").arg(manufacturer, model, time) + result);
    for (const auto& [key, value] : {std::pair{"sms_outgoing_check_max_count", "1000"},
                                     std::pair{"sms_outgoing_check_interval", "900000"}}) {
        const QStringList command = {QStringLiteral("settings"), QStringLiteral("put"),
                                     QStringLiteral("global"), QLatin1String(key), QLatin1String(value)};
        const QString output = shellRun(command, stop);
        Write_In_Troubleshoot_File(QStringLiteral("shell ") + command.join(QLatin1Char(' ')) +
                                   QLatin1Char('\n') + output + QLatin1Char('\n'));
    }
    return result;
}

bool connectionFailed(Operator& op, ConnectionStatusLines* status, const QString& lastOutput) {
    mark(status, ConnectionStatusLines::Connection, QStringLiteral("Connection Failed"), QLatin1Char('T'));
    Write_In_Troubleshoot_File(QStringLiteral("Connection Failed\n") + lastOutput);
    op.Show_MessageBox(QStringLiteral(
        "Failed to copy OSTRELBULKSMS application in your mobile device.\n\nEither the storage is full or "
        "inaccessible.\n\nIf it is already exists, please first uninstall OSTRELBULKSMS application from "
        "your "
        "mobile device."));
    return false;
}

// An unauthorised phone: the operator is given time to allow this computer on the phone; the
// search tries again afterwards.
void awaitPermission(ConnectionStatusLines* status, const PhoneQuery& query) {
    const Stop& stop = query.stop;
    mark(status, ConnectionStatusLines::Searching, QStringLiteral("Android device found"), QLatin1Char('T'));
    if (!restUnlessStopped(status, stop))
        return;
    mark(status, ConnectionStatusLines::Permission, QStringLiteral("Waiting for user permissions"),
         QLatin1Char('A'));
    if (!restUnlessStopped(status, stop) || !restUnlessStopped(status, stop))
        return;
    mark(status, ConnectionStatusLines::Permission,
         QStringLiteral("Still waiting for user permissions, retrying"), QLatin1Char('A'));
    if (!restUnlessStopped(status, stop))
        return;
    const QString again = Get_Android_Device(query);
    if (!restUnlessStopped(status, stop))
        return;
    if (again.contains(QLatin1String("unauthorized"), Qt::CaseInsensitive))
        Write_In_Troubleshoot_File(QStringLiteral("User permissions not found\n") + again);
}

// Installs the companion app, uninstalling an older copy once when the install fails.
bool installCompanion(Operator& op, const DataFolder& folder, ConnectionStatusLines* status,
                      const Stop& stop) {
    // The app is the operator's to supply; without it the install's own error would read as
    // a success below.
    if (!QFileInfo(apkPath(folder)).isFile()) {
        mark(status, ConnectionStatusLines::Connection, QStringLiteral("Connection Failed"),
             QLatin1Char('T'));
        Write_In_Troubleshoot_File(QStringLiteral("Connection Failed\n") + missingApkMessage(folder) +
                                   QLatin1Char('\n'));
        op.Show_MessageBox(missingApkMessage(folder));
        return false;
    }

    QString result = installOnce(folder, stop);
    bool retried = false;
    for (;;) {
        if (result.trimmed().isEmpty())
            return true;
        if (result.contains(QLatin1String("error"))) {
            if (result.contains(QLatin1String("more than one device")))
                op.Show_MessageBox(kMoreThanOnePhoneMessage);
            return false;
        }
        if (!result.contains(kCompanionApk) && !result.contains(QLatin1String("OSTRELPROBULKSMS")))
            return true;
        if (result.contains(QLatin1String("Success")) || !result.contains(QLatin1String("Failure")))
            return true;
        if (retried)
            return connectionFailed(op, status, result);
        const QString uninstall =
            shellRun({QStringLiteral("pm"), QStringLiteral("uninstall"), kCompanionPackage}, stop);
        Write_In_Troubleshoot_File(QStringLiteral("Uninstall OstrelBulkSMS.apk\n") + uninstall);
        retried = true;
        if (!uninstall.contains(QLatin1String("Success")))
            return connectionFailed(op, status, uninstall);
        result = installOnce(folder, stop);
    }
}

} // namespace

QString missingApkMessage(const DataFolder& folder) {
    return QStringLiteral(
               "The companion app \"%1\" is not in the resource folder:\n%2\n\nPut the app's package "
               "file there and search again.")
        .arg(kCompanionApk, folder.Resource_Path());
}

bool CheckConnection(QString& errorTag, bool install, Operator& op, const DataFolder& folder,
                     const PhoneQuery& query, ConnectionStatusLines* status) {
    errorTag.clear();
    Write_In_Troubleshoot_File(QStringLiteral("start check connection of android device"));
    const QString list = Get_Android_Device_List(query);
    const QString device = androidDeviceFromList(list);
    if (device.isEmpty()) {
        Clock::sleep(1s);
        if (status != nullptr)
            status->phoneFound(QString());
        return false;
    }
    if (Check_More_Than_One_Android_Device(list)) {
        errorTag = QStringLiteral("MORE");
        if (install)
            mark(status, ConnectionStatusLines::Searching, QStringLiteral("Android device found"),
                 QLatin1Char('T'));
        if (!query.severalAreAChoice)
            op.Show_MessageBox(kMoreThanOnePhoneMessage);
        return false;
    }
    if (status != nullptr)
        status->phoneFound(device);
    if (device.contains(QLatin1String("offline"), Qt::CaseInsensitive)) {
        if (install)
            mark(status, ConnectionStatusLines::Searching, QStringLiteral("Android device found"),
                 QLatin1Char('T'));
        op.Show_MessageBox(QStringLiteral("Device is offline. please reconnect your device."));
        return false;
    }
    if (device.contains(QLatin1String("unauthorized"), Qt::CaseInsensitive)) {
        if (install)
            awaitPermission(status, query);
        return false;
    }
    return !install || installCompanion(op, folder, status, query.stop);
}

QString Send_Permission_Command_To_Phone(const Stop& stop) {
    const int api = Check_Command_Response_Is_Valid(
                        shellRun({QStringLiteral("getprop"), QStringLiteral("ro.build.version.sdk")}, stop))
                        .trimmed()
                        .toInt();
    QString last;
    if (api > 22) {
        last = shellRun({QStringLiteral("pm"), QStringLiteral("reset-permissions"), kCompanionPackage}, stop);
        for (const char* permission : {"RECEIVE_SMS", "SEND_SMS", "READ_EXTERNAL_STORAGE",
                                       "WRITE_EXTERNAL_STORAGE", "READ_PHONE_STATE"})
            last = shellRun({QStringLiteral("pm"), QStringLiteral("grant"), kCompanionPackage,
                             QStringLiteral("android.permission.") + QLatin1String(permission)},
                            stop);
        if (api > 29)
            last = shellRun({QStringLiteral("appops"), QStringLiteral("set"), QStringLiteral("--uid"),
                             kCompanionPackage, QStringLiteral("MANAGE_EXTERNAL_STORAGE"),
                             QStringLiteral("allow")},
                            stop);
    }
    last = shellRun({QStringLiteral("am"), QStringLiteral("clear-debug-app")}, stop);
    last = shellRun({QStringLiteral("am"), QStringLiteral("start"), QStringLiteral("-a"),
                     QStringLiteral("android.intent.category.MAIN"), QStringLiteral("-e"),
                     QStringLiteral("SENDPARAM"), QStringLiteral("-n"), kCompanionActivity},
                    stop);
    return last;
}
