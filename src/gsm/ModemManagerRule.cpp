#include "ModemManagerRule.h"

#include "core/DurableFile.h"

#include <QRegularExpression>

namespace ModemManagerRule {
namespace {

bool isUsbId(const QString& id) {
    static const QRegularExpression fourHex(QStringLiteral("^[0-9a-fA-F]{4}$"));
    return fourHex.match(id).hasMatch();
}

// One word for /bin/sh, whatever the path holds.
QString shellQuoted(const QString& text) {
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace

QString ruleFor(const UsbIds& ids) {
    if (!isUsbId(ids.first) || !isUsbId(ids.second))
        return QString();
    return QStringLiteral("ATTRS{idVendor}==\"%1\", ATTRS{idProduct}==\"%2\", ENV{ID_MM_DEVICE_IGNORE}=\"1\"")
        .arg(ids.first.toLower(), ids.second.toLower());
}

QString fileText(const QList<UsbIds>& modems) {
    QStringList lines{QStringLiteral("# ModemManager leaves these modems to the bulk SMS sender.")};
    const qsizetype header = lines.size();
    for (const UsbIds& ids : modems)
        if (const QString rule = ruleFor(ids); !rule.isEmpty() && !lines.contains(rule))
            lines << rule;
    if (lines.size() == header)
        return QString();
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString installCommand(const QString& file) {
    return QStringLiteral("sudo install -m 644 %1 /etc/udev/rules.d/ && sudo udevadm control --reload && "
                          "sudo udevadm trigger")
        .arg(shellQuoted(file));
}

bool write(const QString& file, const QList<UsbIds>& modems, QString* error) {
    const QString text = fileText(modems);
    if (text.isEmpty()) {
        if (error)
            *error = QStringLiteral("%1: no modem with USB ids to name").arg(file);
        return false;
    }
    DurableFile out(file);
    out.write(text.toUtf8());
    return out.commit(error);
}

} // namespace ModemManagerRule
