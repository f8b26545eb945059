// Handing one message for one recipient to the modem, in PDU mode or in text mode: choose
// single or long, run "AT+CMGS" for every part, wait for and judge the modem's answer.
#include "MFCSMS.h"

#include "ModemAnswers.h"
#include "PDU.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "text/GsmAlphabet.h"

namespace {

const QString kOk = QStringLiteral("\r\nOK\r\n");
const QString kPrompt = QStringLiteral(">\r\n");
// Ctrl-Z ends a message body; it goes as a command of its own.
const QString kCtrlZ = QStringLiteral("\x1A\r\n");

constexpr int kSingle7BitCharacters = 160;
constexpr int kSingleUcs2Characters = 70;
constexpr int kSingleTpduOctets = 154;
constexpr int kTextPiece7Bit = 150;
constexpr int kTextPieceUcs2 = 64;

struct Kind {
    const char* announcement;
    const char* responsePrefix;
};
constexpr Kind kLongPduUnicode{"1 = Long PDU SMS  = UNICODE", "UNICODE Long SMS PDU Response:: "};
constexpr Kind kSinglePduUnicode{"2 = Standard PDU SMS  = UNICODE",
                                 "UNICODE Standard Short SMS PDU Response:: "};
constexpr Kind kLongPdu{"3 = Long PDU SMS", "Long SMS PDU Response:: "};
constexpr Kind kSinglePdu{"4 = Standard PDU SMS", "Standard Short SMS PDU Response:: "};
constexpr Kind kLongTextUnicode{"5 = Long Text SMS  = UNICODE", "UNICODE Long SMS Text Response:: "};
constexpr Kind kSingleTextUnicode{"6 = Standard Text SMS  = UNICODE", "UNICODE Standard Short SMS Text :: "};
constexpr Kind kLongText{"7  = Long Text SMS", "Long SMS Text :: "};
constexpr Kind kSingleText{"8 = Standard Text SMS", "standard Short SMS Text :: "};

void logPartHeader(int part, int total) {
    Show_NSLog_Message(QStringLiteral("\n------ %1 / %2 of message ------\n").arg(part).arg(total));
}

// Single when the text is short enough and its TPDU fits one message.
bool fitsSingleMessage(const QString& single, const QString& message, bool unicode) {
    const int limit = unicode ? kSingleUcs2Characters : kSingle7BitCharacters;
    return message.size() <= limit && PDU::actualPduLength(single) <= kSingleTpduOctets;
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
    QString recorded = ModemAnswers::kStatusNoError;
    QList<int> references;   // "+CMGS: <mr>" of every part the network accepted
    bool unanswered = false; // a part got neither a reference nor a refusal
};

bool MFCSMS::sendOneMessage(Exchange& ex, const QString& cmgsCommand, const QString& body, bool lastPart) {
    // The format is checked before every message: another caller may have switched it.
    const SmsFormat selected = Get_Selected_CMGF_Mode(ex.fd);
    if (ex.pduMode && selected == SmsFormat::Text)
        SET_CMGF_PDU_MODE(ex.fd);
    else if (!ex.pduMode && selected == SmsFormat::Pdu)
        SET_CMGF_TEXT_MODE(ex.fd);

    if (!Write_Command(ex.fd, cmgsCommand))
        return false;
    Read_Command(ex.fd, kPrompt); // a missing prompt does not stop us: the modem's answer decides
    ex.promptLine = m_sLastResponse;
    if (!Write_Command(ex.fd, body) || !Write_Command(ex.fd, kCtrlZ))
        return false;
    waitForAnswer();
    collectAnswer(ex, lastPart);
    return true;
}

void MFCSMS::collectAnswer(Exchange& ex, bool lastPart) {
    QString error;
    const bool answeredOk = Read_Command(ex.fd, kOk);
    // Sent means the network took it: "+CMGS: <reference>" and then "OK", nothing less.
    const std::optional<int> reference =
        answeredOk ? ModemAnswers::messageReference(m_sLastResponse) : std::nullopt;
    if (!answeredOk) {
        Show_NSLog_Message(m_sLastResponse);
        QString answer = Trim_Str(m_sLastResponse);
        if (answer.isEmpty()) {
            Check_Connection_For_Read(ex.fd, 2);
            answer = Trim_Str(m_sLastResponse);
        }
        if (answer.isEmpty())
            answer = ex.promptLine;
        error = Trim_Str(Get_SMS_Error(answer));
        if (!error.isEmpty() && lastPart)
            ex.recorded = error;
    }
    if (reference)
        ex.references << *reference;
    else if (error.isEmpty())
        ex.unanswered = true;
    Show_NSLog_Message(QLatin1String(ex.kind.responsePrefix) + QStringLiteral("{%1} :: ").arg(ex.fd) +
                       (error.isEmpty() ? m_sLastResponse : error));
}

bool MFCSMS::sendLongPdu(Exchange& ex, const QString& message, bool unicode) {
    const int total = PDU::partCount(message, unicode);
    for (int part = 1; part <= total && !ex.stopRequested(); ++part) {
        logPartHeader(part, total);
        const QString pdu =
            ex.encoder.Encode_UDH_PDU(message, ex.number, ex.smsc, 0, true, ex.flash, total, part, unicode);
        if (pdu.isEmpty())
            return false;
        const QString cmgs = QStringLiteral("AT+CMGS=%1\r\n").arg(PDU::actualPduLength(pdu));
        if (!sendOneMessage(ex, cmgs, pdu, part == total))
            return false;
        if (part < total)
            Clock::sleepUnless(kPartRest, [&ex] { return ex.stopRequested(); });
    }
    return true;
}

bool MFCSMS::sendTextPieces(Exchange& ex, const QString& message, bool unicode, bool hexBody) {
    const int pieceLength = unicode ? kTextPieceUcs2 : kTextPiece7Bit;
    const int total = static_cast<int>((message.size() + pieceLength - 1) / pieceLength);
    const QString cmgs = QStringLiteral("AT+CMGS=\"%1\"\r\n").arg(ex.number);
    for (int piece = 1; piece <= total; ++piece) {
        if (ex.stopRequested())
            break;
        logPartHeader(piece, total);
        const QString text = message.mid(static_cast<qsizetype>(piece - 1) * pieceLength, pieceLength);
        if (!sendOneMessage(ex, cmgs, hexBody ? PDU::EncodeUserData_16_bit(text) : text, piece == total))
            return false;
        Clock::sleepUnless(kPartRest, [&ex] { return ex.stopRequested(); });
    }
    return true;
}

bool MFCSMS::Send_PDU_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                          bool flash_sms, bool unicode_sms, QString& return_status, const QString& sms_det,
                          std::stop_token stop) {
    return_status = ModemAnswers::kStatusNoError;
    m_lastReferences.clear();
    Exchange ex(fd, true, number, smsc_num, flash_sms, std::move(stop));
    // The texts of a long message are built here: a failure to build them ends this
    // submission as a connection error, never as sent.
    bool completed = true;
    const bool ran = Guard::run("Send_PDU_SMS", [&] {
        GET_CSCS_Response(fd);
        const QString single =
            ex.encoder.EncodePDU(message, number, smsc_num, 0, true, flash_sms, unicode_sms);
        if (single.isEmpty()) {
            completed = false;
        } else if (fitsSingleMessage(single, message, unicode_sms)) {
            ex.kind = unicode_sms ? kSinglePduUnicode : kSinglePdu;
            Show_NSLog_Message(QLatin1String(ex.kind.announcement));
            const QString cmgs = QStringLiteral("AT+CMGS=%1\r\n").arg(PDU::actualPduLength(single));
            completed = sendOneMessage(ex, cmgs, single, true);
        } else {
            ex.kind = unicode_sms ? kLongPduUnicode : kLongPdu;
            Show_NSLog_Message(QLatin1String(ex.kind.announcement));
            completed = sendLongPdu(ex, message, unicode_sms);
        }
    });
    completed = completed && ran;
    m_lastReferences = ex.references;
    return_status = ModemAnswers::submissionStatus(completed, ex.recorded, sms_det, ex.unanswered);
    return completed;
}

bool MFCSMS::Send_Text_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                           bool flash_sms, bool unicode_sms, const QString& port_name_str,
                           QString& return_status, const QString& sms_det, std::stop_token stop) {
    return_status = ModemAnswers::kStatusNoError;
    m_lastReferences.clear();
    Exchange ex(fd, false, number, smsc_num, flash_sms, std::move(stop));
    bool completed = true;
    const bool ran = Guard::run("Send_Text_SMS", [&] {
        GET_CSCS_Response(fd);
        const bool unicode = unicode_sms && Check_UNICODE_Message(message);
        SET_Custom_SMSC_Number(smsc_num, fd);
        Set_Text_Mode_SMS_Param(fd, flash_sms, unicode);

        const QString supportedSets = GET_CSCS_SUPPORTEDResponse(fd);
        const QString characterSet = ModemAnswers::characterSetCommand(supportedSets, unicode);
        if (!characterSet.isEmpty()) {
            completed = Write_Command(fd, characterSet);
            if (completed)
                Read_Command(fd, kOk);
        }
        if (completed) {
            GET_CSCS_Response(fd);
            const bool hexBody = unicode && (supportedSets.contains(QLatin1String("UCS2")) ||
                                             supportedSets.contains(QLatin1String("HEX")));
            const QString single =
                ex.encoder.EncodePDU(message, number, smsc_num, 0, true, flash_sms, unicode);
            if (fitsSingleMessage(single, message, unicode)) {
                ex.kind = unicode ? kSingleTextUnicode : kSingleText;
                Show_NSLog_Message(QLatin1String(ex.kind.announcement));
                completed = sendOneMessage(ex, QStringLiteral("AT+CMGS=\"%1\"\r\n").arg(number),
                                           hexBody ? PDU::EncodeUserData_16_bit(message) : message, true);
            } else {
                ex.kind = unicode ? kLongTextUnicode : kLongText;
                Show_NSLog_Message(QLatin1String(ex.kind.announcement));
                completed = sendTextPieces(ex, message, unicode, hexBody);
            }
            // A custom service centre lasts for this one message only.
            if (completed && !smsc_num.isEmpty())
                GET_And_SET_Cus_SMSC(smsc_num, fd, port_name_str);
        }
    });
    completed = completed && ran;
    m_lastReferences = ex.references;
    return_status = ModemAnswers::submissionStatus(completed, ex.recorded, sms_det, ex.unanswered);
    return completed;
}
