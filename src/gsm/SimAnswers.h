#pragma once
// What a modem says of its SIM and of the network it is registered on, read from its answers
// (text in, value out): "+CPIN: SIM PIN" (3GPP TS 27.007 8.3), "+CREG: 0,5" (7.2),
// "+CEREG: 2,1,\"00C3\",\"01A2D001\",7" (10.1.22).
#include <QString>

#include <optional>

namespace SimAnswers {

enum class PinState {
    Ready,     // "+CPIN: READY"
    PinNeeded, // "+CPIN: SIM PIN"
    PukNeeded, // "+CPIN: SIM PUK"
    OtherCode, // another code is asked for ("PH-SIM PIN", "SIM PIN2", ...)
    NoSim,     // "+CME ERROR: 10" (SIM not inserted)
    Unknown,   // no "+CPIN:" answer at all
};
// The state, and in `code` the words after "+CPIN:" (for OtherCode).
PinState pinStateOf(const QString& answer, QString* code = nullptr);

// Registration states of 27.007 7.2.
enum class Registration { NotSearching = 0, Home = 1, Searching = 2, Denied = 3, Unknown = 4, Roaming = 5 };
// The <stat> of a "+CREG:"/"+CGREG:"/"+CEREG:" line of the answer, read or unsolicited form;
// nothing without one. Codes 6-10 (SMS only, emergency, CSFB) count as home or roaming as they say.
std::optional<Registration> registrationOf(const QString& answer);
bool isRegistered(Registration r);

// A person's word for a registration ("Home network", "Roaming", ...).
QString registrationText(Registration r);

// The text with every PIN given to a SIM ("AT+CPIN=\"1234\"", its echo too) masked, for the log.
QString withoutPin(QString text);

} // namespace SimAnswers
