#include "SimAnswers.h"

#include <QRegularExpression>
#include <QStringList>

namespace SimAnswers {

PinState pinStateOf(const QString& answer, QString* code) {
    for (const QString& raw : answer.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.startsWith(QLatin1String("+CME ERROR:"))) {
            const QString what = line.mid(11).trimmed();
            if (what == QLatin1String("10") ||
                what.compare(QLatin1String("SIM not inserted"), Qt::CaseInsensitive) == 0)
                return PinState::NoSim;
            continue;
        }
        if (!line.startsWith(QLatin1String("+CPIN:")))
            continue;
        const QString value = line.mid(6).trimmed().remove(QLatin1Char('"')).toUpper();
        if (code)
            *code = value;
        if (value == QLatin1String("READY"))
            return PinState::Ready;
        if (value == QLatin1String("SIM PIN"))
            return PinState::PinNeeded;
        if (value == QLatin1String("SIM PUK"))
            return PinState::PukNeeded;
        return value.isEmpty() ? PinState::Unknown : PinState::OtherCode;
    }
    return PinState::Unknown;
}

std::optional<Registration> registrationOf(const QString& answer) {
    for (const QString& raw : answer.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        const qsizetype colon = line.indexOf(QLatin1Char(':'));
        if (colon < 0)
            continue;
        const QString prefix = line.left(colon);
        if (prefix != QLatin1String("+CREG") && prefix != QLatin1String("+CGREG") &&
            prefix != QLatin1String("+CEREG"))
            continue;
        const QStringList fields = line.mid(colon + 1).split(QLatin1Char(','));
        // The read form begins with <n>; the unsolicited one with <stat>, then quoted places.
        const bool readForm = fields.size() >= 2 && !fields.at(1).trimmed().startsWith(QLatin1Char('"'));
        bool ok = false;
        const int stat = fields.at(readForm ? 1 : 0).trimmed().toInt(&ok);
        if (!ok)
            continue;
        switch (stat) {
        case 0: return Registration::NotSearching;
        case 1:
        case 6:
        case 9: return Registration::Home; // also "SMS only" and "CSFB not preferred", home
        case 2: return Registration::Searching;
        case 3: return Registration::Denied;
        case 8: return Registration::NotSearching; // emergency bearer services only: no messages
        case 5:
        case 7:
        case 10: return Registration::Roaming;
        default: return Registration::Unknown;
        }
    }
    return std::nullopt;
}

bool isRegistered(Registration r) { return r == Registration::Home || r == Registration::Roaming; }

QString registrationText(Registration r) {
    switch (r) {
    case Registration::NotSearching: return QStringLiteral("Not registered");
    case Registration::Home: return QStringLiteral("Home network");
    case Registration::Searching: return QStringLiteral("Searching for a network…");
    case Registration::Denied: return QStringLiteral("Registration denied by the network");
    case Registration::Roaming: return QStringLiteral("Roaming");
    case Registration::Unknown: break;
    }
    return QStringLiteral("Unknown");
}

QString withoutPin(QString text) {
    // "AT+CPIN=<pin>[,<new pin>]", quoted or not, as typed and as echoed.
    static const QRegularExpression given(QStringLiteral("(\\+CPIN\\s*=)[^\\r\\n;]*"),
                                          QRegularExpression::CaseInsensitiveOption);
    return text.replace(given, QStringLiteral("\\1\"****\""));
}

} // namespace SimAnswers
