#pragma once
// The files the server ships inside the binary: the OpenAPI document and the dashboard.
#include <QByteArray>
#include <QString>

// The file of that name (as in src/api/files), empty when there is none.
QByteArray apiFile(const QString& name);

struct ApiContext;
namespace httplib {
class Server;
}
// GET /v1/openapi.json, and the dashboard's page, script and style. None needs a token: they hold no
// data, and the dashboard asks the API for everything it shows, with the token pasted into it.
void addFileRoutes(httplib::Server& server);
