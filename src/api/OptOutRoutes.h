#pragma once
// /v1/opt-outs: the numbers that asked for no more messages. A client adds one (the claim of
// every later campaign then skips it), ends one, and reads them, the ended ones too on request.
struct ApiContext;
namespace httplib {
class Server;
}

void addOptOutRoutes(httplib::Server& server, ApiContext& context);
