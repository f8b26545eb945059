#include "OpenApiDocument.h"

#include "api/ApiFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace {

bool hasType(const QJsonValue& value, const QString& type) {
    if (type == QLatin1String("object"))
        return value.isObject();
    if (type == QLatin1String("array"))
        return value.isArray();
    if (type == QLatin1String("string"))
        return value.isString();
    if (type == QLatin1String("boolean"))
        return value.isBool();
    if (type == QLatin1String("integer"))
        return value.isDouble() && value.toDouble() == double(qint64(value.toDouble()));
    if (type == QLatin1String("number"))
        return value.isDouble();
    return false;
}

} // namespace

OpenApiDocument::OpenApiDocument()
    : m_document(QJsonDocument::fromJson(apiFile(QStringLiteral("openapi.json"))).object()) {}

QStringList OpenApiDocument::operations() const {
    QStringList all;
    const QJsonObject paths = m_document.value("paths").toObject();
    for (auto path = paths.begin(); path != paths.end(); ++path)
        for (const QString& method : path.value().toObject().keys())
            if (method != QLatin1String("parameters") && method != QLatin1String("summary") &&
                method != QLatin1String("description"))
                all << method.toUpper() + QLatin1Char(' ') + path.key();
    return all;
}

QString OpenApiDocument::operationOf(const QString& method, const QString& path) const {
    const QString bare = path.section(QLatin1Char('?'), 0, 0);
    const QJsonObject paths = m_document.value("paths").toObject();
    for (auto it = paths.begin(); it != paths.end(); ++it) {
        QString pattern = QRegularExpression::escape(it.key());
        pattern.replace(QRegularExpression(QStringLiteral("\\\\\\{[a-z_]+\\\\\\}")), QStringLiteral("[^/]+"));
        if (QRegularExpression(QLatin1Char('^') + pattern + QLatin1Char('$')).match(bare).hasMatch() &&
            it.value().toObject().contains(method.toLower()))
            return method.toUpper() + QLatin1Char(' ') + it.key();
    }
    return {};
}

QJsonObject OpenApiDocument::resolved(QJsonObject schema) const {
    while (schema.contains("$ref")) {
        QJsonValue at = m_document;
        for (const QString& part : schema.value("$ref").toString().mid(2).split(QLatin1Char('/')))
            at = at.toObject().value(part);
        schema = at.toObject();
    }
    return schema;
}

QString OpenApiDocument::check(const QJsonValue& value, const QJsonObject& given,
                               const QString& where) const {
    const QJsonObject schema = resolved(given);
    if (value.isNull() && schema.value("nullable").toBool())
        return {};
    if (schema.contains("oneOf")) {
        int matching = 0;
        for (const QJsonValue option : schema.value("oneOf").toArray())
            matching += check(value, option.toObject(), where).isEmpty();
        return matching == 1 ? QString() : where + QStringLiteral(": matches %1 of oneOf").arg(matching);
    }
    const QString type = schema.value("type").toString();
    if (!type.isEmpty() && !hasType(value, type))
        return where + QStringLiteral(": not of type ") + type;
    if (schema.contains("enum") && !schema.value("enum").toArray().contains(value))
        return where + QStringLiteral(": ") + value.toVariant().toString() +
               QStringLiteral(" is not in the enum");
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        const QJsonObject properties = schema.value("properties").toObject();
        for (const QJsonValue required : schema.value("required").toArray())
            if (!object.contains(required.toString()))
                return where + QStringLiteral(": misses ") + required.toString();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (properties.contains(it.key())) {
                if (QString why =
                        check(it.value(), properties.value(it.key()).toObject(), where + '.' + it.key());
                    !why.isEmpty())
                    return why;
            } else if (schema.value("additionalProperties") == QJsonValue(false)) {
                return where + QStringLiteral(": has undocumented ") + it.key();
            }
        }
    }
    if (value.isArray() && schema.contains("items")) {
        const QJsonArray array = value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i)
            if (QString why = check(array.at(i), schema.value("items").toObject(),
                                    where + QStringLiteral("[%1]").arg(i));
                !why.isEmpty())
                return why;
    }
    return {};
}

QString OpenApiDocument::mismatch(const QString& operation, int status, const QByteArray& body) const {
    const QString method = operation.section(QLatin1Char(' '), 0, 0).toLower();
    const QString path = operation.section(QLatin1Char(' '), 1);
    const QJsonObject responses = m_document.value("paths")
                                      .toObject()
                                      .value(path)
                                      .toObject()
                                      .value(method)
                                      .toObject()
                                      .value("responses")
                                      .toObject();
    if (!responses.contains(QString::number(status)))
        return QStringLiteral("%1 answered %2, which the document does not list").arg(operation).arg(status);
    const QJsonObject response = resolved(responses.value(QString::number(status)).toObject());
    const QJsonObject content = response.value("content").toObject();
    if (content.isEmpty())
        return body.isEmpty() ? QString()
                              : operation + QStringLiteral(": a body where the document has none");
    QJsonParseError error{};
    const QJsonDocument json = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return operation + QStringLiteral(": the body is not JSON");
    const QJsonValue value = json.isArray() ? QJsonValue(json.array()) : QJsonValue(json.object());
    const QString why =
        check(value, content.value("application/json").toObject().value("schema").toObject(), "$");
    return why.isEmpty() ? QString() : QStringLiteral("%1 %2: %3").arg(operation).arg(status).arg(why);
}
