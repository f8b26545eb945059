#pragma once
// The virtual phones' adb server: the server side of the protocol the adb client speaks on
// its local TCP port (hex-length-prefixed requests, OKAY/FAIL answers). Served: host:version,
// host:devices[-l], host:features and host-serial:S:features, host:get-serialno, the transport
// selections (host:transport*, host:tport:*), shell: and sync: (STAT, SEND/DATA/DONE, QUIT)
// on a selected phone, and host:kill. One thread per client connection.
#include "VirtualPhone.h"

#include <QString>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace sim {

class AdbServer {
public:
    // The version the Debian client expects; any other makes it try to restart the server.
    static constexpr int kProtocolVersion = 41;

    AdbServer(const QList<PhoneConfig>& phones, const QString& logPath = {});
    ~AdbServer();
    AdbServer(const AdbServer&) = delete;
    AdbServer& operator=(const AdbServer&) = delete;

    // Listens on 127.0.0.1:port (0: any free port). False when the port cannot be had.
    bool start(quint16 port = 0);
    void stop();
    quint16 port() const { return m_port; }
    // "tcp:127.0.0.1:PORT", for ADB_SERVER_SOCKET.
    QString socketSpec() const;
    // True once a client asked for host:kill.
    bool killed() const { return m_killed; }
    // Blocks until host:kill or stop().
    void waitUntilKilled();

    PhoneLog& log() { return m_log; }
    VirtualPhone* phone(const QString& serial);
    const std::vector<std::unique_ptr<VirtualPhone>>& phones() const { return m_phones; }

private:
    void acceptLoop();
    void serve(int fd);
    // Picks the phone of a transport request; nullptr with the client's error text.
    VirtualPhone* select(const QString& which, QString& error);
    void serveSync(int fd, VirtualPhone& phone);

    PhoneLog m_log;
    std::vector<std::unique_ptr<VirtualPhone>> m_phones;
    int m_listenFd = -1;
    quint16 m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_killed{false};
    std::thread m_acceptor;
    std::mutex m_clientsMutex;
    std::vector<int> m_clientFds;
    struct Client {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };
    std::vector<Client> m_clients; // finished ones are joined as new ones come
};

} // namespace sim
