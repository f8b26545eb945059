#pragma once
// The options of the HTTP API's server, which "bulksms serve" and "bulksms worker --serve" share.
#include "api/ApiServer.h"

#include <QCommandLineOption>
#include <QList>

#include <optional>

class QCommandLineParser;

struct ServeOptions {
    const QCommandLineOption listen{
        QStringLiteral("listen"),
        QStringLiteral("Address and port to listen on (default 127.0.0.1:8080; port 0: "
                       "any free port, told on standard error)."),
        QStringLiteral("host:port"), QStringLiteral("127.0.0.1:8080")};
    const QCommandLineOption tlsCert{QStringLiteral("tls-cert"),
                                     QStringLiteral("Serve HTTPS with this certificate (PEM)."),
                                     QStringLiteral("file")};
    const QCommandLineOption tlsKey{QStringLiteral("tls-key"),
                                    QStringLiteral("The certificate's private key (PEM)."),
                                    QStringLiteral("file")};
    const QCommandLineOption insecureLan{
        QStringLiteral("insecure-lan"),
        QStringLiteral(
            "Listen on an address other computers reach without TLS (tokens then cross the network "
            "in the clear).")};
    const QCommandLineOption rateLimit{
        QStringLiteral("rate-limit"),
        QStringLiteral("Requests a second each token may make (default 20; 0: no limit)."),
        QStringLiteral("n"), QStringLiteral("20")};
    const QCommandLineOption maxBody{QStringLiteral("max-body"),
                                     QStringLiteral("Largest request body in bytes (default 4194304)."),
                                     QStringLiteral("bytes"), QStringLiteral("4194304")};

    QList<QCommandLineOption> all() const {
        return {listen, tlsCert, tlsKey, insecureLan, rateLimit, maxBody};
    }
    // The server's options as given; nothing with why (a usage error).
    std::optional<ApiServerOptions> read(const QCommandLineParser& parser, QString* error) const;
};

// True for an address only this computer reaches (127.0.0.0/8, ::1, localhost).
bool isLoopback(const QString& host);
