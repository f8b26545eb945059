#pragma once
// Requests made with the real curl, as another program on the computer makes them: the status,
// the headers and the body the server answered with.
#include <QByteArray>
#include <QJsonDocument>
#include <QMap>
#include <QString>
#include <QStringList>

struct HttpAnswer {
    int status = 0;                 // 0: no answer (curl failed)
    QMap<QString, QString> headers; // names in lower case
    QByteArray body;
    QJsonDocument json() const { return QJsonDocument::fromJson(body); }
    QString header(const QString& name) const { return headers.value(name.toLower()); }
};

struct HttpRequest {
    QString method = QStringLiteral("GET");
    QString url;
    QByteArray body;
    bool hasBody = false;
    QStringList headers; // "Name: value"
    QString token;       // sent as a bearer token when not empty
};

HttpAnswer curl(const HttpRequest& request);
