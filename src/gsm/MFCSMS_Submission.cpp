// Handing one message for one recipient to the modem, in PDU mode (single or long) or in text
// mode (single only): run "AT+CMGS" for every part, wait for and judge the modem's answer.
#include "MFCSMS.h"

#include "ConcatenationReferences.h"
#include "ModemAnswers.h"
#include "PDU.h"
#include "TextModeCharset.h"
#include "TextModeLimits.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "text/GsmAlphabet.h"
#include "text/SmsParts.h"

#include <optional>

namespace {

const QString kOk = QStringLiteral("\r\nOK\r\n");
const QString kPrompt = QStringLiteral(">\r\n");
// Ctrl-Z ends a message body; it goes as a command of its own.
const QString kCtrlZ = QStringLiteral("\x1A\r\n");

constexpr int kSingleTpduOctets = 154;

struct Kind {
    const char* announcement;
    const char* responsePrefix;
};
constexpr Kind kLongPduUnicode{"1 = Long PDU SMS  = UNICODE", "UNICODE Long SMS PDU Response:: "};
constexpr Kind kSinglePduUnicode{"2 = Standard PDU SMS  = UNICODE",
                                 "UNICODE Standard Short SMS PDU Response:: "};
constexpr Kind kLongPdu{"3 = Long PDU SMS", "Long SMS PDU Response:: "};
constexpr Kind kSinglePdu{"4 = Standard PDU SMS", "Standard Short SMS PDU Response:: "};
constexpr Kind kSingleTextUnicode{"6 = Standard Text SMS  = UNICODE", "UNICODE Standard Short SMS Text :: "};
constexpr Kind kSingleText{"8 = Standard Text SMS", "standard Short SMS Text :: "};

void logPartHeader(int part, int total) {
    Show_NSLog_Message(QStringLiteral("\n------ %1 / %2 of message ------\n").arg(part).arg(total));
}

// Single when the text fits one message and its TPDU stays within what the modem takes.
bool fitsSingleMessage(const QString& single, const QString& message, SmsCoding coding) {
    return SmsParts::fitsSingle(message, coding) && PDU::actualPduLength(single) <= kSingleTpduOctets;
}

} // namespace

struct MFCSMS::Exchange {
    Exchange(int fd_, bool pduMode_, const QString& number_, const QString& smsc_, bool flash_,
             std::stop_token stop_)
        : fd(fd_), pduMode(pduMode_), number(number_), smsc(smsc_), flash(flash_), stop(std::move(stop_)) {}

    bool stopRequested() const { return stop.stop_requested(); }

    const int fd;
    const bool pduMode;
    const QString number;
    const QString smsc;
    const bool flash;
    const std::stop_token stop; // the run's Stop: no further part once it is asked
    Kind kind{};
    PDU encoder;
    QString promptLine;
    QList<int> references; // "+CMGS: <mr>" of every part the network accepted
    int part = 0, total = 1;
    std::optional<Outcome> failure; // why the current part was not accepted (none while all went well)
    QString failureReason;          // ... in the modem's words
    bool stopped = false;           // the run's Stop came between two parts
    bool handedOver = false;        // a body went out with its Ctrl-Z
    bool silent = false;            // ... and the modem said nothing conclusive about it in the answer wait

    void fail(Outcome outcome, const QString& reason = {}) {
        failure = outcome;
        failureReason = reason;
    }

    // How the submission ended; `completed`: its dialogue with the modem ran to its end.
    SendOutcome outcome(bool completed, const QString& sms_det) const {
        SendOutcome result;
        result.references = references;
        result.part = part;
        result.parts = total;
        if (!completed) {
            // The line gave out: a body already written may have left, one not written did not.
            result.outcome = handedOver ? Outcome::LineFailed : Outcome::NotHandedOver;
            result.reason = kStatusConnectionError;
        } else if (failure) {
            result.outcome = *failure;
            result.reason = failureReason;
        } else if (stopped) {
            result.outcome = Outcome::Stopped; // part: the parts the network has
        } else {
            result.outcome =
                sms_det == ModemAnswers::kCapabilityNotDetected ? Outcome::SentToDevice : Outcome::Sent;
            result.part = 0; // of the whole message
        }
        return result;
    }
};

bool MFCSMS::sendOneMessage(Exchange& ex, const QString& cmgsCommand, const QString& body) {
    // The format is checked before every message: another caller may have switched it.
    const SmsFormat selected = Get_Selected_CMGF_Mode(ex.fd);
    if (ex.pduMode ? selected == SmsFormat::Text : selected == SmsFormat::Pdu) {
        const bool set = ex.pduMode ? SET_CMGF_PDU_MODE(ex.fd) : SET_CMGF_TEXT_MODE(ex.fd);
        if (!set && !ModemAnswers::smsErrorText(m_sLastResponse).isEmpty()) {
            // Typed in the other format, the message would go out garbled or to a wrong number.
            ex.fail(Outcome::NotSent,
                    QStringLiteral("Not sent: %1.").arg(ModemAnswers::formatRefusal(ex.pduMode)));
            return true;
        }
    }

    if (!Write_Command(ex.fd, cmgsCommand))
        return false;
    Read_Command(ex.fd, kPrompt); // a missing prompt does not stop us: the modem's answer decides
    ex.promptLine = m_sLastResponse;
    const QString refusal = Trim_Str(Get_SMS_Error(ex.promptLine));
    if (!ex.promptLine.contains(QLatin1Char('>')) && ModemAnswers::isRefusal(refusal)) {
        // "AT+CMGS" refused outright: its text typed now would land on the modem's command
        // line, where a text that begins with "AT" is a command.
        ex.fail(Outcome::Refused, refusal);
        return true;
    }
    if (!Write_Command(ex.fd, body) || !Write_Command(ex.fd, kCtrlZ))
        return false;
    ex.handedOver = true; // from here on the modem may send it, whatever it answers
    waitForAnswer();
    collectAnswer(ex);
    return true;
}

void MFCSMS::collectAnswer(Exchange& ex) {
    QString error;
    const bool answeredOk = Read_Command(ex.fd, kOk);
    // Judged on the message's own answer, before the "AT" below can add an answer of its own.
    const bool finalResult = ModemAnswers::holdsFinalResult(m_sLastResponse + QStringLiteral("\r\n"));
    // Sent means the network took it: "+CMGS: <reference>" and then "OK", nothing less.
    const std::optional<int> reference =
        answeredOk ? ModemAnswers::messageReference(m_sLastResponse) : std::nullopt;
    if (!answeredOk) {
        Show_NSLog_Message(m_sLastResponse);
        QString answer = Trim_Str(m_sLastResponse);
        // "AT+CMGS" refused outright: what was typed after it never became a message.
        if (!finalResult && ModemAnswers::isRefusal(Trim_Str(Get_SMS_Error(ex.promptLine))))
            answer = ex.promptLine;
        if (answer.isEmpty()) {
            Check_Connection_For_Read(ex.fd, 2);
            answer = Trim_Str(m_sLastResponse);
        }
        if (answer.isEmpty())
            answer = ex.promptLine;
        error = Trim_Str(Get_SMS_Error(answer));
    }
    if (reference) {
        ex.references << *reference;
    } else if (ModemAnswers::isRefusal(error)) {
        ex.fail(Outcome::Refused, error);
    } else {
        // Handed over, neither confirmed nor refused: the network may have it.
        ex.fail(Outcome::Unknown);
        ex.silent = !finalResult;
    }
    Show_NSLog_Message(QLatin1String(ex.kind.responsePrefix) + QStringLiteral("{%1} :: ").arg(ex.fd) +
                       (error.isEmpty() ? m_sLastResponse : error));
}

bool MFCSMS::sendParts(Exchange& ex, const QStringList& bodies, const std::function<QString(int)>& cmgsFor) {
    ex.total = static_cast<int>(bodies.size());
    for (int part = 1; part <= ex.total; ++part) {
        if (part > 1) {
            Clock::sleepUnless(kPartRest, [&ex] { return ex.stopRequested(); });
            if (ex.stopRequested()) {
                ex.stopped = true;
                return true;
            }
        }
        ex.part = part;
        if (ex.total > 1) {
            logPartHeader(part, ex.total);
            if (m_partProgress)
                m_partProgress(part, ex.total);
        }
        if (!sendOneMessage(ex, cmgsFor(part), bodies.at(part - 1)))
            return false;
        if (ex.failure)
            return true; // the message failed: its later parts would arrive as a fragment
    }
    return true;
}

bool MFCSMS::Send_PDU_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                          bool flash_sms, bool unicode_sms, QString& return_status, const QString& sms_det,
                          std::stop_token stop) {
    beginSubmission();
    Exchange ex(fd, true, number, smsc_num, flash_sms, std::move(stop));
    ex.encoder.setStatusReportRequest(m_statusReportsRequested);
    // A text the GSM alphabet cannot carry goes as UCS2 whatever was asked: sent as 7-bit, its
    // characters would arrive as others.
    const SmsCoding coding = SmsParts::codingFor(message, unicode_sms);
    const bool unicode = coding == SmsCoding::Ucs2;
    // The texts of a long message are built here: a failure to build them ends this
    // submission as a connection error, never as sent.
    bool completed = true;
    const bool ran = Guard::run("Send_PDU_SMS", [&] {
        GET_CSCS_Response(fd);
        const QString single = ex.encoder.EncodePDU(message, number, smsc_num, 0, true, flash_sms, unicode);
        QStringList pdus;
        if (single.isEmpty()) {
            completed = false;
            return;
        }
        if (fitsSingleMessage(single, message, coding)) {
            ex.kind = unicode ? kSinglePduUnicode : kSinglePdu;
            pdus << single;
        } else {
            ex.kind = unicode ? kLongPduUnicode : kLongPdu;
            ex.encoder.setConcatenationReference(ConcatenationReferences::next(m_port_name));
            const int total = PDU::partCount(message, unicode);
            for (int part = 1; part <= total; ++part)
                pdus << ex.encoder.Encode_UDH_PDU(message, number, smsc_num, 0, true, flash_sms, total, part,
                                                  unicode);
            if (pdus.contains(QString())) {
                completed = false;
                return;
            }
        }
        Show_NSLog_Message(QLatin1String(ex.kind.announcement));
        completed = sendParts(ex, pdus, [&pdus](int part) {
            return QStringLiteral("AT+CMGS=%1\r\n").arg(PDU::actualPduLength(pdus.at(part - 1)));
        });
    });
    completed = completed && ran;
    endSubmission(ex, completed, sms_det, return_status);
    return completed;
}

bool MFCSMS::Send_Text_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                           bool flash_sms, bool /*unicode_sms*/, const QString& port_name_str,
                           QString& return_status, const QString& sms_det, std::stop_token stop) {
    beginSubmission();
    Exchange ex(fd, false, number, smsc_num, flash_sms, std::move(stop));
    bool completed = true;
    const bool ran = Guard::run("Send_Text_SMS", [&] {
        GET_CSCS_Response(fd);
        // The character set comes from what the modem offers and what the text holds; a text
        // that no offered set carries exactly is refused here, before anything is typed.
        const std::optional<TextModeCharset> charset =
            TextModeCharsets::choose(TextModeCharsets::offered(GET_CSCS_SUPPORTEDResponse(fd)), message);
        if (!charset) {
            Show_NSLog_Message(QStringLiteral("Text mode cannot carry this text on this modem."));
            ex.fail(Outcome::Refused, ModemAnswers::kStatusTextModeCannotCarry); // PDU mode may carry it
            return;
        }
        const bool unicode = charset->ucs2Coding();
        const SmsCoding coding = unicode ? SmsCoding::Ucs2 : SmsCoding::Gsm7;
        if (!SmsParts::fitsSingle(message, coding)) {
            // Typed part by part, it would arrive as unlinked pieces (TextModeLimits.h).
            ex.fail(Outcome::NotSent, TextModeLimits::notSent(message, coding));
            return;
        }
        SET_Custom_SMSC_Number(smsc_num, fd);
        Set_Text_Mode_SMS_Param(fd, flash_sms, unicode);
        if (!charset->name().isEmpty()) {
            completed = Write_Command(fd, QStringLiteral("AT+CSCS=\"%1\"\r\n").arg(charset->name()));
            if (!completed)
                return;
            Read_Command(fd, kOk);
            GET_CSCS_Response(fd);
        }
        ex.kind = unicode ? kSingleTextUnicode : kSingleText;
        Show_NSLog_Message(QLatin1String(ex.kind.announcement));
        const QString cmgs = QStringLiteral("AT+CMGS=\"%1\"\r\n").arg(charset->number(number));
        completed = sendParts(ex, {charset->body(message)}, [&cmgs](int) { return QString(cmgs); });
        // A custom service centre lasts for this one message only.
        if (completed && !smsc_num.isEmpty())
            GET_And_SET_Cus_SMSC(smsc_num, fd, port_name_str);
    });
    completed = completed && ran;
    endSubmission(ex, completed, sms_det, return_status);
    return completed;
}

void MFCSMS::endSubmission(const Exchange& ex, bool completed, const QString& sms_det,
                           QString& return_status) {
    m_lastOutcome = ex.outcome(completed, sms_det);
    m_lastOutcome.device = m_port_name;
    m_lastReferences = ex.references;
    m_lastHandedOver = ex.handedOver;
    m_lastSilent = ex.silent;
    return_status = m_lastOutcome.text();
}

void MFCSMS::beginSubmission() {
    // Until this one ends, nothing of the last one may be taken for it.
    m_lastOutcome = SendOutcome{};
    m_lastReferences.clear();
    m_lastHandedOver = false;
    m_lastSilent = false;
}
