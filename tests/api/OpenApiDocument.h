#pragma once
// The API's own OpenAPI document, as the server ships it, used to check answers: which
// operation a request was, and whether a response body matches the schema the document gives
// for its status. The schema words understood are those the document uses: type, nullable,
// properties, required, additionalProperties, items, enum, oneOf, $ref.
#include <QJsonObject>
#include <QString>
#include <QStringList>

class OpenApiDocument {
public:
    OpenApiDocument(); // the document the server serves

    // "POST /v1/campaigns/{id}/cancel" for "POST", "/v1/campaigns/7/cancel?x=1"; "" when the
    // document has no such operation.
    QString operationOf(const QString& method, const QString& path) const;
    // Every operation of the document, as operationOf names them.
    QStringList operations() const;

    // Why the answer does not match the document ("" when it does): an undocumented status, a
    // body that breaks the status's schema (with the JSON path of the first break).
    QString mismatch(const QString& operation, int status, const QByteArray& body) const;

private:
    QString check(const QJsonValue& value, const QJsonObject& schema, const QString& where) const;
    QJsonObject resolved(QJsonObject schema) const;

    QJsonObject m_document;
};
