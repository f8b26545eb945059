#include "MessageLog.h"

#include "core/Log.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <unistd.h>

namespace sim {

QByteArray MessageLog::toJson(const ReceivedMessage& m) {
    QJsonObject object;
    object.insert(QStringLiteral("device"), m.device);
    object.insert(QStringLiteral("number"), m.number);
    object.insert(QStringLiteral("text"), m.text);
    object.insert(QStringLiteral("parts"), m.parts);
    object.insert(QStringLiteral("total"), m.totalParts);
    object.insert(QStringLiteral("complete"), m.complete);
    object.insert(QStringLiteral("dcs"), m.dcs);
    object.insert(QStringLiteral("smsc"), m.smsc);
    object.insert(QStringLiteral("mode"), m.mode);
    object.insert(QStringLiteral("pdus"), QJsonArray::fromStringList(m.pduHex));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

bool MessageLog::append(const ReceivedMessage& message) const { return appendLine(toJson(message) + '\n'); }

bool MessageLog::appendEvent(const QJsonObject& event) const {
    return appendLine(QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n');
}

bool MessageLog::appendLine(const QByteArray& line) const {
    if (!enabled())
        return true;
    const int fd =
        ::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0) {
        const ssize_t written = ::write(fd, line.constData(), size_t(line.size()));
        ::close(fd);
        if (written == line.size())
            return true;
    }
    Show_NSLog_Message(QStringLiteral("virtual modem: cannot append to %1").arg(m_path));
    return false;
}

QList<ReceivedMessage> MessageLog::read(const QString& path) {
    QList<ReceivedMessage> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    while (!file.atEnd()) {
        const QJsonDocument doc = QJsonDocument::fromJson(file.readLine());
        if (!doc.isObject())
            continue;
        const QJsonObject o = doc.object();
        if (o.contains(u"event"))
            continue;
        ReceivedMessage m;
        m.device = o.value(u"device").toString();
        m.number = o.value(u"number").toString();
        m.text = o.value(u"text").toString();
        m.parts = o.value(u"parts").toInt(1);
        m.totalParts = o.value(u"total").toInt(m.parts);
        m.complete = o.value(u"complete").toBool(true);
        m.dcs = o.value(u"dcs").toInt();
        m.smsc = o.value(u"smsc").toString();
        m.mode = o.value(u"mode").toString();
        for (const auto& v : o.value(u"pdus").toArray())
            m.pduHex.append(v.toString());
        messages.append(m);
    }
    return messages;
}

QList<QJsonObject> MessageLog::readEvents(const QString& path) {
    QList<QJsonObject> events;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return events;
    while (!file.atEnd()) {
        const QJsonDocument doc = QJsonDocument::fromJson(file.readLine());
        if (doc.isObject() && doc.object().contains(u"event"))
            events.append(doc.object());
    }
    return events;
}

} // namespace sim
