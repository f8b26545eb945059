#pragma once
// What a virtual phone is: its serial and state, the properties getprop gives, its storage
// root, how installing the companion app goes, and the faults it can be told to show.
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace sim {

struct PhoneConfig {
    enum class Install {
        Success,    // every install succeeds
        FailOnce,   // the first install fails; after an uninstall the next one succeeds
        FailAlways, // every install fails (the uninstall succeeds)
    };

    QString serial = QStringLiteral("VPHONE0001");
    QString state = QStringLiteral("device"); // "device", "unauthorized", "offline"
    QHash<QString, QString> properties;       // getprop
    QString externalStorage = QStringLiteral("/sdcard");
    Install install = Install::Success;
    bool appInstalled = false; // the companion app is already on the phone
    bool pushFails = false;    // every copy to the phone fails
    // Sending paths ("single-shot", "standard", "classic", "test") whose start of the app the
    // activity manager answers with an error: nothing is sent that way.
    QStringList startErrors;
    // The first this many starts of a message (one by one) are turned away while the phone is
    // busy ("cannot start now"); the app starts again afterwards.
    int busyStarts = 0;
    int unplugAfter = 0;    // gone after this many messages (0: never)
    int authorizeAfter = 0; // an unauthorized phone becomes authorised after this many device lists
    // What the phone's SMS provider keeps of a message the app sent: "failed" for these numbers,
    // "queued" for these, "sent" for the others; denied: a shell may not read it (no READ_SMS).
    QStringList sendFails, queued;
    bool smsQueryDenied = false;
    // A file of JSON lines (IncomingFeed): messages people send to the phone, taken into its
    // inbox as the file grows.
    QString incomingPath;

    // A phone like a mid-range one on Android 11 (API 30).
    static PhoneConfig typical();
};

// Phones from a JSON file: {"phones": [{"serial": ..., "state": ..., "properties": {...},
// "external_storage": ..., "install": "success"|"fail-once"|"fail-always", "app_installed": bool,
// "push_fails": bool, "start_errors": [path, ...], "busy_starts": N, "unplug_after": N, "authorize_after": N,
// "send_fails": [number, ...], "queued": [number, ...], "sms_query_denied": bool, "incoming": path,
// "model": ..., "manufacturer": ..., "release": ..., "api": N}]}. False with a reason when the file cannot be
// used.
bool readPhoneConfigs(const QString& path, QList<PhoneConfig>& phones, QString& reason);

// The shorthands "model", "manufacturer", "release" and "api" set their properties.
void setPhoneShorthand(PhoneConfig& phone, const QString& key, const QString& value);

bool parseInstallOutcome(const QString& text, PhoneConfig::Install& install);

} // namespace sim
