// What modems answer: the session's judging of every read (final results, refusals,
// unsolicited codes and status reports), the probe's reading of identity answers, the SIM's
// and the network's state, and the text-mode character sets offered.
#include "FuzzInput.h"
#include "device/DeliveryState.h"
#include "gsm/ModemAnswers.h"
#include "gsm/ProbeAnswers.h"
#include "gsm/SimAnswers.h"
#include "gsm/StatusReports.h"
#include "gsm/TextModeCharset.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    const QString& answer = in.text;
    // The session.
    ModemAnswers::answerHolds(answer, QStringLiteral("OK"));
    ModemAnswers::smsErrorText(answer);
    ModemAnswers::supportedSmsFormats(answer);
    ModemAnswers::selectedSmsFormat(answer);
    ModemAnswers::holdsFinalResult(answer, in.selector() % 2 == 0);
    QStringList removed;
    ModemAnswers::withoutUnsolicited(answer, QStringLiteral("AT+CMGS=23\r"), &removed);
    ModemAnswers::messageReference(answer);
    ModemAnswers::isRefusal(answer);
    StatusReports::fromUnsolicited(removed);
    StatusReports::fromUnsolicited(answer.split(QLatin1Char('\n')));
    StatusReports::fromStoredRead(answer);
    StatusReports::storedIndex(answer);
    if (const auto report = StatusReports::parse(answer, answer.section(QLatin1Char('\n'), 1)))
        deliveryStateOf(report->status);
    // The probe.
    const QString cleaned = ProbeAnswers::clean(answer, {QStringLiteral("+CGMM"), QStringLiteral("+CBC")});
    const QString quoted = ProbeAnswers::clean(answer, {QStringLiteral("+CSCA")}, true);
    ProbeAnswers::modelName(cleaned);
    ProbeAnswers::imeiDigits(cleaned);
    ProbeAnswers::batteryText(cleaned);
    ProbeAnswers::signalText(cleaned);
    ProbeAnswers::firstQuoted(quoted);
    ProbeAnswers::smscNumber(quoted);
    ProbeAnswers::decodeUcs2Hex(answer);
    ProbeAnswers::decodePacked7BitHex(answer);
    ProbeAnswers::iccidDigits(answer);
    // The SIM and the network.
    QString code;
    SimAnswers::pinStateOf(answer, &code);
    if (const auto registration = SimAnswers::registrationOf(answer))
        SimAnswers::registrationText(*registration);
    SimAnswers::withoutPin(answer);
    // Text mode.
    TextModeCharsets::choose(TextModeCharsets::offered(answer), answer);
    return 0;
}
