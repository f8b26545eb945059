#pragma once
// What a virtual modem says about itself and how it behaves on the line.
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>

namespace sim {

struct ModemIdentity {
    QString manufacturer = QStringLiteral("Virtual");
    QString model = QStringLiteral("VM-100");
    QString revision = QStringLiteral("1.0.0");
    QString imei = QStringLiteral("490154203237518");
    // The SIM's number ("+CCID"), answered as written; empty: one made from the IMEI
    // (ModemCommands::iccidOf), so that modems of different IMEIs hold different SIMs.
    QString iccid;
    QString operatorName = QStringLiteral("Net One");
    QString smsc = QStringLiteral("+447700900123");
    bool smscAsUcs2 = false; // "+CSCA:" reports the number as UCS2 hex, as some modems do
    int batteryState = 0;    // "+CBC: <state>,<charge>"
    int batteryCharge = 80;
    int rssi = 20; // "+CSQ: <rssi>,99"
};

// A message the network delivers to the modem (SMS-DELIVER), as someone replies to it.
struct IncomingMessage {
    QString from; // "+4477..." (international), digits (national), or a name when alphanumeric
    QString text;
    QDateTime at; // the service centre's time stamp; invalid: the modem's clock when it arrives
    // A name instead of a number (type of address 0x50, GSM 7-bit packed); also chosen when
    // `from` is not a number.
    bool alphanumericSender = false;
    bool eightBit = false;            // 8-bit data coding (the text's Latin-1 octets)
    bool sixteenBitReference = false; // concatenation header IEI 0x08 rather than 0x00
    bool outOfOrder = false;          // the parts of a long text arrive last first
    int dropPart = 0;                 // this part (from 1) never arrives (0: none lost)
    QString to; // only the modem of this IMEI (or the phone of this serial) gets it; empty: every one
};

// A line of the modem's own that it sends by itself once a client has opened the line:
// start-up reports ("RDY", "+CPIN: READY", "SMS Ready") and periodic ones ("^RSSI: 17").
struct TimedIndication {
    QString line;
    int afterMs = 0; // after the first open, on the scaled clock
    int everyMs = 0; // again this often while the modem runs (0: once)
};

struct ModemBehaviour {
    enum class Modes { PduOnly, TextOnly, Both } modes = Modes::Both;
    // Lists PDU mode among its formats ("+CMGF: (0,1)") yet answers ERROR to "AT+CMGF=0", as
    // modems whose firmware only half supports it do.
    bool pduModeRefused = false;
    bool echo = true;                          // ATE1 by default, as real modems
    int answerBursts = 1;                      // answers split into this many writes, with small gaps
    int networkDelayMs = 200;                  // before +CMGS: <mr> / OK, through Clock (scaled)
    QMap<QString, int> cmsErrorForNumber;      // destination number -> "+CMS ERROR: n"
    bool cmgsTestAnswersError = false;         // "AT+CMGS=?" -> "ERROR"
    bool undefinedIdentity = false;            // AT+GMI/GMM/GMR/GSN -> "Undefined"
    bool iccidUnreadable = false;              // AT+CCID -> "ERROR", as a modem that cannot tell its SIM
    bool silent = false;                       // answers nothing at all
    int unplugAfterParts = -1;                 // close the line after this many accepted parts (-1 never)
    bool echoOnly = false;                     // echoes what it hears (when echo is on), answers nothing
    QMap<QString, QByteArray> scriptedAnswers; // command line as typed -> exact bytes sent instead
    QMap<int, int> cmsErrorForSubmission;      // n-th submitted message or part (from 1) -> "+CMS ERROR: n"
    QStringList characterSets;                 // "AT+CSCS=?" offers these (empty: every set it knows)
    // Service centres the network does not know: a message through one (named in its PDU, or
    // set with AT+CSCA in text mode) is refused with "+CMS ERROR: 330" (SMSC address unknown).
    QStringList refusedServiceCentres;
    // Answers this many accepted messages (or parts) normally; the network still takes the next
    // one, but the modem never answers it and from then on answers nothing (-1 never).
    int silentAfterMessages = -1;
    // In-process tests only: called once the network has taken a part and before the modem
    // says so, for what happens at that very moment (an operator's Stop).
    std::function<void()> afterAccepting;

    // Timing of the answers, as a real modem's processing adds it.
    // Every answer (not the echo) leaves this long after its command, through Clock (scaled).
    int answerLatencyMs = 30;
    // The network answer of a message ("+CMGS: <mr>" / "+CMS ERROR: n" and its OK) is held
    // back until the next command line arrives and goes out ahead of that command's answer,
    // as from a modem whose network answered after the computer stopped waiting.
    bool lateCmgsAnswers = false;

    // Status reports, for messages that ask for one while the computer has them routed to it
    // ("AT+CNMI=...,1,..."): sent this long after the message was accepted (scaled clock),
    // with TP-ST from deliveryStatusForNumber (0, delivered, when not listed); numbers in
    // noStatusReportFor never get one, as when a network loses it.
    int statusReportDelayMs = 1000;
    // Refuses to hand reports straight over ("AT+CNMI=...,1,..."): they are kept in the SIM
    // and announced as "+CDSI: \"SR\",<index>" for the computer to read ("AT+CNMI=...,2,...").
    bool reportsStoredOnly = false;
    QMap<QString, int> deliveryStatusForNumber;
    QStringList noStatusReportFor;

    // The SIM's message store: places for this many messages (received, stored, kept reports).
    int simSize = 30;
    // Messages already on the SIM when the modem starts, unread; as many as simSize: a full SIM.
    QList<IncomingMessage> simMessagesAtStart;
    // The n-th submitted message or part (from 1) is met by this incoming message, which arrives
    // while the network handles it: its "+CMTI" comes before the "+CMGS" answer.
    QMap<int, IncomingMessage> arrivalsDuringSubmission;
    // A new-message indication waits for the next command's answer and goes out between its
    // information lines and its final result, as modems interleave them.
    bool indicationsInsideAnswers = false;

    // Unsolicited result codes ("^RSSI: 14", "+CREG: 1", "RING") sent as lines of their own
    // ahead of every answer, as modems report signal and registration between answers.
    QStringList unsolicited;

    // What makers' modems do differently (sim/profiles/*.json).
    // The prompt for message input after "AT+CMGS"/"AT+CMGW"; some firmware leaves out the space.
    QByteArray prompt = QByteArrayLiteral("\r\n> ");
    // Command lines (upper case, as typed) answered with these information lines and OK: a
    // maker's own identification texts. "{manufacturer}", "{model}", "{revision}", "{imei}"
    // and "{iccid}" stand for the identity's values.
    QMap<QString, QStringList> answerLines;
    // Commands this modem does not know ("+CCID", "^ICCID"): ERROR, whatever their form.
    QStringList unknownCommands;
    // Texts of "+CMS ERROR"/"+CME ERROR" codes when "AT+CMEE=2" asks for words.
    QMap<int, QString> cmsTexts;
    QMap<int, QString> cmeTexts;
    // Lines sent by the modem itself after the line was first opened.
    QList<TimedIndication> timedIndications;

    // The SIM (3GPP TS 27.007 8.3, 10.1.19). A PIN locks it until "AT+CPIN=\"<pin>\"" gives
    // it; each wrong one is "+CME ERROR: 16" and the third blocks the SIM ("SIM PUK").
    // While locked, commands on messages answer "+CME ERROR: 11" (SIM PIN required).
    QString simPin;
    bool pukLocked = false; // blocked from the start: "+CPIN: SIM PUK", "+CME ERROR: 12"
    // Registration ("+CREG?", "+CEREG?"): searching (2) for this long after the SIM is ready
    // (scaled clock), then home (1), or roaming (5); denied (3) for ever when told.
    int registerAfterMs = 0;
    bool roaming = false;
    bool registrationDenied = false;
};

// One accepted message, as the network received it. A concatenated message becomes one
// entry; while parts are missing it stays incomplete (complete == false, parts counts the
// parts that arrived).
struct ReceivedMessage {
    QString device, number, text, smsc, mode; // mode "PDU" or "TEXT"
    int parts = 1;
    int dcs = 0;
    QStringList pduHex; // raw hex of every part exactly as received (PDU mode), in part order
    bool complete = true;
    int totalParts = 1;           // parts announced by the concatenation header
    bool reportRequested = false; // the message asked for a status report (TP-SRR)
};

} // namespace sim
