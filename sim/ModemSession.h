#pragma once
// One modem's side of the serial line: reads what the computer types byte by byte, echoes
// it, runs command lines, takes message input after the "> " prompt up to Ctrl-Z, and
// answers with "\r\n"-framed lines and final results as GSM modems do.
#include "MessageAssembler.h"
#include "MessageInbox.h"
#include "ModemCommands.h"
#include "ModemConfig.h"
#include "PduDecoder.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace sim {

// What the session needs from the wire it serves.
class ModemLine {
public:
    virtual ~ModemLine() = default;
    virtual void echo(const QByteArray& bytes) = 0;                   // typed bytes sent straight back
    virtual void answer(const QByteArray& bytes) = 0;                 // one answer (may go in bursts)
    virtual bool waitForNetwork(std::chrono::milliseconds delay) = 0; // false: line closing
    virtual void commandLine(const QString& line) = 0;
    virtual void acceptedPart(const ReceivedMessage& part, const Concatenation& concatenation) = 0;
    virtual void hangUp() = 0;
    virtual void unsolicited(const QByteArray& bytes) = 0;   // a line of the modem's own, sent now
    virtual QList<IncomingMessage> arrivals() = 0;           // what the network brought meanwhile
    virtual void networkEvent(const QJsonObject& event) = 0; // a delivery or a deletion, for the log
};

class ModemSession {
public:
    ModemSession(ModemIdentity identity, std::function<ModemBehaviour()> behaviour, ModemLine& line,
                 QString device);

    void feed(const QByteArray& bytes);

    // Output the modem owes later (status reports): when the next is due, and sending what is.
    std::optional<std::chrono::steady_clock::time_point> nextDue() const;
    void releaseDue();

    // A message the network delivers now: stored and announced as "+CNMI" asks, or waiting in
    // the network while the SIM is full.
    void deliver(const IncomingMessage& message);

    // A client opened the line for the first time: the modem's own timed lines start.
    void lineOpened();

    const ModemSettings& settings() const { return m_settings; }
    const MessageInbox& inbox() const { return m_inbox; }

    // Longest command line or message input kept; longer input is cut off, as modem
    // buffers are finite.
    static constexpr qsizetype kMaxInput = 2048;

private:
    enum class Input { Command, PduBody, TextBody };

    void commandByte(char byte, QByteArray& echoed, const ModemBehaviour& behaviour, bool lineFeedFollows);
    void bodyByte(char byte, QByteArray& echoed, const ModemBehaviour& behaviour);
    // The behaviour of this moment; a modem that fell silent stays silent whatever it says.
    ModemBehaviour behaviourNow() const;
    void runLine(const QByteArray& line, const ModemBehaviour& behaviour);
    void submitPdu(const ModemBehaviour& behaviour);
    void submitText(const ModemBehaviour& behaviour);
    void accept(const ReceivedMessage& part, const Concatenation& concatenation,
                const ModemBehaviour& behaviour, bool reportRequested);
    void refuse(int cmsCode, const ModemBehaviour& behaviour, bool afterNetwork);
    void sendFinal(const QStringList& information, const QString& final);
    // The bytes of an answer; indications held for the inside of an answer go before its final result.
    QByteArray answerBytes(const QStringList& information, const QString& final);
    QByteArray framed(const QString& line) const; // in the character set's encoding
    // Sends (or holds) the indications the inbox owes and logs what it did.
    void announce(const ModemBehaviour& behaviour);
    void writeToSim(const ModemBehaviour& behaviour);
    // The answer of a message that went to the network: sent now, or held for the next
    // command line under lateCmgsAnswers.
    void sendNetworkAnswer(const QStringList& information, const QString& final,
                           const ModemBehaviour& behaviour);
    // The "+CMS ERROR" code a submission gets (0: accepted); counts the submission.
    // The "+CMS ERROR" code the network answers a message with, 0 when it takes it.
    int refusalFor(const QString& number, const QString& smsc, const ModemBehaviour& behaviour);

    ModemIdentity m_identity;
    std::function<ModemBehaviour()> m_behaviour;
    ModemLine& m_line;
    QString m_device;
    ModemSettings m_settings;
    ModemCommands m_commands;
    bool m_lastBehaviourEcho = true;

    Input m_input = Input::Command;
    QByteArray m_lineBuffer;
    QByteArray m_body;
    int m_pduLength = 0;
    QString m_textNumber;
    int m_messageReference = 0;
    int m_acceptedParts = 0;
    bool m_fallenSilent = false; // silentAfterMessages: hears everything, answers nothing, for good
    int m_submissions = 0;       // messages and parts handed over, refused or not
    QByteArray m_lateAnswer;     // a held network answer (lateCmgsAnswers)
    struct OwedReport {
        std::chrono::steady_clock::time_point due;
        int reference = 0;
        QString recipient;
        int status = 0;
        QDateTime submitted;
    };
    std::vector<OwedReport> m_owedReports;
    struct DueIndication {
        std::chrono::steady_clock::time_point due;
        TimedIndication indication;
    };
    std::vector<DueIndication> m_dueIndications;
    bool m_opened = false;
    void releaseIndications(std::chrono::steady_clock::time_point now);
    // A line answered from the behaviour's tables (answerLines, unknownCommands); false when
    // the tables do not know it.
    bool answerFromTables(const QString& text, const ModemBehaviour& behaviour);
    QString withIdentity(QString line) const;
    MessageInbox m_inbox;
    QStringList m_heldIndications; // indicationsInsideAnswers: for the next answer
    CommandResult m_storePrompt;   // the "+CMGW" whose input is being typed (toStore set)
};

} // namespace sim
