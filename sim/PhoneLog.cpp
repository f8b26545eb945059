#include "PhoneLog.h"

#include <QFile>
#include <QJsonDocument>

#include <fcntl.h>
#include <unistd.h>

namespace sim {

void PhoneLog::append(const QJsonObject& event) {
    const std::lock_guard lock(m_mutex);
    m_events.append(event);
    if (m_path.isEmpty())
        return;
    // One write per line under O_APPEND: several phones (and runs) may share a file.
    const QByteArray line = QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n';
    const int fd =
        ::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    [[maybe_unused]] const ssize_t written = ::write(fd, line.constData(), size_t(line.size()));
    ::close(fd);
}

QList<QJsonObject> PhoneLog::events() const {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

QList<QJsonObject> PhoneLog::events(const QString& type) const {
    QList<QJsonObject> matching;
    for (const QJsonObject& event : events())
        if (event.value(QStringLiteral("type")).toString() == type)
            matching.append(event);
    return matching;
}

QList<QJsonObject> PhoneLog::read(const QString& path) {
    QList<QJsonObject> events;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return events;
    while (!file.atEnd()) {
        const QJsonDocument line = QJsonDocument::fromJson(file.readLine());
        if (line.isObject())
            events.append(line.object());
    }
    return events;
}

} // namespace sim
