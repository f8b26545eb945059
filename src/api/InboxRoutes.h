#pragma once
// /v1/inbox: the messages recipients sent back, oldest first, a page at a time after a cursor,
// so a client reads each once. Reading them here does not mark them read: that stays the
// operator's word in the inbox window.
struct ApiContext;
namespace httplib {
class Server;
}

void addInboxRoutes(httplib::Server& server, ApiContext& context);
