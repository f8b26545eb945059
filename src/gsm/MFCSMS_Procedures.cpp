// The small AT procedures a submission and the probe are built from.
#include "MFCSMS.h"

#include "ModemAnswers.h"
#include "core/Clock.h"
#include "core/Log.h"

namespace {
const QString kOk = QStringLiteral("\r\nOK\r\n");
const QString kAt = QStringLiteral("AT\r\n");
} // namespace

bool MFCSMS::commandExpectingOk(int fd, const QString& command) {
    return Write_Command(fd, command) && Read_Command(fd, kOk);
}

QString MFCSMS::Get_SMS_Error(const QString& answer) { return ModemAnswers::smsErrorText(answer); }

bool MFCSMS::Check_Connection(int fd) {
    m_sLastResponse.clear();
    if (!Write_Command(fd, kAt)) {
        Show_NSLog_Message(QStringLiteral("Check_Connection FAIL write AT"));
        return false;
    }
    if (!Read_Command(fd, kOk)) {
        // A modem that only echoes the command is alive.
        if (m_sLastResponse == QLatin1String("AT"))
            return true;
        for (int attempt = 0; attempt < 5; ++attempt) {
            Clock::sleep(kRetryRest);
            if (!Write_Command(fd, kAt)) {
                Show_NSLog_Message(QStringLiteral("Check_Connection FAIL write AT again in read at"));
                return false;
            }
            if (Read_Command(fd, kOk) || m_sLastResponse == QLatin1String("AT"))
                return true;
            Show_NSLog_Message(QStringLiteral("Check_Connection FAIL Read AT %1").arg(m_sLastResponse));
        }
    }
    if (m_sLastResponse.contains(QLatin1String("OK")))
        return true;
    Show_NSLog_Message(
        QStringLiteral("Check_Connection FAIL m_sLastResponse not OK %1").arg(m_sLastResponse));
    return false;
}

bool MFCSMS::Check_Connection_For_Read(int fd, int try_count) {
    m_sLastResponse.clear();
    for (int attempt = 0; attempt < try_count; ++attempt) {
        Clock::sleep(kRetryRest);
        if (!Write_Command(fd, kAt)) {
            Show_NSLog_Message(QStringLiteral("Check_Connection_For_Read FAIL write AT again in read at"));
            return false;
        }
        if (Read_Command(fd, kOk) || m_sLastResponse == QLatin1String("AT"))
            return true;
        Show_NSLog_Message(QStringLiteral("Check_Connection_For_Read FAIL Read AT %1").arg(m_sLastResponse));
    }
    return true;
}

void MFCSMS::ATZ_reset_Modem(int fd) {
    if (commandExpectingOk(fd, kAt) && commandExpectingOk(fd, QStringLiteral("AT&F\r\n")))
        Set_CMEE_Error(fd);
}

void MFCSMS::Set_CMEE_Error(int fd) { commandExpectingOk(fd, QStringLiteral("AT+CMEE=1\r\n")); }

bool MFCSMS::Prepare_Modem_For_PDU_SMS(int fd) { return prepareFormat(fd, QStringLiteral("AT+CMGF=0\r\n")); }

bool MFCSMS::Prepare_Modem_For_Text_SMS(int fd) { return prepareFormat(fd, QStringLiteral("AT+CMGF=1\r\n")); }

bool MFCSMS::prepareFormat(int fd, const QString& formatCommand) {
    m_formatRefused = false;
    if (!commandExpectingOk(fd, kAt) || !commandExpectingOk(fd, QStringLiteral("AT+CSMS=0\r\n")))
        return false;
    if (commandExpectingOk(fd, formatCommand))
        return true;
    // Silence may be a slow line, which the message's own dialogue finds out; an error is final.
    m_formatRefused = !ModemAnswers::smsErrorText(m_sLastResponse).isEmpty();
    return false;
}

bool MFCSMS::Set_Text_Mode_SMS_Param(int fd, bool flash_sms, bool unicode_sms) {
    if (!commandExpectingOk(fd, kAt))
        return false;
    if (!Write_Command(
            fd, ModemAnswers::textModeParametersCommand(flash_sms, unicode_sms, m_statusReportsRequested)))
        return false;
    Read_Command(fd, kOk); // some modems refuse the parameters and still send
    return true;
}

bool MFCSMS::Route_Status_Reports(int fd) {
    return commandExpectingOk(fd, QStringLiteral("AT+CNMI=2,1,0,1,0\r\n")) ||
           commandExpectingOk(fd, QStringLiteral("AT+CNMI=2,1,0,2,0\r\n"));
}

int MFCSMS::PDU_or_Text_SMS(int fd) {
    if (!commandExpectingOk(fd, kAt) || !commandExpectingOk(fd, QStringLiteral("AT+CMGF=?\r\n")))
        return 0;
    return ModemAnswers::supportedSmsFormats(m_sLastResponse);
}

SmsFormat MFCSMS::Get_Selected_CMGF_Mode(int fd) {
    if (!commandExpectingOk(fd, QStringLiteral("AT+CMGF?\r\n")))
        return SmsFormat::Unknown;
    return ModemAnswers::selectedSmsFormat(m_sLastResponse);
}

bool MFCSMS::SET_CMGF_PDU_MODE(int fd) { return commandExpectingOk(fd, QStringLiteral("AT+CMGF=0\r\n")); }

bool MFCSMS::SET_CMGF_TEXT_MODE(int fd) { return commandExpectingOk(fd, QStringLiteral("AT+CMGF=1\r\n")); }

QString MFCSMS::GET_CSCS_Response(int fd) {
    return commandExpectingOk(fd, QStringLiteral("AT+CSCS?\r\n")) ? m_sLastResponse : QString();
}

QString MFCSMS::GET_CSCS_SUPPORTEDResponse(int fd) {
    return commandExpectingOk(fd, QStringLiteral("AT+CSCS=?\r\n")) ? m_sLastResponse : QString();
}

bool MFCSMS::More_SMS_Comnd(int fd) {
    return commandExpectingOk(fd, kAt) && commandExpectingOk(fd, QStringLiteral("AT+CMMS=2\r"));
}

void MFCSMS::SET_Custom_SMSC_Number(const QString& number, int fileDescriptor) {
    if (number.isEmpty())
        return;
    Set_CMEE_Error(fileDescriptor);
    commandExpectingOk(fileDescriptor, ModemAnswers::serviceCentreCommand(number));
}

void MFCSMS::GET_And_SET_Cus_SMSC(const QString& number, int fileDescriptor, const QString& port_name_str) {
    if (fileDescriptor < 0 || number.isEmpty() || !m_defaultSmscOf)
        return;
    SET_Custom_SMSC_Number(m_defaultSmscOf(port_name_str), fileDescriptor);
}
