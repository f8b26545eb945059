#pragma once
// /v1/messages and /v1/campaigns: create a campaign (one recipient or many) for the senders of
// the store, read campaigns and their items a page at a time, cancel one.
struct ApiContext;
namespace httplib {
class Server;
}

void addCampaignRoutes(httplib::Server& server, ApiContext& context);
