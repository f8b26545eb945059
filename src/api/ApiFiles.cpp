#include "ApiFiles.h"

#include "ApiEmbedded.h"

#include <httplib.h>

QByteArray apiFile(const QString& name) {
    for (const embedded::File& file : embedded::files)
        if (name == QLatin1String(file.name))
            return QByteArray::fromRawData(reinterpret_cast<const char*>(file.data), qsizetype(file.size));
    return {};
}

namespace {

// The dashboard runs only its own script and style, talks only to this server, and is never
// framed: a reply's text that slipped into the page as markup could still run nothing.
constexpr const char* kDashboardPolicy = "default-src 'self'; script-src 'self'; style-src 'self'; "
                                         "img-src 'self'; connect-src 'self'; object-src 'none'; "
                                         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

void serve(httplib::Server& server, const std::string& path, const QString& name, const char* type) {
    server.Get(path, [name, type](const httplib::Request&, httplib::Response& res) {
        const QByteArray content = apiFile(name);
        res.set_header("Cache-Control", "no-cache");
        res.set_header("X-Content-Type-Options", "nosniff");
        if (name.startsWith(QLatin1String("dashboard"))) {
            res.set_header("Content-Security-Policy", kDashboardPolicy);
            res.set_header("X-Frame-Options", "DENY");
            res.set_header("Referrer-Policy", "no-referrer");
        }
        res.set_content(content.constData(), size_t(content.size()), type);
    });
}

} // namespace

void addFileRoutes(httplib::Server& server) {
    serve(server, "/v1/openapi.json", QStringLiteral("openapi.json"), "application/json");
    if (!apiFile(QStringLiteral("dashboard.html")).isEmpty()) {
        serve(server, "/", QStringLiteral("dashboard.html"), "text/html; charset=utf-8");
        serve(server, "/dashboard.js", QStringLiteral("dashboard.js"), "text/javascript; charset=utf-8");
        serve(server, "/dashboard.css", QStringLiteral("dashboard.css"), "text/css; charset=utf-8");
    }
}
