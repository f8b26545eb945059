#include "DefaultCountry.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"

#include <QLocale>

#include <algorithm>

namespace {
// A region code and a line end; anything longer is not ours.
constexpr qint64 kMaxFileSize = 64;
} // namespace

QString DefaultCountry::filePath(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Default_Country.OSTREL");
}

QString DefaultCountry::region() const {
    const std::lock_guard lock(m_mutex);
    return m_normaliser.region();
}

NumberNormaliser DefaultCountry::normaliser() const {
    const std::lock_guard lock(m_mutex);
    return m_normaliser;
}

bool DefaultCountry::set(const QString& region) {
    const QString text = region.trimmed();
    const bool none = text.isEmpty() || text.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0;
    const NumberNormaliser next = none ? NumberNormaliser() : NumberNormaliser(text);
    if (!none && !next.active())
        return false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_normaliser.region() == next.region())
            return true;
        m_normaliser = next;
    }
    emit changed();
    return true;
}

bool DefaultCountry::choose(const QString& region, const DataFolder& folder, QString* error) {
    if (!set(region))
        return false;
    const QString code = this->region();
    if (!writeFileAtomically(filePath(folder), code.isEmpty() ? QByteArray() : code.toUtf8() + '\n', error)) {
        Show_NSLog_Message(
            QStringLiteral("The default country could not be kept in %1").arg(filePath(folder)));
        return false;
    }
    return true;
}

void DefaultCountry::load(const DataFolder& folder) {
    PrivateFile file(filePath(folder));
    QString code;
    if (file.open() && file.readAll().size() <= kMaxFileSize)
        code = QString::fromUtf8(file.readAll()).trimmed();
    if (!set(code)) {
        Show_NSLog_Message(
            QStringLiteral("Ignored default country \"%1\" in %2").arg(code, filePath(folder)));
        set(QString());
    }
}

QList<std::pair<QString, QString>> DefaultCountry::choices() {
    QList<std::pair<QString, QString>> regions;
    for (const QString& code : NumberNormaliser::regions()) {
        const QLocale::Territory territory = QLocale::codeToTerritory(code);
        const QString name =
            territory == QLocale::AnyTerritory ? code : QLocale::territoryToString(territory);
        regions.append(
            {code, QStringLiteral("%1 (%2, +%3)").arg(name, code, NumberNormaliser::callingCode(code))});
    }
    std::sort(regions.begin(), regions.end(), [](const auto& a, const auto& b) {
        return QString::localeAwareCompare(a.second, b.second) < 0;
    });
    regions.prepend({QString(), QStringLiteral("None: numbers compared as written")});
    return regions;
}
