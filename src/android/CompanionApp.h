#pragma once
// The connection check every Android operation runs first, with the companion app's
// installation (one uninstall-and-retry), the two rate-limit settings and the permission
// grants by API level.
#include "AndroidDevices.h"

#include <QChar>
#include <QString>

#include <functional>

class DataFolder;
class Operator;

inline const QString kCompanionPackage = QStringLiteral("com.OSTRELPROBULKSMS");
inline const QString kCompanionActivity = QStringLiteral("com.OSTRELPROBULKSMS/.SMS");
inline const QString kCompanionApk = QStringLiteral("OstrelBulkSMS.apk");

// The device search window's three status lines, as the check marks them.
class ConnectionStatusLines {
public:
    enum Line { Searching = 0, Permission = 1, Connection = 2 };
    virtual ~ConnectionStatusLines() = default;
    // mark: 'A' in progress, 'T' done, 'C' failed.
    virtual void markLine(Line line, const QString& text, QChar mark) = 0;
    // The phone's line as the check read it ("Android Device ..."; "" when none was found).
    virtual void phoneFound(const QString& /*deviceLine*/) {}
};

// True when the phone is ready. errorTag becomes "MORE" when several phones are attached.
// With install the app is installed and status marks the search window's lines; without it
// nothing is installed and problems are told by message box only. query: the phones looked at
// and the stop of the search (its rests end early on it).
bool CheckConnection(QString& errorTag, bool install, Operator& op, const DataFolder& folder,
                     const PhoneQuery& query = {}, ConnectionStatusLines* status = nullptr);

// Grants the app its permissions for the phone's API level and starts it once with SENDPARAM.
// Returns the output of the last command.
QString Send_Permission_Command_To_Phone(const std::function<bool()>& stop = {});

// The message shown when the app's package is not in the resource folder.
QString missingApkMessage(const DataFolder& folder);
