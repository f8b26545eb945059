#pragma once
// What every endpoint answers with: JSON bodies, errors that name the field and the reason
// (never a path, a stack or another client's data), and times as ISO 8601 in UTC.
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace httplib {
struct Response;
}

void replyJson(httplib::Response& res, int status, const QJsonObject& body);
void replyJson(httplib::Response& res, int status, const QJsonArray& body);
// {"error": {"status": 400, "message": "...", "field": "to"}}; field left out when "".
void replyError(httplib::Response& res, int status, const QString& message, const QString& field = {});
QJsonObject errorBody(int status, const QString& message, const QString& field = {});

// "2026-11-27T09:00:00.000Z"; null for 0 (not yet).
QJsonValue isoTime(qint64 msSinceEpoch);
// A time a client gives: ISO 8601 with its offset ("2026-11-27T09:00:00+01:00", "...Z"). 0 when
// it is none.
qint64 timeFromIso(const QString& text);
