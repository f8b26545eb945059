#include "ModemProfile.h"

#include "TextCharset.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <functional>
#include <map>

namespace sim::ModemProfile {
namespace {

const QString kFolder = QStringLiteral(":/sim/profiles/");
constexpr int kLongestWait = 600000; // ms: a profile's timing stays within ten minutes

using Reader = std::function<bool(const QJsonValue&, ModemIdentity&, ModemBehaviour&, QString*)>;

bool fail(QString* error, const QString& why) {
    if (error)
        *error = why;
    return false;
}

bool readStrings(const QJsonValue& value, QStringList* out) {
    if (!value.isArray())
        return false;
    for (const QJsonValue item : value.toArray()) {
        if (!item.isString())
            return false;
        out->append(item.toString());
    }
    return true;
}

bool readIdentity(const QJsonValue& value, ModemIdentity& identity, ModemBehaviour&, QString* error) {
    const QJsonObject object = value.toObject();
    const std::map<QString, QString*> fields = {{QStringLiteral("manufacturer"), &identity.manufacturer},
                                                {QStringLiteral("model"), &identity.model},
                                                {QStringLiteral("revision"), &identity.revision},
                                                {QStringLiteral("imei"), &identity.imei}};
    for (auto it = object.begin(); it != object.end(); ++it) {
        const auto field = fields.find(it.key());
        if (field == fields.end() || !it.value().isString())
            return fail(error, QStringLiteral("identity: unknown or not a text: %1").arg(it.key()));
        *field->second = it.value().toString();
    }
    return value.isObject() || fail(error, QStringLiteral("identity is not an object"));
}

bool readAnswers(const QJsonValue& value, ModemIdentity&, ModemBehaviour& behaviour, QString* error) {
    if (!value.isObject())
        return fail(error, QStringLiteral("answers is not an object"));
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        QStringList lines;
        if (!it.key().startsWith(QLatin1String("AT"), Qt::CaseInsensitive) ||
            !readStrings(it.value(), &lines))
            return fail(error, QStringLiteral("answers: %1 needs a command and its lines").arg(it.key()));
        behaviour.answerLines.insert(it.key().toUpper(), lines);
    }
    return true;
}

bool readErrorTexts(const QJsonValue& value, QMap<int, QString>& into, QString* error) {
    if (!value.isObject())
        return fail(error, QStringLiteral("error texts are not an object"));
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        bool numeric = false;
        const int code = it.key().toInt(&numeric);
        if (!numeric || code < 0 || code > 999 || !it.value().isString())
            return fail(error,
                        QStringLiteral("error text %1 needs a code from 0 to 999 and a text").arg(it.key()));
        into.insert(code, it.value().toString());
    }
    return true;
}

bool readIndications(const QJsonValue& value, ModemIdentity&, ModemBehaviour& behaviour, QString* error) {
    if (!value.isArray())
        return fail(error, QStringLiteral("indications is not a list"));
    for (const QJsonValue item : value.toArray()) {
        const QJsonObject object = item.toObject();
        TimedIndication indication;
        indication.line = object.value(QStringLiteral("line")).toString();
        const double after = object.value(QStringLiteral("afterMs")).toDouble(-1);
        const double every = object.value(QStringLiteral("everyMs")).toDouble(0);
        if (indication.line.isEmpty() ||
            indication.line.contains(QRegularExpression(QStringLiteral("[\r\n]"))) || after < 0 ||
            after > kLongestWait || every < 0 || every > kLongestWait || object.size() > 3)
            return fail(error, QStringLiteral("an indication needs a line, afterMs and at most everyMs"));
        indication.afterMs = int(after);
        indication.everyMs = int(every);
        behaviour.timedIndications.append(indication);
    }
    return true;
}

bool readBool(const QJsonValue& value, bool& into, const QString& key, QString* error) {
    if (!value.isBool())
        return fail(error, QStringLiteral("%1 is true or false").arg(key));
    into = value.toBool();
    return true;
}

const std::map<QString, Reader>& readers() {
    static const std::map<QString, Reader> table = {
        {QStringLiteral("identity"), readIdentity},
        {QStringLiteral("answers"), readAnswers},
        {QStringLiteral("indications"), readIndications},
        {QStringLiteral("echo"), [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b,
                                    QString* e) { return readBool(v, b.echo, QStringLiteral("echo"), e); }},
        {QStringLiteral("reportsStoredOnly"),
         [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b, QString* e) {
             return readBool(v, b.reportsStoredOnly, QStringLiteral("reportsStoredOnly"), e);
         }},
        {QStringLiteral("prompt"),
         [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b, QString* e) {
             if (!v.isString() || !v.toString().startsWith(u'>'))
                 return fail(e, QStringLiteral("prompt is a text beginning with \">\""));
             b.prompt = "\r\n" + v.toString().toLatin1();
             return true;
         }},
        {QStringLiteral("modes"),
         [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b, QString* e) {
             const QString m = v.toString();
             if (m == u"pdu")
                 b.modes = ModemBehaviour::Modes::PduOnly;
             else if (m == u"text")
                 b.modes = ModemBehaviour::Modes::TextOnly;
             else if (m == u"both")
                 b.modes = ModemBehaviour::Modes::Both;
             else
                 return fail(e, QStringLiteral("modes is pdu, text or both"));
             return true;
         }},
        {QStringLiteral("charsets"),
         [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b, QString* e) {
             QStringList sets;
             if (!readStrings(v, &sets) || sets.isEmpty())
                 return fail(e, QStringLiteral("charsets is a list of character sets"));
             for (const QString& set : sets)
                 if (!TextCharset::isSupported(set))
                     return fail(e, QStringLiteral("charsets: the simulator has no %1").arg(set));
             b.characterSets = sets;
             return true;
         }},
        {QStringLiteral("unknownCommands"),
         [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b, QString* e) {
             QStringList names;
             if (!readStrings(v, &names))
                 return fail(e, QStringLiteral("unknownCommands is a list of command names"));
             for (const QString& name : names)
                 b.unknownCommands << name.toUpper();
             return true;
         }},
        {QStringLiteral("cmsTexts"), [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b,
                                        QString* e) { return readErrorTexts(v, b.cmsTexts, e); }},
        {QStringLiteral("cmeTexts"), [](const QJsonValue& v, ModemIdentity&, ModemBehaviour& b,
                                        QString* e) { return readErrorTexts(v, b.cmeTexts, e); }},
    };
    return table;
}

// Keys that describe the profile rather than the modem.
const QStringList kAboutKeys = {QStringLiteral("name"), QStringLiteral("title"), QStringLiteral("manual"),
                                QStringLiteral("notes")};

} // namespace

QStringList names() {
    QStringList found;
    for (const QString& file : QDir(kFolder).entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name))
        found << file.chopped(5);
    return found;
}

QByteArray text(const QString& name) {
    static const QRegularExpression plain(QStringLiteral("^[a-z0-9_-]{1,32}$"));
    if (!plain.match(name).hasMatch())
        return {}; // a name, never a path
    QFile file(kFolder + name + QStringLiteral(".json"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool apply(const QString& name, ModemIdentity& identity, ModemBehaviour& behaviour, QString* error) {
    const QByteArray json = text(name);
    if (json.isEmpty())
        return fail(error, QStringLiteral("no profile \"%1\"; there are %2").arg(name, names().join(u',')));
    QString why;
    if (!applyJson(json, identity, behaviour, &why))
        return fail(error, QStringLiteral("profile %1: %2").arg(name, why));
    return true;
}

bool applyJson(const QByteArray& json, ModemIdentity& identity, ModemBehaviour& behaviour, QString* error) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (!document.isObject())
        return fail(error, parseError.error == QJsonParseError::NoError ? QStringLiteral("not a JSON object")
                                                                        : parseError.errorString());
    ModemIdentity newIdentity = identity;
    ModemBehaviour newBehaviour = behaviour;
    const QJsonObject root = document.object();
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (kAboutKeys.contains(it.key()))
            continue;
        const auto reader = readers().find(it.key());
        if (reader == readers().end())
            return fail(error, QStringLiteral("unknown detail \"%1\"").arg(it.key()));
        const QJsonObject detail = it.value().toObject();
        if (detail.value(QStringLiteral("source")).toString().trimmed().isEmpty())
            return fail(error, QStringLiteral("%1 does not name its source").arg(it.key()));
        for (const QString& key : detail.keys())
            if (key != u"value" && key != u"source" && key != u"uncertain")
                return fail(error, QStringLiteral("%1: unknown key \"%2\"").arg(it.key(), key));
        if (!reader->second(detail.value(QStringLiteral("value")), newIdentity, newBehaviour, error))
            return false;
    }
    identity = newIdentity;
    behaviour = newBehaviour;
    return true;
}

} // namespace sim::ModemProfile
