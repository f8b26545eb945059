#pragma once
// One virtual Android phone behind the virtual adb server: its files, settings and packages,
// its shell (words parsed as sh would, never executed), and the companion app, which records
// the intents it receives and every message it would send. What the phone saw goes to a
// PhoneLog as JSON objects.
#include "IncomingFeed.h"
#include "ModemConfig.h"
#include "PhoneConfig.h"
#include "PhoneLog.h"
#include "PhoneMessages.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <memory>
#include <mutex>

namespace sim {

class VirtualPhone {
public:
    VirtualPhone(PhoneConfig config, PhoneLog& log);

    QString serial() const { return m_config.serial; }
    // "device", "unauthorized" or "offline"; an unplugged phone is not present at all.
    QString state() const;
    bool present() const;
    // The device list was read: an unauthorized phone may be authorised after so many lists.
    void listed();
    QString property(const QString& key) const;

    // The output of "shell:" with this command line.
    QByteArray shell(const QString& line);

    // Files (the sync service).
    bool fileExists(const QString& path, qint64& size) const;
    // False with the reason the phone gives when the file cannot be written.
    bool writeFile(const QString& path, const QByteArray& bytes, QString& reason);
    QByteArray file(const QString& path) const;

    // From now on the shell may (not) read the phone's messages, as READ_SMS is taken or given.
    void denySmsQuery(bool denied = true);

    // A message someone sent to the phone: into its inbox, dated by "at" or the clock (ms). One
    // for another phone ("to" naming another serial) is ignored.
    void receive(const IncomingMessage& message);

    bool appInstalled() const;
    QStringList grants() const;
    QString setting(const QString& key) const;

private:
    QString run(const QStringList& words);
    QString packageManager(const QStringList& words);
    QString activityManager(const QStringList& words);
    QString startCompanionApp(const QHash<QString, QString>& extras);
    // The way the app is started, as the faults name it ("" for the permission start).
    static QString sendingPath(const QHash<QString, QString>& extras);
    void sendMessage(const QString& number, const QString& text, const QString& mode);
    QString appStorageRoot() const;
    void receiveLocked(const IncomingMessage& message);
    // New lines of the followed file, taken before each shell command: the inbox is as the file is.
    void readIncoming();

    mutable std::mutex m_mutex;
    PhoneConfig m_config;
    PhoneLog& m_log;
    PhoneMessages m_sms; // what the app sent, as the phone's SMS provider keeps it
    QHash<QString, QString> m_environment;
    QHash<QString, QByteArray> m_files;
    QHash<QString, QString> m_settings;
    QSet<QString> m_grants;
    bool m_installed = false;
    int m_installAttempts = 0;
    int m_messages = 0;
    int m_busyStarts = 0; // starts turned away so far
    int m_lists = 0;
    bool m_unplugged = false;
    std::unique_ptr<IncomingFeed> m_incoming;
};

inline const QString kCompanionPackage = QStringLiteral("com.OSTRELPROBULKSMS");
// The list file's field separator and line-break placeholder.
inline const QString kListSeparator = QStringLiteral(",~$^'");
inline const QString kLineBreakPlaceholder = QStringLiteral("S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/");

} // namespace sim
