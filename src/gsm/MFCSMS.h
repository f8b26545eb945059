#pragma once
// A modem session: owns the serial port of one device at a time, sends AT commands, reads
// and judges the answers, offers the small AT procedures, and submits messages in PDU or
// text mode. One thread uses a session at a time; sessions of different devices run at once.
//
// Every AT operation takes the descriptor of the open port only to label its log lines;
// the traffic always goes through the session's port.
#include "AMSerialPort.h"
#include "ReceivedListings.h"
#include "SmsFormat.h"
#include "StatusReports.h"
#include "device/SendOutcome.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <termios.h>

class MFCSMS {
public:
    MFCSMS();
    ~MFCSMS();
    MFCSMS(const MFCSMS&) = delete;
    MFCSMS& operator=(const MFCSMS&) = delete;

    // --- Line set-up: open with fixed raw-mode settings to prove the device works, then
    // close restoring what was found. -1 means the device is not working.
    int OpenSerialPort(const QString& bsdPath);
    void CloseSerialPort(int fileDescriptor);
    // Who held the device when OpenSerialPort last looked (nothing when it was ours).
    const PortHolders::Finding& lineHolders() const { return m_holders; }

    // --- The session port.
    // Opens an AMSerialPort on the path unless the session's port is already on it; the new
    // descriptor goes to the out argument only on success.
    void initPort_with_decp(const QString& path, int& return_file_descp);
    void initPort(const QString& path);
    void setPort(std::unique_ptr<AMSerialPort> newPort);
    AMSerialPort* port() const { return m_port.get(); }
    // Closes the session port and drops it.
    void closePort();
    QString portName() const { return m_port_name; }

    // --- The exchange.
    bool Write_Command(int fd, const QString& command_str);
    // One answer, read until it holds its final result (or the "> " prompt when that is the
    // expected text), the port's read time-out being the ceiling for a modem that says
    // nothing. Unsolicited lines are taken out (and logged); the trimmed rest becomes the last
    // response. True when it holds the expected text and no "ERROR". With nothing expected
    // there is no final result to wait for: the read ends after a read time-out of quiet.
    bool Read_Command(int fd, const QString& response_str);
    static QByteArray NString_To_Command_Char(const QString& text) { return text.toUtf8(); }
    QString lastResponse() const { return m_sLastResponse; }
    void setLastResponse(const QString& text) { m_sLastResponse = text; }

    // --- AT procedures.
    bool Check_Connection(int fd);
    bool Check_Connection_For_Read(int fd, int try_count);
    void ATZ_reset_Modem(int fd);
    void Set_CMEE_Error(int fd);
    bool Prepare_Modem_For_PDU_SMS(int fd);
    bool Prepare_Modem_For_Text_SMS(int fd);
    // The last preparation's format command (AT+CMGF) was refused outright: the modem stays in
    // the other format, where a message typed for this one would go out garbled or to a
    // wrong number, so nothing may be sent in it.
    bool formatRefused() const { return m_formatRefused; }
    bool Set_Text_Mode_SMS_Param(int fd, bool flash_sms, bool unicode_sms);
    int PDU_or_Text_SMS(int fd);
    SmsFormat Get_Selected_CMGF_Mode(int fd);
    bool SET_CMGF_PDU_MODE(int fd);
    bool SET_CMGF_TEXT_MODE(int fd);
    QString GET_CSCS_Response(int fd);
    QString GET_CSCS_SUPPORTEDResponse(int fd);
    bool More_SMS_Comnd(int fd);
    void SET_Custom_SMSC_Number(const QString& number, int fileDescriptor);
    // Sets the port's default SMSC back after a message sent through a custom one.
    void GET_And_SET_Cus_SMSC(const QString& number, int fileDescriptor, const QString& port_name_str);
    static QString Get_SMS_Error(const QString& answer);

    // Where GET_And_SET_Cus_SMSC finds a port's "DefSMSC": the GSM main window's device list
    // lives above this layer, so its owner installs the lookup (port path -> default SMSC).
    using DefaultSmscLookup = std::function<QString(const QString& portPath)>;
    void setDefaultSmscLookup(DefaultSmscLookup lookup) { m_defaultSmscOf = std::move(lookup); }

    // --- Submission. Each ends with lastOutcome(); return_status gets its words (text()). A
    // stop asked through the token ends a long message before its next part and cuts the
    // answer wait short. True when the dialogue with the modem ran to its end.
    bool Send_PDU_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                      bool flash_sms, bool unicode_sms, QString& return_status, const QString& sms_det,
                      std::stop_token stop = {});
    bool Send_Text_SMS(int fd, const QString& number, const QString& message, const QString& smsc_num,
                       bool flash_sms, bool unicode_sms, const QString& port_name_str, QString& return_status,
                       const QString& sms_det, std::stop_token stop = {});

    // The answer wait after a message body: over as soon as the modem's final result line
    // has arrived, and long enough for a slow network (the modem answers "+CMGS" only once
    // the network has taken the message). Nothing is written to the port meanwhile.
    static constexpr std::chrono::milliseconds kAnswerWait{60000};
    // The rest between the parts of a long message.
    static constexpr std::chrono::milliseconds kPartRest{5000};

    // --- Status reports. Once asked for, every message asks the network for a report, and
    // the reports the modem slips between its answers are gathered for the owner to take.
    void setStatusReportsRequested(bool requested) { m_statusReportsRequested = requested; }
    // Told as each part of a message of several parts starts (part, parts).
    void setPartProgress(std::function<void(int part, int parts)> progress) {
        m_partProgress = std::move(progress);
    }
    bool statusReportsRequested() const { return m_statusReportsRequested; }
    // "AT+CNMI=2,1,0,1,0": reports go straight to the computer as "+CDS"; where the modem
    // refuses that, "AT+CNMI=2,1,0,2,0": it keeps them and says where ("+CDSI"). False when it
    // refuses both (its reports then never reach us).
    bool Route_Status_Reports(int fd);
    // Reads whatever the modem says for this long (nothing is written), gathering reports.
    void listenForStatusReports(std::chrono::milliseconds duration);
    // The reports gathered since the last call, oldest first; the ones the modem kept are
    // read ("AT+CMGR") and deleted ("AT+CMGD") first.
    QList<StatusReport> takeStatusReports(int fd);

    // Received messages (MFCSMS_Inbox.cpp). "AT+CNMI=2,1,0,0,0": the modem keeps each message
    // and says where ("+CMTI"); false when it refused (its storage is then only read now and then).
    bool announceNewMessages(int fd);
    // Whether the modem announced a new one ("+CMTI") since the last call.
    bool takeNewMessageNote();
    // What the modem's storage holds, listed in PDU mode ("AT+CMGL=4"); nothing when the
    // modem refused the list.
    std::optional<QList<ListedPdu>> listStoredMessages(int fd);
    // The same in text mode ("AT+CMGL=\"ALL\""), for a modem that refuses PDU mode: the messages
    // received, their senders and texts decoded (read under "UCS2" where the modem offers it,
    // so any alphabet comes through). Each part of a long message is an entry of its own.
    std::optional<QList<ListedText>> listStoredTexts(int fd);
    // Frees one place of the storage ("AT+CMGD=<index>").
    bool deleteStoredMessage(int fd, int index);

    // How the last submission ended, from its own bookkeeping.
    SendOutcome lastOutcome() const { return m_lastOutcome; }
    // The network's references ("+CMGS: <mr>") of the last submission, one per accepted part.
    QList<int> lastMessageReferences() const { return m_lastReferences; }
    // Whether the last submission handed a message body to the modem (its Ctrl-Z went out):
    // when not, a failed line means the message certainly did not leave.
    bool lastSubmissionHandedOver() const { return m_lastHandedOver; }
    // Whether the last submission ended because a part it handed over got no final result
    // ("+CMGS", "OK", an error) within the answer wait. Its status is then "Unknown (may have
    // been sent)": a modem that falls silent may have passed the message on before it did.
    bool lastSubmissionSilent() const { return m_lastSilent; }
    static constexpr std::chrono::milliseconds kRetryRest{1000};
    // Session start: the shortest ceiling for the modem's answer to the wake-up, and the
    // shortest quiet that shows nothing more of it is coming.
    static constexpr std::chrono::milliseconds kWakeWait{1000};
    static constexpr std::chrono::milliseconds kWakeSettle{250};

    // --- Device values gathered by the probe and copied into the device record.
    QString Com_Port, Port_Det, Port_stat, Port_IMEI, Manuf, Model, battery, signal_str, oprator, revision,
        def_smsc, cus_smsc, use_cus_smsc, sms_mode, sup_sms_mode, sms_capblts;

private:
    struct Exchange; // one submission's bookkeeping (MFCSMS_Submission.cpp)

    // Writes a command and reads its answer expecting OK; false at the first failure.
    bool commandExpectingOk(int fd, const QString& command);
    bool prepareFormat(int fd, const QString& formatCommand);
    // How a read knows its answer is complete.
    enum class AnswerEnd { FinalResult, Prompt, Quiet };
    // The one reading loop: adds to m_pendingAnswer until it ends as told or the ceiling
    // (real time) passes; a Quiet read's ceiling starts again with every arrival.
    void gatherAnswer(AnswerEnd end, std::chrono::microseconds ceiling);
    void waitForAnswer();
    void clearPendingPrompt(int fd);
    void dropStaleInput(int fd);
    // Logs the unsolicited lines taken out of an answer and keeps the status reports among
    // them (the read lock is held).
    void harvestUnsolicited(int fd, const QStringList& lines);
    bool sendOneMessage(Exchange& exchange, const QString& cmgsCommand, const QString& body);
    void collectAnswer(Exchange& exchange);
    // Sends the bodies as parts 1..n, each after its own "AT+CMGS" command, resting between
    // them; ends at the first part the network did not accept, and at a Stop between parts.
    // False when writing to the port failed.
    bool sendParts(Exchange& exchange, const QStringList& bodies, const std::function<QString(int)>& cmgsFor);
    // Forgets the last submission's ending; keeps what this one ended with, its words going
    // to return_status.
    void beginSubmission();
    void endSubmission(const Exchange& exchange, bool completed, const QString& sms_det,
                       QString& return_status);

    std::unique_ptr<AMSerialPort> m_port;
    QString m_sLastResponse;
    QString m_port_name;
    SendOutcome m_lastOutcome;
    QList<int> m_lastReferences;
    bool m_lastHandedOver = false;
    bool m_lastSilent = false;
    bool m_formatRefused = false;
    bool m_statusReportsRequested = false;
    std::function<void(int part, int parts)> m_partProgress;
    QList<StatusReport> m_statusReports; // gathered, not yet taken (under the read lock)
    QList<int> m_storedReportIndexes;    // announced by "+CDSI", not yet read (under the read lock)
    bool m_newMessageNoted = false;      // a "+CMTI" came since it was last taken (under the read lock)
    QByteArray m_pendingAnswer;          // arrived during the answer wait, read with the next read
    QString m_lastCommand;               // the AT command line the answer being read belongs to
    bool m_sessionStarting = false;      // a port just opened: the first write wakes the modem first
    DefaultSmscLookup m_defaultSmscOf;
    std::map<int, termios> m_lineSetupOriginals; // per descriptor opened by OpenSerialPort
    PortHolders::Finding m_holders;              // of the last line set-up
    std::mutex m_readLock;
    std::mutex m_writeLock;
    std::mutex m_closeLock;
};
