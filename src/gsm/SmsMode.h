#pragma once
// How a modem is asked to submit messages. Device records keep the mode as its prescribed
// text ("SMSMode": "PDU Mode", "Text Mode"); inside, it is this enum, mapped in one place.
#include <QString>

enum class SmsMode { Unknown, Pdu, Text };

inline const QString kPduModeText = QStringLiteral("PDU Mode");
inline const QString kTextModeText = QStringLiteral("Text Mode");
inline const QString kUnknownModeText = QStringLiteral("NONE"); // what the search records when neither works

inline SmsMode smsModeFromText(const QString& text) {
    if (text == kPduModeText)
        return SmsMode::Pdu;
    if (text == kTextModeText)
        return SmsMode::Text;
    return SmsMode::Unknown;
}

inline QString smsModeText(SmsMode mode) {
    switch (mode) {
    case SmsMode::Pdu: return kPduModeText;
    case SmsMode::Text: return kTextModeText;
    case SmsMode::Unknown: break;
    }
    return kUnknownModeText;
}
