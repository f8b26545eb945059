#include "SimOptions.h"

#include "ModemProfile.h"
#include "TextCharset.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace sim::SimOptionsParser {
namespace {

struct Flags {
    QCommandLineOption profile{"profile",
                               "Behave as this module family (its maker's manual); the other flags "
                               "change it further. One of: " +
                                   ModemProfile::names().join(", ") + ".",
                               "name"};
    QCommandLineOption manufacturer{"manufacturer", "Maker name (+CGMI).", "name"};
    QCommandLineOption model{"model", "Model name (+CGMM).", "name"};
    QCommandLineOption revision{"revision", "Firmware revision (+CGMR).", "text"};
    QCommandLineOption imei{"imei", "IMEI (+CGSN).", "digits"};
    QCommandLineOption iccid{"iccid", "The SIM's ICCID (+CCID); default: one made from the IMEI.", "digits"};
    QCommandLineOption noIccid{"no-iccid", "Answer ERROR to AT+CCID."};
    QCommandLineOption operatorName{"operator", "Network name (+COPS?); empty: not registered.", "name"};
    QCommandLineOption smsc{"smsc", "Service centre number (+CSCA?).", "number"};
    QCommandLineOption smscUcs2{"smsc-ucs2", "Report the service centre as UCS2 hex."};
    QCommandLineOption battery{"battery", "Battery state and charge (+CBC), e.g. 1,80.", "state,charge"};
    QCommandLineOption signal{"signal", "Signal strength rssi (+CSQ), 0-31 or 99.", "rssi"};
    QCommandLineOption modes{"modes", "Message formats offered: pdu, text or both.", "pdu|text|both"};
    QCommandLineOption refusePduMode{"refuse-pdu-mode",
                                     "Offer PDU mode (+CMGF: (0,1)) but refuse AT+CMGF=0 (+CMS ERROR: 303)."};
    QCommandLineOption noEcho{"no-echo", "Start with echo off (ATE0)."};
    QCommandLineOption bursts{"bursts", "Split every answer into N writes.", "N"};
    QCommandLineOption networkDelay{"network-delay-ms", "Delay before the +CMGS answer (scaled clock).",
                                    "ms"};
    QCommandLineOption latency{"latency-ms", "Delay before every answer, not the echo (scaled clock).", "ms"};
    QCommandLineOption lateAnswers{"late-answers",
                                   "Hold each message's +CMGS answer until the next command line arrives."};
    QCommandLineOption cmsError{"cms-error", "Refuse messages to NUMBER with +CMS ERROR: N (repeatable).",
                                "NUMBER=N"};
    QCommandLineOption refuseSmsc{"refuse-smsc",
                                  "Refuse messages through service centre NUMBER with +CMS ERROR: 330 "
                                  "(repeatable).",
                                  "NUMBER"};
    QCommandLineOption cmgsTestError{"cmgs-test-error", "Answer ERROR to AT+CMGS=?."};
    QCommandLineOption undefinedIdentity{"undefined-identity", "Answer Undefined to AT+GMI/GMM/GMR/GSN."};
    QCommandLineOption silent{"silent", "Answer nothing at all."};
    QCommandLineOption echoOnly{"echo-only", "Echo commands but never answer them."};
    QCommandLineOption unplugAfterParts{"unplug-after-parts", "Close the line after N accepted parts.", "N"};
    QCommandLineOption silentAfter{"silent-after",
                                   "Answer N accepted messages (or parts); the network still takes the next "
                                   "one, but the modem never answers it and answers nothing from then on.",
                                   "N"};
    QCommandLineOption log{"log", "Append one JSON line per received message to FILE.", "FILE"};
    QCommandLineOption count{"count", "Serve N modems at once (one path printed per line).", "N"};
    QCommandLineOption link{"link",
                            "Make PATH a symbolic link to the pseudo-terminal while it serves (with --count, "
                            "PATH-1, PATH-2, ... one per modem).",
                            "PATH"};
    QCommandLineOption charsets{"charsets", "Character sets AT+CSCS=? offers, e.g. GSM,UCS2 (default: all).",
                                "SET,..."};
    QCommandLineOption reportDelay{"report-delay-ms",
                                   "Delay of a status report after its message (scaled clock).", "ms"};
    QCommandLineOption deliveryStatus{
        "delivery-status", "Report messages to NUMBER with TP-ST N, e.g. 97 busy (repeatable).", "NUMBER=N"};
    QCommandLineOption noReport{"no-report", "Never report messages to NUMBER (repeatable).", "NUMBER"};
    QCommandLineOption simSize{"sim-size", "Places in the SIM's message store (default 30).", "N"};
    QCommandLineOption simFull{"sim-full", "Start with every place of the SIM taken by an unread message."};
    QCommandLineOption incoming{"incoming",
                                "Deliver the messages of FILE, JSON lines {\"from\": ..., \"text\": ...}, "
                                "following it as it grows.",
                                "FILE"};
    QCommandLineOption indicationsInside{
        "indications-inside-answers", "Hold each +CMTI for the next answer, between its lines and its OK."};
    QCommandLineOption pin{"pin", "Lock the SIM until AT+CPIN=\"CODE\"; three wrong PINs block it (SIM PUK).",
                           "CODE"};
    QCommandLineOption pukLocked{"puk-locked", "The SIM is blocked (+CPIN: SIM PUK)."};
    QCommandLineOption registerAfter{"register-after-ms",
                                     "Search the network (+CREG: 0,2) this long after the SIM is ready "
                                     "(scaled clock), then register.",
                                     "ms"};
    QCommandLineOption roaming{"roaming", "Register as roaming (+CREG: 0,5)."};
    QCommandLineOption registrationDenied{"registration-denied", "The network refuses the SIM (+CREG: 0,3)."};
    QCommandLineOption help{QStringList{"h", "help"}, "Show this help."};

    QList<QCommandLineOption> all() const {
        return {profile,
                manufacturer,
                model,
                revision,
                imei,
                iccid,
                noIccid,
                operatorName,
                smsc,
                smscUcs2,
                battery,
                signal,
                modes,
                noEcho,
                bursts,
                networkDelay,
                cmsError,
                cmgsTestError,
                undefinedIdentity,
                silent,
                echoOnly,
                unplugAfterParts,
                silentAfter,
                log,
                count,
                link,
                latency,
                lateAnswers,
                charsets,
                reportDelay,
                deliveryStatus,
                noReport,
                refuseSmsc,
                refusePduMode,
                simSize,
                simFull,
                incoming,
                indicationsInside,
                pin,
                pukLocked,
                registerAfter,
                roaming,
                registrationDenied,
                help};
    }
};

void setupParser(QCommandLineParser& parser, const Flags& flags) {
    parser.setApplicationDescription(QStringLiteral(
        "Virtual GSM modem on a pseudo-terminal. Prints the device path(s) to open, one per line,\n"
        "and answers AT commands there until interrupted. BULKSMS_CLOCK_SCALE shrinks its delays."));
    parser.addOptions(flags.all());
}

bool readInt(const QString& text, int low, int high, int* out) {
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < low || value > high)
        return false;
    *out = value;
    return true;
}

} // namespace

QString usage() {
    QCommandLineParser parser;
    Flags flags;
    setupParser(parser, flags);
    return parser.helpText();
}

SimOptions parse(const QStringList& arguments) {
    SimOptions options;
    QCommandLineParser parser;
    Flags flags;
    setupParser(parser, flags);
    if (!parser.parse(arguments)) {
        options.error = parser.errorText();
        return options;
    }
    if (!parser.positionalArguments().isEmpty()) {
        options.error = QStringLiteral("Unexpected argument: %1").arg(parser.positionalArguments().first());
        return options;
    }
    options.help = parser.isSet(flags.help);
    ModemIdentity& id = options.identity;
    ModemBehaviour& b = options.behaviour;
    if (parser.isSet(flags.profile) &&
        !ModemProfile::apply(parser.value(flags.profile), id, b, &options.error))
        return options;
    // Flags only ever switch on: what they leave unset stays as the profile has it.
    const auto text = [&](const QCommandLineOption& o, QString& field) {
        if (parser.isSet(o))
            field = parser.value(o);
    };
    text(flags.manufacturer, id.manufacturer);
    text(flags.model, id.model);
    text(flags.revision, id.revision);
    text(flags.imei, id.imei);
    text(flags.iccid, id.iccid);
    text(flags.operatorName, id.operatorName);
    text(flags.smsc, id.smsc);
    text(flags.log, options.logPath);
    text(flags.incoming, options.incomingPath);
    text(flags.link, options.linkPath);
    id.smscAsUcs2 = id.smscAsUcs2 || parser.isSet(flags.smscUcs2);
    b.echo = b.echo && !parser.isSet(flags.noEcho);
    b.cmgsTestAnswersError = b.cmgsTestAnswersError || parser.isSet(flags.cmgsTestError);
    b.undefinedIdentity = b.undefinedIdentity || parser.isSet(flags.undefinedIdentity);
    b.iccidUnreadable = b.iccidUnreadable || parser.isSet(flags.noIccid);
    b.silent = b.silent || parser.isSet(flags.silent);
    b.echoOnly = b.echoOnly || parser.isSet(flags.echoOnly);
    b.lateCmgsAnswers = b.lateCmgsAnswers || parser.isSet(flags.lateAnswers);
    b.indicationsInsideAnswers = b.indicationsInsideAnswers || parser.isSet(flags.indicationsInside);
    b.pukLocked = b.pukLocked || parser.isSet(flags.pukLocked);
    b.roaming = b.roaming || parser.isSet(flags.roaming);
    b.registrationDenied = b.registrationDenied || parser.isSet(flags.registrationDenied);
    if (parser.isSet(flags.pin)) {
        b.simPin = parser.value(flags.pin);
        static const QRegularExpression pinPattern(QStringLiteral("^[0-9]{4,8}$"));
        if (!pinPattern.match(b.simPin).hasMatch())
            options.error = QStringLiteral("--pin needs 4 to 8 digits, not \"%1\"").arg(b.simPin);
    }
    // A locked SIM says so at start-up where the profile's modem reports "+CPIN: READY".
    if (b.pukLocked || !b.simPin.isEmpty())
        for (TimedIndication& indication : b.timedIndications)
            if (indication.line == u"+CPIN: READY")
                indication.line =
                    b.pukLocked ? QStringLiteral("+CPIN: SIM PUK") : QStringLiteral("+CPIN: SIM PIN");

    const auto number = [&](const QCommandLineOption& o, int low, int high, int& field) {
        if (parser.isSet(o) && !readInt(parser.value(o), low, high, &field) && options.error.isEmpty())
            options.error = QStringLiteral("--%1 needs a number from %2 to %3, not \"%4\"")
                                .arg(o.names().constFirst())
                                .arg(low)
                                .arg(high)
                                .arg(parser.value(o));
    };
    number(flags.signal, 0, 99, id.rssi);
    number(flags.bursts, 1, 64, b.answerBursts);
    number(flags.networkDelay, 0, 600000, b.networkDelayMs);
    number(flags.latency, 0, 60000, b.answerLatencyMs);
    number(flags.unplugAfterParts, 0, 1000000, b.unplugAfterParts);
    number(flags.silentAfter, 0, 1000000, b.silentAfterMessages);
    number(flags.count, 1, 32, options.count);
    number(flags.reportDelay, 0, 600000, b.statusReportDelayMs);
    number(flags.simSize, 1, 255, b.simSize);
    number(flags.registerAfter, 0, 3600000, b.registerAfterMs);
    if (parser.isSet(flags.simFull)) {
        for (int i = 1; i <= b.simSize; ++i) {
            IncomingMessage kept;
            kept.from = QStringLiteral("+447700900999");
            kept.text = QStringLiteral("Kept message %1").arg(i);
            b.simMessagesAtStart.append(kept);
        }
    }
    b.noStatusReportFor += parser.values(flags.noReport);

    if (parser.isSet(flags.battery)) {
        const QStringList pair = parser.value(flags.battery).split(u',');
        if (pair.size() != 2 || !readInt(pair.at(0), 0, 3, &id.batteryState) ||
            !readInt(pair.at(1), 0, 100, &id.batteryCharge))
            options.error = QStringLiteral("--battery needs STATE,CHARGE such as 0,80");
    }
    if (parser.isSet(flags.modes)) {
        const QString m = parser.value(flags.modes).toLower();
        if (m == u"pdu")
            b.modes = ModemBehaviour::Modes::PduOnly;
        else if (m == u"text")
            b.modes = ModemBehaviour::Modes::TextOnly;
        else if (m == u"both")
            b.modes = ModemBehaviour::Modes::Both;
        else
            options.error = QStringLiteral("--modes is pdu, text or both, not \"%1\"").arg(m);
    }
    if (parser.isSet(flags.charsets)) {
        b.characterSets.clear();
        for (const QString& set : parser.value(flags.charsets).split(u',', Qt::SkipEmptyParts)) {
            if (!TextCharset::isSupported(set.trimmed())) {
                options.error = QStringLiteral("--charsets knows %1, not \"%2\"")
                                    .arg(TextCharset::supported().join(u','), set);
                break;
            }
            b.characterSets << set.trimmed().toUpper();
        }
    }
    b.refusedServiceCentres += parser.values(flags.refuseSmsc);
    b.pduModeRefused = b.pduModeRefused || parser.isSet(flags.refusePduMode);
    // NUMBER=N rules, each number's value in [0, high].
    const auto rules = [&](const QCommandLineOption& o, int high, QMap<QString, int>& into) {
        for (const QString& rule : parser.values(o)) {
            const qsizetype eq = rule.lastIndexOf(u'=');
            int code = 0;
            if (eq <= 0 || !readInt(rule.mid(eq + 1), 0, high, &code)) {
                options.error =
                    QStringLiteral("--%1 needs NUMBER=CODE, not \"%2\"").arg(o.names().constFirst(), rule);
                return;
            }
            into.insert(rule.left(eq), code);
        }
    };
    rules(flags.cmsError, 999, b.cmsErrorForNumber);
    rules(flags.deliveryStatus, 255, b.deliveryStatusForNumber);
    return options;
}

} // namespace sim::SimOptionsParser
