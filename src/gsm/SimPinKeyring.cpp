#include "SimPinKeyring.h"

#include "core/Log.h"

// GLib names a field "signals", a word Qt's headers take for their own keyword.
#pragma push_macro("signals")
#undef signals
#include <libsecret/secret.h>
#pragma pop_macro("signals")

namespace SimPinKeyring {
namespace {

const SecretSchema* schema() {
    static const SecretSchema s = {
        "org.bulksms.SimPin",
        SECRET_SCHEMA_NONE,
        {{"sim", SECRET_SCHEMA_ATTRIBUTE_STRING}, {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr};
    return &s;
}

// Takes a GError's message (and frees it); true when there was none.
bool noError(GError* gerror, QString* error) {
    if (gerror == nullptr)
        return true;
    const QString text = QString::fromUtf8(gerror->message);
    g_error_free(gerror);
    Show_NSLog_Message(QStringLiteral("Keyring: %1").arg(text));
    if (error)
        *error = text;
    return false;
}

} // namespace

std::optional<QString> find(const QString& simKey, QString* error) {
    GError* gerror = nullptr;
    const QByteArray key = simKey.toUtf8();
    gchar* secret = secret_password_lookup_sync(schema(), nullptr, &gerror, "sim", key.constData(), nullptr);
    if (!noError(gerror, error) || secret == nullptr)
        return std::nullopt;
    QString pin = QString::fromUtf8(secret);
    secret_password_free(secret);
    return pin;
}

bool remember(const QString& simKey, const QString& pin, QString* error) {
    GError* gerror = nullptr;
    const QByteArray key = simKey.toUtf8();
    const QByteArray label = QStringLiteral("SIM PIN (%1)").arg(simKey).toUtf8();
    const QByteArray secret = pin.toUtf8();
    const gboolean stored =
        secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, label.constData(), secret.constData(),
                                   nullptr, &gerror, "sim", key.constData(), nullptr);
    return noError(gerror, error) && stored;
}

bool forget(const QString& simKey, QString* error) {
    GError* gerror = nullptr;
    const QByteArray key = simKey.toUtf8();
    secret_password_clear_sync(schema(), nullptr, &gerror, "sim", key.constData(), nullptr);
    return noError(gerror, error);
}

SimPins pins() {
    SimPins p;
    p.find = [](const QString& key) { return find(key); };
    p.remember = [](const QString& key, const QString& pin) { return remember(key, pin); };
    p.forget = [](const QString& key) { return forget(key); };
    return p;
}

} // namespace SimPinKeyring
