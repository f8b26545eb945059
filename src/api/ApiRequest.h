#pragma once
// What the routes share in reading a request and in answering when the store refuses.
#include <QJsonObject>
#include <QString>

#include <optional>
#include <string>

namespace httplib {
struct Request;
struct Response;
} // namespace httplib

inline constexpr int kDefaultPageSize = 100, kLongestPageSize = 1000;

// 503: the database's words stay in the log (they may name files and other clients' rows).
void replyStoreRefused(httplib::Response& res, const QString& why);
// The body as a JSON object, or a 400 sent.
std::optional<QJsonObject> jsonObjectBody(const httplib::Request& req, httplib::Response& res);
// A positive whole number; 0 when it is none.
qint64 positiveId(const std::string& text);
// The query's limit (1 to kLongestPageSize, kDefaultPageSize when absent), or a 400 sent.
std::optional<int> pageSize(const httplib::Request& req, httplib::Response& res);
// A query parameter that is "true" or "false" (fallback when absent), or a 400 sent.
std::optional<bool> flagParam(const httplib::Request& req, httplib::Response& res, const char* name,
                              bool fallback);
