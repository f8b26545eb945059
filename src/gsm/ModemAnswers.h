#pragma once
// Judging what a modem answered: pure functions, text in and value out, kept apart from the
// port so that every rule can be checked against recorded answers.
#include "SmsFormat.h"
#include "device/SendOutcome.h"

#include <QString>

#include <QStringList>
#include <QStringView>
#include <optional>

namespace ModemAnswers {

// The comma-separated fields of an answer line ("+CMGL: 1,\"REC UNREAD\",\"+44…\""), commas
// inside quotes kept, the quotes taken off, each field trimmed.
QStringList quotedFields(QStringView text);

// The rule of every AT read: the trimmed answer is non-empty, holds no "ERROR" anywhere and
// holds the expected text (itself trimmed). Case-sensitive.
bool answerHolds(const QString& answer, const QString& expected);

// The modem's error text in an answer, or "" when it reports none: a bare "ERROR" stays
// "ERROR", "+CMS ERROR..." and "+CME ERROR..." are kept from there on, and any other text
// holding "ERROR" becomes "+CMS ERROR:500".
QString smsErrorText(const QString& answer);

// Answer to "AT+CMGF=?": 0 no format, 1 PDU only, 2 text only, 3 both.
int supportedSmsFormats(const QString& answer);

// Answer to "AT+CMGF?": the digit 0 or 1 it names, Both when it names both, Unknown when neither.
SmsFormat selectedSmsFormat(const QString& answer);

// True once an answer has reached its final result, so that a read can end as soon as the
// modem has replied instead of waiting out its time-out: a whole line "OK", "ERROR" (or a
// vendor line ending in it), "+CMS ERROR: n", "+CME ERROR: n", "NO CARRIER" or "COMMAND NOT
// SUPPORT", or, when a prompt is awaited, the "> " prompt (which no line end follows). Only
// whole lines count: a line still arriving may be longer than it looks. An echoed command
// line ("AT...") is ours coming back, never a result.
bool holdsFinalResult(const QString& answer, bool promptAwaited = false);

// The answer without the unsolicited result codes a modem slips between its answers
// ("^RSSI: 14" and every other "^" line, "+CREG:", "+CMTI:", "RING", ...), each removed with
// its line end; the lines taken out go to `removed` when given. A code the command itself
// asked for ("+CREG:" after "AT+CREG?") is its answer and stays: `command` is the command
// line the answer belongs to, "" when unknown. A status report in PDU mode ("+CDS: <length>")
// takes its PDU line with it, as the next entry of `removed`.
QString withoutUnsolicited(const QString& answer, const QString& command = {},
                           QStringList* removed = nullptr);

// Why nothing was sent in a format whose AT+CMGF the modem refused:
// "the device refused PDU Mode (AT+CMGF=0)".
inline QString formatRefusal(bool pdu) {
    return pdu ? QStringLiteral("the device refused PDU Mode (AT+CMGF=0)")
               : QStringLiteral("the device refused Text Mode (AT+CMGF=1)");
}

// A recorded status that is the modem's refusal: "ERROR", or "CMS"/"CME" in its first four characters.
bool isRefusal(const QString& status);

// The outcomes' words are the device layer's; these names stay for the callers above.
using ::kStatusConnectionError;
using ::kStatusSent;
using ::kStatusSentToDevice;
using ::kStatusUnknown;

// True for the two statuses that mean the network took the message.
inline bool isSent(const QString& status) { return status == kStatusSent || status == kStatusSentToDevice; }
// A device whose SMS capability the probe could not prove: what it accepts is "sent to device".
inline const QString kCapabilityNotDetected = QStringLiteral("Not Detected");

// A text that none of the modem's text-mode character sets carries exactly: refused before
// anything was typed, so nothing garbled reaches the recipient.
inline const QString kStatusTextModeCannotCarry =
    QStringLiteral("Not sent: this modem cannot carry these characters in text mode (PDU mode can).");

// The network's reference in a submission's answer (a line "+CMGS: <mr>"), if there is one.
std::optional<int> messageReference(const QString& answer);

// "AT+CSMP=17,255,0,<dcs>\r\n" for the flags; first value 49 when a status report is asked for.
QString textModeParametersCommand(bool flash_sms, bool unicode_sms, bool statusReport = false);

// "AT+CSCA=\"<number>\",145\r\n" for an international number, ",129" otherwise.
QString serviceCentreCommand(const QString& number);

} // namespace ModemAnswers
