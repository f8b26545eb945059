#include "ApiRequest.h"

#include "ApiJson.h"
#include "core/Log.h"

#include <QJsonDocument>

#include <httplib.h>

void replyStoreRefused(httplib::Response& res, const QString& why) {
    Show_NSLog_Message(QStringLiteral("API: the store refused: %1").arg(why));
    replyError(res, 503, QStringLiteral("The store could not be read or written; nothing was changed."));
}

std::optional<QJsonObject> jsonObjectBody(const httplib::Request& req, httplib::Response& res) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(req.body), &error);
    if (error.error != QJsonParseError::NoError) {
        replyError(res, 400,
                   QStringLiteral("The body is not JSON: %1 at byte %2.")
                       .arg(error.errorString())
                       .arg(error.offset));
        return std::nullopt;
    }
    if (!document.isObject()) {
        replyError(res, 400, QStringLiteral("The body must be a JSON object."));
        return std::nullopt;
    }
    return document.object();
}

qint64 positiveId(const std::string& text) {
    bool ok = false;
    const qint64 id = QString::fromStdString(text).toLongLong(&ok);
    return ok && id > 0 ? id : 0;
}

std::optional<int> pageSize(const httplib::Request& req, httplib::Response& res) {
    if (!req.has_param("limit"))
        return kDefaultPageSize;
    const qint64 limit = positiveId(req.get_param_value("limit"));
    if (limit < 1 || limit > kLongestPageSize) {
        replyError(res, 400, QStringLiteral("limit: must be from 1 to %1").arg(kLongestPageSize),
                   QStringLiteral("limit"));
        return std::nullopt;
    }
    return int(limit);
}

std::optional<bool> flagParam(const httplib::Request& req, httplib::Response& res, const char* name,
                              bool fallback) {
    if (!req.has_param(name))
        return fallback;
    const std::string value = req.get_param_value(name);
    if (value == "true" || value == "false")
        return value == "true";
    replyError(res, 400, QStringLiteral("%1: must be true or false").arg(QLatin1String(name)),
               QLatin1String(name));
    return std::nullopt;
}
