#pragma once
// What every endpoint shares: the store, the data folder the server runs on (its default
// country), the rate limit, and the guard that checks each request before its handler runs.
#include "ApiTokens.h"
#include "RateLimiter.h"
#include "core/DataFolder.h"

#include <functional>
#include <memory>

class CampaignStore;

namespace httplib {
struct Request;
struct Response;
class Server;
} // namespace httplib

struct ApiContext {
    std::shared_ptr<CampaignStore> store;
    DataFolder folder;
    std::unique_ptr<RateLimiter> limiter;
};

// One request after the guard let it through: who sent it.
struct ApiCall {
    const httplib::Request& request;
    const ApiToken& token;
};
using ApiHandler = std::function<void(const ApiCall&, httplib::Response&)>;

// The handler behind the checks every endpoint makes: a bearer token that is known (401) and
// not revoked (403), the caller's rate (429 with Retry-After), and nothing escaping as an
// exception (500, without the exception's words).
std::function<void(const httplib::Request&, httplib::Response&)> guarded(ApiContext& context,
                                                                         ApiHandler handler);
