#include "VirtualPhone.h"

#include "PhoneShell.h"

#include <QDateTime>
#include <QJsonObject>

namespace sim {

namespace {

const QString kApkTemp = QStringLiteral("/data/local/tmp/");

QString joinPath(const QString& folder, const QString& name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

} // namespace

VirtualPhone::VirtualPhone(PhoneConfig config, PhoneLog& log) : m_config(std::move(config)), m_log(log) {
    m_environment.insert(QStringLiteral("EXTERNAL_STORAGE"), m_config.externalStorage);
    m_environment.insert(QStringLiteral("PATH"),
                         QStringLiteral("/sbin:/system/sbin:/system/bin:/system/xbin"));
    m_environment.insert(QStringLiteral("HOME"), QStringLiteral("/"));
    m_installed = m_config.appInstalled;
    if (!m_config.incomingPath.isEmpty())
        m_incoming = std::make_unique<IncomingFeed>(m_config.incomingPath);
}

void VirtualPhone::receive(const IncomingMessage& message) {
    const std::lock_guard lock(m_mutex);
    receiveLocked(message);
}

void VirtualPhone::receiveLocked(const IncomingMessage& message) {
    if (!message.to.isEmpty() && message.to != m_config.serial)
        return;
    const qint64 date =
        message.at.isValid() ? message.at.toMSecsSinceEpoch() : QDateTime::currentMSecsSinceEpoch();
    m_sms.add(message.from, message.text, PhoneMessages::Inbox, date);
    m_log.append({{QStringLiteral("type"), QStringLiteral("received")},
                  {QStringLiteral("serial"), m_config.serial},
                  {QStringLiteral("from"), message.from},
                  {QStringLiteral("text"), message.text},
                  {QStringLiteral("date"), date}});
}

void VirtualPhone::readIncoming() {
    if (!m_incoming)
        return;
    const IncomingFeed::Batch batch = m_incoming->poll();
    for (const QString& problem : batch.problems)
        m_log.append({{QStringLiteral("type"), QStringLiteral("error")},
                      {QStringLiteral("serial"), m_config.serial},
                      {QStringLiteral("reason"), QStringLiteral("skipped %1").arg(problem)}});
    for (const IncomingMessage& message : batch.messages)
        receiveLocked(message);
}

QString VirtualPhone::state() const {
    const std::lock_guard lock(m_mutex);
    return m_config.state;
}

bool VirtualPhone::present() const {
    const std::lock_guard lock(m_mutex);
    return !m_unplugged;
}

void VirtualPhone::listed() {
    const std::lock_guard lock(m_mutex);
    ++m_lists;
    if (m_config.state == QLatin1String("unauthorized") && m_config.authorizeAfter > 0 &&
        m_lists >= m_config.authorizeAfter)
        m_config.state = QStringLiteral("device");
}

QString VirtualPhone::property(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    return m_config.properties.value(key);
}

bool VirtualPhone::appInstalled() const {
    const std::lock_guard lock(m_mutex);
    return m_installed;
}

QStringList VirtualPhone::grants() const {
    const std::lock_guard lock(m_mutex);
    QStringList list(m_grants.begin(), m_grants.end());
    list.sort();
    return list;
}

QString VirtualPhone::setting(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    return m_settings.value(key);
}

bool VirtualPhone::fileExists(const QString& path, qint64& size) const {
    const std::lock_guard lock(m_mutex);
    const auto it = m_files.constFind(path);
    size = it == m_files.cend() ? 0 : it->size();
    return it != m_files.cend();
}

bool VirtualPhone::writeFile(const QString& path, const QByteArray& bytes, QString& reason) {
    const std::lock_guard lock(m_mutex);
    if (m_config.pushFails && !path.startsWith(kApkTemp)) {
        reason = QStringLiteral("couldn't create file: Permission denied");
        return false;
    }
    m_files.insert(path, bytes);
    return true;
}

QByteArray VirtualPhone::file(const QString& path) const {
    const std::lock_guard lock(m_mutex);
    return m_files.value(path);
}

QByteArray VirtualPhone::shell(const QString& line) {
    const std::lock_guard lock(m_mutex);
    readIncoming();
    const ShellParse parsed = parseShellLine(line, m_environment);
    for (const QString& op : parsed.injections)
        m_log.append({{QStringLiteral("type"), QStringLiteral("injection")},
                      {QStringLiteral("serial"), m_config.serial},
                      {QStringLiteral("operator"), op},
                      {QStringLiteral("command"), line}});
    if (parsed.unterminated)
        return QByteArrayLiteral("/system/bin/sh: syntax error: unterminated quoted string\n");
    if (parsed.words.isEmpty())
        return {};
    return run(parsed.words).toUtf8();
}

QString VirtualPhone::run(const QStringList& words) {
    const QString& command = words.first();
    const QStringList args = words.mid(1);
    if (command == QLatin1String("echo"))
        return args.join(QLatin1Char(' ')) + QLatin1Char('\n');
    if (command == QLatin1String("getprop")) {
        if (args.isEmpty()) {
            QString all;
            for (auto it = m_config.properties.cbegin(); it != m_config.properties.cend(); ++it)
                all += QStringLiteral("[%1]: [%2]\n").arg(it.key(), it.value());
            return all;
        }
        return m_config.properties.value(args.first()) + QLatin1Char('\n');
    }
    if (command == QLatin1String("pm"))
        return packageManager(args);
    if (command == QLatin1String("am"))
        return activityManager(args);
    if (command == QLatin1String("content"))
        return m_sms.content(args, m_config.smsQueryDenied);
    if (command == QLatin1String("settings")) {
        if (args.size() >= 4 && args.at(0) == QLatin1String("put")) {
            m_settings.insert(args.at(2), args.at(3));
            return {};
        }
        if (args.size() >= 3 && args.at(0) == QLatin1String("get"))
            return m_settings.value(args.at(2), QStringLiteral("null")) + QLatin1Char('\n');
        return QStringLiteral("usage: settings [--user <USER_ID> | current] get namespace key\n");
    }
    if (command == QLatin1String("appops")) {
        if (args.size() >= 5 && args.at(0) == QLatin1String("set") && args.at(1) == QLatin1String("--uid"))
            m_grants.insert(QStringLiteral("appops:") + args.at(3) + QLatin1Char('=') + args.at(4));
        return {};
    }
    if (command == QLatin1String("rm")) {
        QString out;
        bool force = false;
        for (const QString& arg : args) {
            if (arg.startsWith(QLatin1Char('-'))) {
                force = force || arg.contains(QLatin1Char('f'));
                continue;
            }
            if (m_files.remove(arg) == 0 && !force)
                out += QStringLiteral("rm: %1: No such file or directory\n").arg(arg);
        }
        return out;
    }
    if (command == QLatin1String("mkdir"))
        return {};
    return QStringLiteral("/system/bin/sh: %1: not found\n").arg(command);
}

QString VirtualPhone::packageManager(const QStringList& args) {
    const QString sub = args.value(0);
    if (sub == QLatin1String("install")) {
        const QString apk = args.isEmpty() ? QString() : args.last();
        if (!m_files.contains(apk))
            return QStringLiteral("\tpkg: %1\nFailure [INSTALL_FAILED_INVALID_URI]\n").arg(apk);
        ++m_installAttempts;
        const bool fails = m_config.install == PhoneConfig::Install::FailAlways ||
                           (m_config.install == PhoneConfig::Install::FailOnce && m_installAttempts == 1);
        if (fails)
            return QStringLiteral("\tpkg: %1\nFailure [INSTALL_FAILED_UPDATE_INCOMPATIBLE: Package %2 "
                                  "signatures do not match the previously installed version; ignoring!]\n")
                .arg(apk, kCompanionPackage);
        m_installed = true;
        return QStringLiteral("\tpkg: %1\nSuccess\n").arg(apk);
    }
    if (sub == QLatin1String("uninstall")) {
        if (args.value(1) != kCompanionPackage)
            return QStringLiteral("Failure [DELETE_FAILED_INTERNAL_ERROR]\n");
        m_installed = false;
        m_grants.clear();
        return QStringLiteral("Success\n");
    }
    if (sub == QLatin1String("grant")) {
        if (!m_installed)
            return QStringLiteral("Exception occurred while executing:\njava.lang.IllegalArgumentException: "
                                  "Unknown package: %1\n")
                .arg(args.value(1));
        m_grants.insert(args.value(2));
        return {};
    }
    if (sub == QLatin1String("reset-permissions")) {
        m_grants.clear();
        return {};
    }
    if (sub == QLatin1String("list"))
        return m_installed ? QStringLiteral("package:%1\n").arg(kCompanionPackage) : QString();
    return QStringLiteral("Unknown command: %1\n").arg(sub);
}

QString VirtualPhone::activityManager(const QStringList& args) {
    const QString sub = args.value(0);
    if (sub == QLatin1String("clear-debug-app"))
        return {};
    if (sub != QLatin1String("start"))
        return QStringLiteral("Error: Unknown command: %1\n").arg(sub);
    QString action;
    QString component;
    QHash<QString, QString> extras;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& option = args.at(i);
        if (option == QLatin1String("-a") || option == QLatin1String("-c") || option == QLatin1String("-d") ||
            option == QLatin1String("-t") || option == QLatin1String("-f")) {
            if (option == QLatin1String("-a"))
                action = args.value(i + 1);
            ++i;
        } else if (option == QLatin1String("-n")) {
            component = args.value(++i);
        } else if (option == QLatin1String("-e") || option == QLatin1String("--es") ||
                   option == QLatin1String("--ei") || option == QLatin1String("--ez")) {
            if (i + 1 < args.size())
                extras.insert(args.at(i + 1), args.value(i + 2));
            i += 2;
        } else if (option.contains(QLatin1Char('/'))) {
            component = option; // "-e SENDPARAM -n pkg/.cls": am takes -n as the extra's value
        }
    }
    QString intent =
        QStringLiteral("Starting: Intent { act=%1 cmp=%2%3 }\n")
            .arg(action, component, extras.isEmpty() ? QString() : QStringLiteral(" (has extras)"));
    if (component != kCompanionPackage + QStringLiteral("/.SMS"))
        return intent + QStringLiteral("Error: Activity not started, unable to resolve Intent\n");
    if (!m_installed)
        return intent +
               QStringLiteral("Error: Activity class {%1/%1.SMS} does not exist.\n").arg(kCompanionPackage);
    const QString path = sendingPath(extras);
    if ((path == QLatin1String("standard") || path == QLatin1String("classic")) &&
        m_busyStarts < m_config.busyStarts) {
        ++m_busyStarts;
        return intent +
               QStringLiteral("Warning: Activity not started, cannot start %1 while the phone is busy\n")
                   .arg(component);
    }
    if (m_config.startErrors.contains(path))
        return intent + QStringLiteral("Error: Activity not started, cannot deliver the intent to %1\n")
                            .arg(component);
    return intent + startCompanionApp(extras);
}

QString VirtualPhone::sendingPath(const QHash<QString, QString>& extras) {
    if (extras.contains(QStringLiteral("TESTMSG")))
        return QStringLiteral("test");
    if (extras.contains(QStringLiteral("NUM")))
        return extras.contains(QStringLiteral("MSG")) ? QStringLiteral("classic")
                                                      : QStringLiteral("standard");
    return extras.contains(QStringLiteral("SENDPARAM")) ? QString() : QStringLiteral("single-shot");
}

QString VirtualPhone::appStorageRoot() const {
    // The app finds its files where the platform's storage API points, which on phones with
    // these legacy roots is the second place the files are copied to.
    QString root = m_config.externalStorage;
    if (root.contains(QLatin1String("/storage/emulated/legacy"), Qt::CaseInsensitive))
        return QStringLiteral("/storage/emulated/0");
    if (root.contains(QLatin1String("/mnt/sdcard"), Qt::CaseInsensitive))
        return QStringLiteral("/sdcard");
    return root;
}

QString VirtualPhone::startCompanionApp(const QHash<QString, QString>& extras) {
    QJsonObject extrasObject;
    for (auto it = extras.cbegin(); it != extras.cend(); ++it)
        extrasObject.insert(it.key(), it.value());
    m_log.append({{QStringLiteral("type"), QStringLiteral("intent")},
                  {QStringLiteral("serial"), m_config.serial},
                  {QStringLiteral("extras"), extrasObject}});
    const auto error = [this](const QString& reason) {
        m_log.append({{QStringLiteral("type"), QStringLiteral("error")},
                      {QStringLiteral("serial"), m_config.serial},
                      {QStringLiteral("reason"), reason}});
    };
    if (extras.contains(QStringLiteral("TESTMSG"))) {
        sendMessage(extras.value(QStringLiteral("NUM")), extras.value(QStringLiteral("MSG")),
                    QStringLiteral("test"));
    } else if (extras.contains(QStringLiteral("NUM"))) {
        if (extras.contains(QStringLiteral("MSG"))) {
            sendMessage(extras.value(QStringLiteral("NUM")), extras.value(QStringLiteral("MSG")),
                        QStringLiteral("classic"));
        } else {
            const QString path = joinPath(appStorageRoot(), QStringLiteral("message.txt"));
            if (!m_files.contains(path))
                error(QStringLiteral("no %1").arg(path));
            else
                sendMessage(extras.value(QStringLiteral("NUM")), QString::fromUtf8(m_files.value(path)),
                            QStringLiteral("standard"));
        }
    } else if (!extras.contains(QStringLiteral("SENDPARAM"))) {
        const QString path = joinPath(appStorageRoot(), QStringLiteral("ostrelsms.txt"));
        if (!m_files.contains(path)) {
            error(QStringLiteral("no %1").arg(path));
        } else {
            m_log.append({{QStringLiteral("type"), QStringLiteral("read")},
                          {QStringLiteral("serial"), m_config.serial},
                          {QStringLiteral("path"), path},
                          {QStringLiteral("content"), QString::fromUtf8(m_files.value(path))}});
            const QStringList lines = QString::fromUtf8(m_files.value(path)).split(QStringLiteral("\r\n"));
            for (const QString& line : lines) {
                const qsizetype at = line.indexOf(kListSeparator);
                if (at < 0) {
                    if (!line.isEmpty())
                        error(QStringLiteral("unreadable line: %1").arg(line));
                    continue;
                }
                QString text = line.mid(at + kListSeparator.size());
                text.replace(kLineBreakPlaceholder, QStringLiteral("\n"));
                sendMessage(line.left(at), text, QStringLiteral("single-shot"));
            }
        }
    }
    return {};
}

void VirtualPhone::denySmsQuery(bool denied) {
    const std::lock_guard lock(m_mutex);
    m_config.smsQueryDenied = denied;
}

void VirtualPhone::sendMessage(const QString& number, const QString& text, const QString& mode) {
    if (m_unplugged)
        return;
    m_log.append({{QStringLiteral("type"), QStringLiteral("message")},
                  {QStringLiteral("serial"), m_config.serial},
                  {QStringLiteral("number"), number},
                  {QStringLiteral("text"), text},
                  {QStringLiteral("mode"), mode}});
    m_sms.add(number, text,
              m_config.sendFails.contains(number) ? PhoneMessages::Failed
              : m_config.queued.contains(number)  ? PhoneMessages::Queued
                                                  : PhoneMessages::Sent,
              QDateTime::currentMSecsSinceEpoch());
    ++m_messages;
    if (m_config.unplugAfter > 0 && m_messages >= m_config.unplugAfter)
        m_unplugged = true;
}

} // namespace sim
