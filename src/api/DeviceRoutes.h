#pragma once
// /v1/devices: every sender's modems and phones as each last told the store, whichever
// computer they are on.
struct ApiContext;
namespace httplib {
class Server;
}

void addDeviceRoutes(httplib::Server& server, ApiContext& context);
