#include "ApiJson.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QRegularExpression>

#include <httplib.h>

namespace {

void reply(httplib::Response& res, int status, const QJsonDocument& document) {
    res.status = status;
    res.set_content(document.toJson(QJsonDocument::Compact).toStdString(), "application/json");
}

} // namespace

void replyJson(httplib::Response& res, int status, const QJsonObject& body) {
    reply(res, status, QJsonDocument(body));
}

void replyJson(httplib::Response& res, int status, const QJsonArray& body) {
    reply(res, status, QJsonDocument(body));
}

QJsonObject errorBody(int status, const QString& message, const QString& field) {
    QJsonObject error{{"status", status}, {"message", message}};
    if (!field.isEmpty())
        error.insert(QStringLiteral("field"), field);
    return QJsonObject{{"error", error}};
}

void replyError(httplib::Response& res, int status, const QString& message, const QString& field) {
    replyJson(res, status, errorBody(status, message, field));
}

QJsonValue isoTime(qint64 msSinceEpoch) {
    if (msSinceEpoch <= 0)
        return QJsonValue::Null;
    return QDateTime::fromMSecsSinceEpoch(msSinceEpoch, Qt::UTC).toString(Qt::ISODateWithMs);
}

qint64 timeFromIso(const QString& text) {
    // Without an offset a time would be read in this computer's zone, which the client may not
    // share: it must say.
    static const QRegularExpression withOffset(QStringLiteral("(Z|[+-]\\d\\d:?\\d\\d)$"));
    if (!withOffset.match(text.trimmed()).hasMatch())
        return 0;
    const QDateTime at = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    return at.isValid() ? at.toMSecsSinceEpoch() : 0;
}
