#include "TextModeLimits.h"

#include "text/GsmAlphabet.h"

#include <QSet>

#include <algorithm>

namespace {

// "needs 2 linked parts (Unicode)"
QString needs(const QString& text, SmsCoding coding) {
    return QStringLiteral("needs %1 linked parts%2")
        .arg(SmsParts::partsOf(text, coding).size())
        .arg(coding == SmsCoding::Ucs2 ? QStringLiteral(" (Unicode)") : QString());
}

} // namespace

namespace TextModeLimits {

SmsCoding codingOf(const QString& text) {
    return Check_UNICODE_Message(text) ? SmsCoding::Ucs2 : SmsCoding::Gsm7;
}

bool carries(SmsMode mode, const OutgoingMessage& message) {
    return mode != SmsMode::Text || SmsParts::fitsSingle(message.text, codingOf(message.text));
}

QString notSent(const QString& text, SmsCoding coding) {
    return QStringLiteral(
               "Not sent: the message %1, which text mode cannot send as one message (PDU mode can).")
        .arg(needs(text, coding));
}

QString refusal(const QList<OutgoingMessage>& messages, const QList<Port>& ports,
                const QStringList& offeringPdu) {
    const bool allInTextMode =
        !ports.isEmpty() && std::all_of(ports.cbegin(), ports.cend(),
                                        [](const Port& port) { return port.mode == SmsMode::Text; });
    if (!allInTextMode)
        return {};
    QSet<QString> checked; // the texts of a list are mostly one
    for (const OutgoingMessage& message : messages) {
        if (checked.contains(message.text))
            continue;
        checked.insert(message.text);
        if (carries(SmsMode::Text, message))
            continue;
        QStringList paths;
        for (const Port& port : ports)
            paths << port.path;
        return QStringLiteral("The message to %1 %2, which %3 in text mode cannot send as one message. %4")
            .arg(message.number, needs(message.text, codingOf(message.text)),
                 paths.join(QStringLiteral(", ")),
                 offeringPdu.isEmpty() ? QStringLiteral("Use PDU mode on a device that offers it.")
                                       : QStringLiteral("Use PDU mode, or a device that offers it: %1.")
                                             .arg(offeringPdu.join(QStringLiteral(", "))));
    }
    return {};
}

} // namespace TextModeLimits
