#include "AdbServer.h"

#include <QByteArray>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace sim {

namespace {

bool readExactly(int fd, char* buffer, size_t size) {
    while (size > 0) {
        const ssize_t got = ::recv(fd, buffer, size, 0);
        if (got <= 0)
            return false;
        buffer += got;
        size -= size_t(got);
    }
    return true;
}

bool writeAll(int fd, const QByteArray& bytes) {
    const char* data = bytes.constData();
    size_t left = size_t(bytes.size());
    while (left > 0) {
        const ssize_t sent = ::send(fd, data, left, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        data += sent;
        left -= size_t(sent);
    }
    return true;
}

QByteArray hex4(qsizetype length) {
    return QByteArray::number(qulonglong(length), 16).rightJustified(4, '0');
}

bool okay(int fd, const QByteArray& payload) { return writeAll(fd, "OKAY" + hex4(payload.size()) + payload); }
bool fail(int fd, const QString& message) {
    const QByteArray text = message.toUtf8();
    return writeAll(fd, "FAIL" + hex4(text.size()) + text);
}

QByteArray le32(quint32 value) {
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i)
        bytes[i] = char((value >> (8 * i)) & 0xff);
    return bytes;
}

quint32 fromLe32(const char* bytes) {
    quint32 value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | quint8(bytes[i]);
    return value;
}

constexpr quint32 kMaxSyncChunk = 64 * 1024;
constexpr qsizetype kMaxPushedFile = qsizetype(64) * 1024 * 1024;

} // namespace

AdbServer::AdbServer(const QList<PhoneConfig>& phones, const QString& logPath) : m_log(logPath) {
    for (const PhoneConfig& config : phones)
        m_phones.push_back(std::make_unique<VirtualPhone>(config, m_log));
}

AdbServer::~AdbServer() { stop(); }

bool AdbServer::start(quint16 port) {
    m_listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_listenFd < 0)
        return false;
    const int reuse = 1;
    ::setsockopt(m_listenFd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(m_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listenFd, 64) != 0 ||
        ::getsockname(m_listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(m_listenFd);
        m_listenFd = -1;
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
    return true;
}

void AdbServer::stop() {
    if (m_listenFd < 0)
        return;
    m_stopping = true;
    ::shutdown(m_listenFd, SHUT_RDWR);
    if (m_acceptor.joinable())
        m_acceptor.join();
    ::close(m_listenFd);
    m_listenFd = -1;
    std::vector<Client> clients;
    {
        const std::lock_guard lock(m_clientsMutex);
        for (const int fd : m_clientFds)
            ::shutdown(fd, SHUT_RDWR);
        clients.swap(m_clients);
    }
    for (Client& client : clients)
        client.thread.join();
    m_killed = true;
    m_killed.notify_all();
}

void AdbServer::waitUntilKilled() { m_killed.wait(false); }

QString AdbServer::socketSpec() const { return QStringLiteral("tcp:127.0.0.1:%1").arg(m_port); }

VirtualPhone* AdbServer::phone(const QString& serial) {
    for (const auto& phone : m_phones)
        if (phone->serial() == serial)
            return phone.get();
    return nullptr;
}

void AdbServer::acceptLoop() {
    while (!m_stopping) {
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            if (m_stopping)
                return;
            continue;
        }
        const std::lock_guard lock(m_clientsMutex);
        for (auto it = m_clients.begin(); it != m_clients.end();) {
            if (*it->done) {
                it->thread.join();
                it = m_clients.erase(it);
            } else {
                ++it;
            }
        }
        m_clientFds.push_back(fd);
        auto done = std::make_shared<std::atomic<bool>>(false);
        m_clients.push_back({std::thread([this, fd, done] {
                                 serve(fd);
                                 {
                                     const std::lock_guard finished(m_clientsMutex);
                                     m_clientFds.erase(
                                         std::remove(m_clientFds.begin(), m_clientFds.end(), fd),
                                         m_clientFds.end());
                                     ::close(fd);
                                 }
                                 *done = true;
                             }),
                             done});
    }
}

VirtualPhone* AdbServer::select(const QString& which, QString& error) {
    std::vector<VirtualPhone*> present;
    for (const auto& phone : m_phones)
        if (phone->present())
            present.push_back(phone.get());
    VirtualPhone* chosen = nullptr;
    if (which.isEmpty() || which == QLatin1String("any") || which == QLatin1String("usb")) {
        if (present.empty()) {
            error = QStringLiteral("no devices/emulators found");
            return nullptr;
        }
        if (present.size() > 1) {
            error = QStringLiteral("more than one device/emulator");
            return nullptr;
        }
        chosen = present.front();
    } else {
        for (VirtualPhone* phone : present)
            if (phone->serial() == which)
                chosen = phone;
        if (chosen == nullptr) {
            error = QStringLiteral("device '%1' not found").arg(which);
            return nullptr;
        }
    }
    const QString state = chosen->state();
    if (state == QLatin1String("unauthorized")) {
        error =
            QStringLiteral("device unauthorized.\nThis adb server's $ADB_VENDOR_KEYS is not set\nTry 'adb "
                           "kill-server' if that seems wrong.\nOtherwise check for a confirmation dialog on "
                           "your device.");
        return nullptr;
    }
    if (state != QLatin1String("device")) {
        error = QStringLiteral("device %1").arg(state);
        return nullptr;
    }
    return chosen;
}

void AdbServer::serve(int fd) {
    VirtualPhone* transport = nullptr;
    for (;;) {
        char lengthHex[5] = {};
        if (!readExactly(fd, lengthHex, 4))
            return;
        bool ok = false;
        const int length = QByteArray(lengthHex, 4).toInt(&ok, 16);
        if (!ok || length < 0)
            return;
        QByteArray request(length, '\0');
        if (!readExactly(fd, request.data(), size_t(length)))
            return;
        const QString service = QString::fromUtf8(request);

        // host-serial:SERIAL:rest selects a phone for one host request.
        QString hostRequest;
        QString serial;
        if (service.startsWith(QLatin1String("host-serial:"))) {
            const qsizetype colon = service.indexOf(QLatin1Char(':'), 12);
            serial = service.mid(12, colon - 12);
            hostRequest = service.mid(colon + 1);
        } else if (service.startsWith(QLatin1String("host:")) ||
                   service.startsWith(QLatin1String("host-usb:")) ||
                   service.startsWith(QLatin1String("host-any:"))) {
            hostRequest = service.mid(service.indexOf(QLatin1Char(':')) + 1);
        }

        if (transport == nullptr && !hostRequest.isEmpty()) {
            if (hostRequest == QLatin1String("version")) {
                okay(fd, QByteArray::number(kProtocolVersion, 16).rightJustified(4, '0'));
                return;
            }
            if (hostRequest == QLatin1String("kill")) {
                writeAll(fd, "OKAY");
                m_stopping = true;
                ::shutdown(m_listenFd, SHUT_RDWR);
                m_killed = true;
                m_killed.notify_all();
                return;
            }
            if (hostRequest == QLatin1String("devices") || hostRequest == QLatin1String("devices-l")) {
                QByteArray list;
                for (const auto& phone : m_phones) {
                    if (!phone->present())
                        continue;
                    phone->listed();
                    if (hostRequest == QLatin1String("devices")) {
                        list += (phone->serial() + QLatin1Char('\t') + phone->state() + QLatin1Char('\n'))
                                    .toUtf8();
                    } else {
                        QString model = phone->property(QStringLiteral("ro.product.model"));
                        model.replace(QLatin1Char(' '), QLatin1Char('_'));
                        list += QStringLiteral("%1 %2 product:%3 model:%4 device:%5 transport_id:%6\n")
                                    .arg(phone->serial().leftJustified(22), phone->state(),
                                         phone->property(QStringLiteral("ro.product.name")), model,
                                         phone->property(QStringLiteral("ro.product.device")))
                                    .arg(&phone - m_phones.data() + 1)
                                    .toUtf8();
                    }
                }
                okay(fd, list);
                return;
            }
            if (hostRequest == QLatin1String("features") || hostRequest == QLatin1String("get-serialno") ||
                hostRequest == QLatin1String("get-state")) {
                QString error;
                VirtualPhone* phone = select(serial, error);
                if (phone == nullptr && hostRequest == QLatin1String("get-state") &&
                    error.startsWith(QLatin1String("device "))) {
                    okay(fd, error.mid(7).section(QLatin1Char('.'), 0, 0).toUtf8());
                    return;
                }
                if (phone == nullptr) {
                    fail(fd, error);
                    return;
                }
                // No shell_v2, no cmd, no stat_v2: the client uses shell:, push + pm install, STAT.
                okay(fd, hostRequest == QLatin1String("features")    ? QByteArray()
                         : hostRequest == QLatin1String("get-state") ? QByteArrayLiteral("device")
                                                                     : phone->serial().toUtf8());
                return;
            }
            QString which;
            bool sendsId = false;
            if (hostRequest.startsWith(QLatin1String("transport:")))
                which = hostRequest.mid(10);
            else if (hostRequest == QLatin1String("transport-any") ||
                     hostRequest == QLatin1String("transport-usb"))
                which = QStringLiteral("any");
            else if (hostRequest.startsWith(QLatin1String("tport:"))) {
                sendsId = true;
                const QString kind = hostRequest.mid(6);
                which = kind.startsWith(QLatin1String("serial:")) ? kind.mid(7) : QStringLiteral("any");
            } else {
                fail(fd, QStringLiteral("unknown host service"));
                return;
            }
            QString error;
            transport = select(which, error);
            if (transport == nullptr) {
                fail(fd, error);
                return;
            }
            QByteArray answer = "OKAY";
            if (sendsId) {
                const qsizetype id = std::find_if(m_phones.begin(), m_phones.end(),
                                                  [&](const auto& p) { return p.get() == transport; }) -
                                     m_phones.begin() + 1;
                answer += le32(quint32(id)) + le32(0);
            }
            writeAll(fd, answer);
            continue;
        }
        if (transport == nullptr) {
            fail(fd, QStringLiteral("no devices/emulators found"));
            return;
        }
        if (!transport->present()) {
            fail(fd, QStringLiteral("device '%1' not found").arg(transport->serial()));
            return;
        }
        if (service.startsWith(QLatin1String("shell:"))) {
            writeAll(fd, "OKAY");
            writeAll(fd, transport->shell(service.mid(6)));
            return;
        }
        if (service == QLatin1String("sync:")) {
            writeAll(fd, "OKAY");
            serveSync(fd, *transport);
            return;
        }
        fail(fd, QStringLiteral("closed"));
        return;
    }
}

void AdbServer::serveSync(int fd, VirtualPhone& phone) {
    for (;;) {
        char header[8];
        if (!readExactly(fd, header, 8))
            return;
        const QByteArray id(header, 4);
        const quint32 length = fromLe32(header + 4);
        if (length > kMaxSyncChunk)
            return;
        QByteArray argument(qsizetype(length), '\0');
        if (!readExactly(fd, argument.data(), length))
            return;
        if (id == "QUIT")
            return;
        if (id == "STAT") {
            qint64 size = 0;
            const bool exists = phone.fileExists(QString::fromUtf8(argument), size);
            writeAll(fd, "STAT" + le32(exists ? 0100644 : 0) + le32(quint32(size)) +
                             le32(exists ? 1700000000 : 0));
            continue;
        }
        if (id == "SEND") {
            const QString pathAndMode = QString::fromUtf8(argument); // "<path>,<mode>"
            const QString path = pathAndMode.left(pathAndMode.lastIndexOf(QLatin1Char(',')));
            QByteArray content;
            for (;;) {
                if (!readExactly(fd, header, 8))
                    return;
                const QByteArray chunkId(header, 4);
                const quint32 chunkLength = fromLe32(header + 4);
                if (chunkId == "DONE")
                    break;
                if (chunkId != "DATA" || chunkLength > kMaxSyncChunk || content.size() > kMaxPushedFile)
                    return;
                QByteArray chunk(qsizetype(chunkLength), '\0');
                if (!readExactly(fd, chunk.data(), chunkLength))
                    return;
                content += chunk;
            }
            QString reason;
            if (phone.writeFile(path, content, reason))
                writeAll(fd, "OKAY" + le32(0));
            else
                writeAll(fd, "FAIL" + le32(quint32(reason.toUtf8().size())) + reason.toUtf8());
            continue;
        }
        const QByteArray reason = "unknown sync request";
        writeAll(fd, "FAIL" + le32(quint32(reason.size())) + reason);
        return;
    }
}

} // namespace sim
