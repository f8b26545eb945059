#include "PhoneConfig.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace sim {

PhoneConfig PhoneConfig::typical() {
    PhoneConfig phone;
    phone.properties = {
        {QStringLiteral("ro.product.manufacturer"), QStringLiteral("Virtual")},
        {QStringLiteral("ro.product.model"), QStringLiteral("Phone 5G")},
        {QStringLiteral("ro.product.name"), QStringLiteral("vphone")},
        {QStringLiteral("ro.product.device"), QStringLiteral("vphone")},
        {QStringLiteral("ro.build.version.release"), QStringLiteral("11")},
        {QStringLiteral("ro.build.version.sdk"), QStringLiteral("30")},
        {QStringLiteral("gsm.operator.alpha"), QStringLiteral("Demo Net")},
        {QStringLiteral("gsm.sim.state"), QStringLiteral("READY")},
    };
    return phone;
}

bool parseInstallOutcome(const QString& text, PhoneConfig::Install& install) {
    if (text == QLatin1String("success"))
        install = PhoneConfig::Install::Success;
    else if (text == QLatin1String("fail-once"))
        install = PhoneConfig::Install::FailOnce;
    else if (text == QLatin1String("fail-always"))
        install = PhoneConfig::Install::FailAlways;
    else
        return false;
    return true;
}

void setPhoneShorthand(PhoneConfig& phone, const QString& key, const QString& value) {
    static const QHash<QString, QString> properties = {
        {QStringLiteral("model"), QStringLiteral("ro.product.model")},
        {QStringLiteral("manufacturer"), QStringLiteral("ro.product.manufacturer")},
        {QStringLiteral("release"), QStringLiteral("ro.build.version.release")},
        {QStringLiteral("api"), QStringLiteral("ro.build.version.sdk")},
        {QStringLiteral("operator"), QStringLiteral("gsm.operator.alpha")},
    };
    if (properties.contains(key))
        phone.properties.insert(properties.value(key), value);
}

bool readPhoneConfigs(const QString& path, QList<PhoneConfig>& phones, QString& reason) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reason = QStringLiteral("cannot read %1").arg(path);
        return false;
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isObject() || !document.object().value(QStringLiteral("phones")).isArray()) {
        reason = QStringLiteral("%1: expected {\"phones\": [...]}").arg(path);
        return false;
    }
    for (const auto& entry : document.object().value(QStringLiteral("phones")).toArray()) {
        const QJsonObject o = entry.toObject();
        PhoneConfig phone = PhoneConfig::typical();
        phone.serial =
            o.value(QStringLiteral("serial"))
                .toString(QStringLiteral("VPHONE%1").arg(phones.size() + 1, 4, 10, QLatin1Char('0')));
        phone.state = o.value(QStringLiteral("state")).toString(phone.state);
        phone.externalStorage = o.value(QStringLiteral("external_storage")).toString(phone.externalStorage);
        if (o.contains(QStringLiteral("install")) &&
            !parseInstallOutcome(o.value(QStringLiteral("install")).toString(), phone.install)) {
            reason = QStringLiteral("%1: unknown install outcome").arg(path);
            return false;
        }
        phone.appInstalled = o.value(QStringLiteral("app_installed")).toBool(false);
        phone.pushFails = o.value(QStringLiteral("push_fails")).toBool(false);
        for (const QJsonValue path : o.value(QStringLiteral("start_errors")).toArray())
            phone.startErrors << path.toString();
        phone.busyStarts = o.value(QStringLiteral("busy_starts")).toInt(0);
        phone.unplugAfter = o.value(QStringLiteral("unplug_after")).toInt(0);
        phone.authorizeAfter = o.value(QStringLiteral("authorize_after")).toInt(0);
        for (const QJsonValue number : o.value(QStringLiteral("send_fails")).toArray())
            phone.sendFails << number.toString();
        for (const QJsonValue number : o.value(QStringLiteral("queued")).toArray())
            phone.queued << number.toString();
        phone.smsQueryDenied = o.value(QStringLiteral("sms_query_denied")).toBool(false);
        phone.incomingPath = o.value(QStringLiteral("incoming")).toString();
        for (const QString& key :
             {QStringLiteral("model"), QStringLiteral("manufacturer"), QStringLiteral("release"),
              QStringLiteral("api"), QStringLiteral("operator")})
            if (o.contains(key))
                setPhoneShorthand(phone, key, o.value(key).toVariant().toString());
        const QJsonObject properties = o.value(QStringLiteral("properties")).toObject();
        for (auto it = properties.begin(); it != properties.end(); ++it)
            phone.properties.insert(it.key(), it.value().toVariant().toString());
        phones.append(phone);
    }
    return true;
}

} // namespace sim
