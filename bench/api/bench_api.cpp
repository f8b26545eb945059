// The HTTP API under load: 32 clients at once, each on its own keep-alive connection, read one
// campaign (GET /v1/campaigns/{id}) as fast as the server answers, then create messages (POST
// /v1/messages, each a campaign of one). Requests a second and the latency's median and 99th
// percentile, on SQLite and on a throwaway PostgreSQL server, beside the goals (2,000 reads and
// 500 creates a second on SQLite). The clients run in this process, beside the server, as
// programs on the same computer would. Prints figures, never asserts on time.
// --quick: a second per measure instead of five.
#include "PostgresCluster.h"

#include "api/ApiServer.h"
#include "api/ApiTokens.h"
#include "campaigns/CampaignStore.h"
#include "core/DataFolder.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <latch>
#include <thread>
#include <vector>

namespace {

constexpr int kClients = 32;

struct Figures {
    double perSecond = 0, p50 = 0, p99 = 0; // latencies in ms
    long failed = 0;
};

// Every client sends `request` until the time is up; what the server managed.
Figures measure(int port, std::chrono::seconds length,
                const std::function<httplib::Result(httplib::Client&, int client, int n)>& request) {
    std::vector<std::vector<double>> latencies(kClients);
    std::atomic<long> failed{0};
    std::latch connected(kClients + 1), go(1);
    std::chrono::steady_clock::time_point end;
    std::vector<std::thread> clients;
    clients.reserve(kClients);
    for (int c = 0; c < kClients; ++c)
        clients.emplace_back([&, c] {
            httplib::Client client("127.0.0.1", port);
            client.set_keep_alive(true);
            client.set_tcp_nodelay(true);
            // Connected before the clock starts: the library's listen backlog is short, and
            // 32 connections at once would time the kernel's retry of a refused handshake.
            request(client, c, -1);
            connected.count_down();
            go.wait();
            for (int n = 0; std::chrono::steady_clock::now() < end; ++n) {
                const auto start = std::chrono::steady_clock::now();
                const httplib::Result result = request(client, c, n);
                if (!result || result->status >= 300)
                    ++failed;
                latencies[size_t(c)].push_back(
                    std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                        .count());
            }
        });
    connected.arrive_and_wait();
    end = std::chrono::steady_clock::now() + length;
    go.count_down();
    for (std::thread& t : clients)
        t.join();
    std::vector<double> all;
    for (const auto& l : latencies)
        all.insert(all.end(), l.begin(), l.end());
    std::sort(all.begin(), all.end());
    Figures f;
    f.failed = failed;
    if (all.empty())
        return f;
    f.perSecond = double(all.size()) / double(length.count());
    f.p50 = all[all.size() / 2];
    f.p99 = all[std::min(all.size() - 1, all.size() * 99 / 100)];
    return f;
}

void print(const char* engine, const char* what, const Figures& f, const char* goal) {
    std::printf("%-10s %-28s %8.0f /s   p50 %6.2f ms   p99 %7.2f ms   failed %ld   (goal %s)\n", engine, what,
                f.perSecond, f.p50, f.p99, f.failed, goal);
    std::fflush(stdout);
}

void run(const char* engine, std::chrono::seconds length) {
    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", home.path().toUtf8());
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.Check_Path_And_Create_Files();
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    if (!store) {
        std::printf("%s: no store: %s\n", engine, qPrintable(why));
        return;
    }
    const std::string token = "Bearer " + createToken(*store, QStringLiteral("bench"), &why)->toStdString();
    ApiServerOptions options;
    options.port = 0;
    options.rateLimit = 0;
    ApiServer server(store, folder, options);
    if (!server.start(&why)) {
        std::printf("%s: %s\n", engine, qPrintable(why));
        return;
    }
    const httplib::Headers auth{{"Authorization", token}};
    httplib::Client first("127.0.0.1", server.port());
    const auto made =
        first.Post("/v1/campaigns", auth,
                   R"({"recipients": ["+447400123456", "+447400123457", "+447400123458"], "text": "Hi"})",
                   "application/json");
    if (!made || made->status != 201) {
        std::printf("%s: the first campaign was refused\n", engine);
        return;
    }
    print(engine, "GET /v1/campaigns/{id}",
          measure(server.port(), length,
                  [&](httplib::Client& c, int, int) { return c.Get("/v1/campaigns/1", auth); }),
          ">= 2,000/s on SQLite");
    print(engine, "POST /v1/messages",
          measure(server.port(), length,
                  [&](httplib::Client& c, int client, int n) {
                      const std::string body = "{\"to\": \"+4474001" +
                                               std::to_string(10000 + client * 1000 + (n + 1) % 1000) +
                                               "\", \"text\": \"Your order has shipped\"}";
                      return c.Post("/v1/messages", auth, body, "application/json");
                  }),
          ">= 500/s on SQLite");
    server.stop();
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const bool quick = app.arguments().contains(QStringLiteral("--quick"));
    const std::chrono::seconds length(quick ? 1 : 5);
    std::printf("%d clients at once, %lld s per measure\n", kClients, static_cast<long long>(length.count()));
    run("sqlite", length);
    QString why;
    PostgresCluster* server = PostgresCluster::shared(&why);
    if (!server) {
        std::printf("postgresql: no server (%s)\n", qPrintable(why));
        return 0;
    }
    CampaignStore::useDatabase(server->newDatabase());
    run("postgresql", length);
    CampaignStore::useDatabase({});
    return 0;
}
