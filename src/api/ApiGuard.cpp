#include "ApiContext.h"
#include "ApiJson.h"

#include "core/Log.h"

#include <httplib.h>

namespace {

// "Bearer <token>" (the scheme in any case); "" otherwise.
QString bearerOf(const httplib::Request& req) {
    const QString header = QString::fromStdString(req.get_header_value("Authorization")).trimmed();
    if (!header.startsWith(QLatin1String("Bearer "), Qt::CaseInsensitive))
        return {};
    return header.mid(7).trimmed();
}

} // namespace

std::function<void(const httplib::Request&, httplib::Response&)> guarded(ApiContext& context,
                                                                         ApiHandler handler) {
    return [&context, handler = std::move(handler)](const httplib::Request& req, httplib::Response& res) {
        try {
            const QString bearer = bearerOf(req);
            if (bearer.isEmpty()) {
                res.set_header("WWW-Authenticate", "Bearer");
                replyError(res, 401,
                           QStringLiteral("A bearer token is needed (Authorization: Bearer <token>)."));
                return;
            }
            QString why;
            const std::optional<ApiToken> token = tokenOf(*context.store, bearer, &why);
            if (!token) {
                if (!why.isEmpty()) {
                    Show_NSLog_Message(QStringLiteral("API: the store refused a token check: %1").arg(why));
                    replyError(res, 503, QStringLiteral("The store cannot be read now; try again."));
                    return;
                }
                res.set_header("WWW-Authenticate", "Bearer error=\"invalid_token\"");
                replyError(res, 401, QStringLiteral("The token is not known."));
                return;
            }
            if (token->revokedAt != 0) {
                replyError(res, 403, QStringLiteral("The token was revoked."));
                return;
            }
            if (const int wait = context.limiter->take(token->id); wait > 0) {
                res.set_header("Retry-After", std::to_string(wait));
                replyError(res, 429,
                           QStringLiteral("Too many requests: at most %1 a second.")
                               .arg(context.limiter->perSecond()));
                return;
            }
            handler(ApiCall{req, *token}, res);
        } catch (const std::exception& e) {
            Show_NSLog_Message(QStringLiteral("API: %1 %2 failed: %3")
                                   .arg(QString::fromStdString(req.method), QString::fromStdString(req.path),
                                        QString::fromLocal8Bit(e.what())));
            replyError(res, 500, QStringLiteral("The request could not be handled."));
        }
    };
}
