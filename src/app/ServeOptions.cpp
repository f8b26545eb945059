#include "ServeOptions.h"

#include <QCommandLineParser>

#include <arpa/inet.h>

namespace {

// An IPv4 or IPv6 address as written; false for anything else (a host name included).
bool isAddress(const QString& host, bool* loopback) {
    const QByteArray text = host.toLatin1();
    in_addr v4{};
    in6_addr v6{};
    if (inet_pton(AF_INET, text.constData(), &v4) == 1) {
        *loopback = (ntohl(v4.s_addr) >> 24) == 127;
        return true;
    }
    if (inet_pton(AF_INET6, text.constData(), &v6) == 1) {
        *loopback = IN6_IS_ADDR_LOOPBACK(&v6);
        return true;
    }
    return false;
}

// "host:port", "[::1]:8080", ":8080" (loopback).
bool splitListen(const QString& text, QString& host, int& port) {
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon < 0)
        return false;
    host = text.left(colon);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    if (host.isEmpty())
        host = QStringLiteral("127.0.0.1");
    bool ok = false;
    port = text.mid(colon + 1).toInt(&ok);
    bool loopback = false;
    return ok && port >= 0 && port <= 65535 &&
           (host == QLatin1String("localhost") || isAddress(host, &loopback));
}

} // namespace

bool isLoopback(const QString& host) {
    bool loopback = false;
    return host == QLatin1String("localhost") || (isAddress(host, &loopback) && loopback);
}

std::optional<ApiServerOptions> ServeOptions::read(const QCommandLineParser& parser, QString* error) const {
    ApiServerOptions o;
    if (!splitListen(parser.value(listen), o.host, o.port)) {
        *error = QStringLiteral("--listen takes an address and a port such as 127.0.0.1:8080, not \"%1\".")
                     .arg(parser.value(listen));
        return std::nullopt;
    }
    o.tlsCert = parser.value(tlsCert);
    o.tlsKey = parser.value(tlsKey);
    if (o.tlsCert.isEmpty() != o.tlsKey.isEmpty()) {
        *error = QStringLiteral("--tls-cert and --tls-key go together.");
        return std::nullopt;
    }
    if (!isLoopback(o.host) && o.tlsCert.isEmpty() && !parser.isSet(insecureLan)) {
        *error =
            QStringLiteral("%1 is reached by other computers: serve it with --tls-cert and --tls-key, or "
                           "give --insecure-lan to send tokens in the clear.")
                .arg(o.host);
        return std::nullopt;
    }
    bool ok = false;
    o.rateLimit = parser.value(rateLimit).toInt(&ok);
    if (!ok || o.rateLimit < 0) {
        *error = QStringLiteral("--rate-limit takes a number of requests a second, not \"%1\".")
                     .arg(parser.value(rateLimit));
        return std::nullopt;
    }
    o.maxBody = parser.value(maxBody).toLongLong(&ok);
    if (!ok || o.maxBody < 1024) {
        *error = QStringLiteral("--max-body takes a number of bytes (1024 or more), not \"%1\".")
                     .arg(parser.value(maxBody));
        return std::nullopt;
    }
    return o;
}
