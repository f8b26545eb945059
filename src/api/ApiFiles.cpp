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

void serve(httplib::Server& server, const std::string& path, const QString& name, const char* type) {
    server.Get(path, [name, type](const httplib::Request&, httplib::Response& res) {
        const QByteArray content = apiFile(name);
        res.set_header("Cache-Control", "no-cache");
        res.set_header("X-Content-Type-Options", "nosniff");
        res.set_content(content.constData(), size_t(content.size()), type);
    });
}

} // namespace

void addFileRoutes(httplib::Server& server) {
    serve(server, "/v1/openapi.json", QStringLiteral("openapi.json"), "application/json");
    if (!apiFile(QStringLiteral("dashboard.html")).isEmpty()) {
        serve(server, "/", QStringLiteral("dashboard.html"), "text/html; charset=utf-8");
        serve(server, "/dashboard.js", QStringLiteral("dashboard.js"), "text/javascript; charset=utf-8");
    }
}
