#include "IncomingFeed.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

namespace sim {
namespace {

// Read at most this much per poll, and drop a line that grows past the line limit.
constexpr qint64 kReadLimit = 1 << 20;
constexpr qsizetype kLineLimit = qsizetype(256) * 1024;

} // namespace

std::optional<IncomingMessage> IncomingFeed::parseLine(const QByteArray& line, QString* problem) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (!document.isObject()) {
        *problem = error.error != QJsonParseError::NoError
                       ? QStringLiteral("not JSON (%1)").arg(error.errorString())
                       : QStringLiteral("not a JSON object");
        return std::nullopt;
    }
    const QJsonObject o = document.object();
    const QJsonValue from = o.value(u"from");
    const QJsonValue text = o.value(u"text");
    if (!from.isString() || from.toString().trimmed().isEmpty() || !text.isString()) {
        *problem = QStringLiteral("needs \"from\" and \"text\" strings");
        return std::nullopt;
    }
    IncomingMessage message;
    message.from = from.toString().trimmed();
    message.text = text.toString();
    if (message.text.size() > kMaxText) {
        *problem = QStringLiteral("text of %1 characters is too long").arg(message.text.size());
        return std::nullopt;
    }
    const QJsonValue at = o.value(u"at");
    if (at.isString())
        message.at = QDateTime::fromString(at.toString(), Qt::ISODate);
    else if (at.isDouble())
        message.at = QDateTime::fromMSecsSinceEpoch(qint64(at.toDouble()), QTimeZone::utc());
    if (!at.isUndefined() && !at.isNull() && !message.at.isValid()) {
        *problem = QStringLiteral("\"at\" is no time");
        return std::nullopt;
    }
    message.alphanumericSender = o.value(u"alphanumeric").toBool(false);
    message.eightBit = o.value(u"eight_bit").toBool(false);
    message.sixteenBitReference = o.value(u"sixteen_bit_reference").toBool(false);
    message.outOfOrder = o.value(u"out_of_order").toBool(false);
    message.dropPart = o.value(u"drop_part").toInt(0);
    message.to = o.value(u"to").toString();
    return message;
}

IncomingFeed::Batch IncomingFeed::poll() {
    Batch batch;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return batch;             // not there yet: whoever writes it may create it later
    if (file.size() < m_offset) { // replaced or truncated: read it from its start
        m_offset = 0;
        m_partial.clear();
    }
    if (!file.seek(m_offset))
        return batch;
    const QByteArray read = file.read(kReadLimit);
    m_offset += read.size();
    m_partial += read;
    qsizetype start = 0;
    for (qsizetype end = m_partial.indexOf('\n'); end >= 0; end = m_partial.indexOf('\n', start)) {
        const QByteArray line = m_partial.mid(start, end - start).trimmed();
        start = end + 1;
        ++m_lineNumber;
        if (line.isEmpty())
            continue;
        QString problem;
        if (std::optional<IncomingMessage> message = parseLine(line, &problem))
            batch.messages.append(std::move(*message));
        else
            batch.problems << QStringLiteral("%1 line %2: %3").arg(m_path).arg(m_lineNumber).arg(problem);
    }
    m_partial.remove(0, start);
    if (m_partial.size() > kLineLimit) {
        batch.problems << QStringLiteral("%1 line %2: longer than %3 bytes")
                              .arg(m_path)
                              .arg(m_lineNumber + 1)
                              .arg(kLineLimit);
        m_partial.clear(); // the rest of that line is then read as a line of its own, and refused
    }
    return batch;
}

} // namespace sim
