#pragma once
// The AT commands of the virtual modem other than message input: identification, status,
// and the settings of 3GPP TS 27.007 / 27.005 that a session reads and changes. Each command
// gives information lines and a final result; "+CMGS=" answers with a prompt request that
// the session carries out.
#include "AtParser.h"
#include "ModemConfig.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace sim {

struct ModemSettings {
    bool echo = true;
    int cmee = 0; // 0: plain "ERROR", 1: numeric, 2: verbose "+CME ERROR"
    int cmgf = 0; // 0 PDU, 1 text
    QString cscs = QStringLiteral("IRA");
    int csmpFirstOctet = 17, csmpValidity = 167, csmpPid = 0, csmpDcs = 0;
    int cmms = 0;
    int cfun = 1;
    int creg = 0;
    int cnmiMode = 0;
    int cnmiMt = 0; // 1: a received message is stored and announced ("+CMTI"), 2: handed over ("+CMT")
    int cnmiDs = 0; // 1: status reports go straight to the computer as "+CDS"
    int csdh = 0;   // 1: text mode lists and reads show every header field
    QString smsc;   // the service centre in use ("+CSCA")
};

struct CommandResult {
    enum class Final { Ok, Error, PromptPdu, PromptText };
    QStringList information; // lines sent before the final result
    Final final = Final::Ok;
    QString error;        // the error line when final is Error
    int pduLength = 0;    // PromptPdu: the length given
    QString number;       // PromptText: the destination
    bool toStore = false; // the message input goes to the SIM ("+CMGW"), not to the network
    int storeStatus = 2;  // with toStore: the status it is kept with
};

class ModemCommands {
public:
    ModemCommands(const ModemIdentity& identity, ModemSettings& settings)
        : m_identity(identity), m_settings(settings) {}

    // Runs one command under the current behaviour.
    CommandResult run(const AtCommand& command, const ModemBehaviour& behaviour);

    // The settings after "ATZ"/"AT&F" for a modem of this behaviour.
    static ModemSettings factorySettings(const ModemIdentity& identity, const ModemBehaviour& behaviour);

    // Error lines as the current "+CMEE" setting words them.
    QString cmeError(int code) const;
    static QString cmsError(int code) { return QStringLiteral("+CMS ERROR: %1").arg(code); }

    // The ICCID a modem of this identity answers: its own, else "894" and the IMEI's last 15
    // digits with a Luhn check digit (19 digits).
    static QString iccidOf(const ModemIdentity& identity);

    // "+CME ERROR: 11"/"12" for a command the locked SIM keeps from running (its test form
    // "=?" always runs); nothing when the SIM lets it run.
    std::optional<CommandResult> simRefusal(const AtCommand& command, const ModemBehaviour& behaviour);

private:
    // Where the SIM stands; kept over "ATZ", which resets settings, not the SIM.
    struct SimLock {
        bool known = false; // taken from the behaviour at the first command
        bool pin = false;   // "SIM PIN"
        bool puk = false;   // "SIM PUK"
        int wrongPins = 0;
        std::chrono::steady_clock::time_point readyAt; // unlocked: registration starts
    };
    SimLock& simLock(const ModemBehaviour& behaviour);
    CommandResult pinCommand(const AtCommand& command, const ModemBehaviour& behaviour);
    int registrationStat(const ModemBehaviour& behaviour);

    CommandResult identification(const AtCommand& command, const ModemBehaviour& behaviour);
    CommandResult status(const AtCommand& command, const ModemBehaviour& behaviour);
    CommandResult messaging(const AtCommand& command, const ModemBehaviour& behaviour);
    CommandResult messageSubmit(const AtCommand& command, const ModemBehaviour& behaviour);
    CommandResult basic(const AtCommand& command, const ModemBehaviour& behaviour);
    QString smscAnswer() const;

    const ModemIdentity& m_identity;
    ModemSettings& m_settings;
    SimLock m_sim;
};

} // namespace sim
