#include "ModemCommands.h"

#include "TextCharset.h"

#include "core/Clock.h"

namespace sim {
namespace {

using Kind = AtCommand::Kind;

CommandResult ok(QStringList information = {}) {
    CommandResult result;
    result.information = std::move(information);
    return result;
}

CommandResult failure(const QString& line) {
    CommandResult result;
    result.final = CommandResult::Final::Error;
    result.error = line;
    return result;
}

CommandResult plainError() { return failure(QStringLiteral("ERROR")); }

// A whole-number parameter within [low, high]; false when absent or out of range.
bool numberIn(const QString& text, int low, int high, int* value) {
    bool parsed = false;
    const int v = text.trimmed().toInt(&parsed);
    if (!parsed || v < low || v > high)
        return false;
    *value = v;
    return true;
}

bool isIdentityCommand(const QString& name) {
    static const QStringList names = {"+GMI", "+CGMI", "+GMM",  "+CGMM", "+GMR",  "+CGMR",
                                      "+GSN", "+CGSN", "+GCAP", "+CIMI", "+CCID", "I"};
    return names.contains(name);
}

bool isStatusCommand(const QString& name) {
    static const QStringList names = {"+CBC",  "+CSQ",   "+COPS",  "+CFUN", "+CPIN",
                                      "+CREG", "+CGREG", "+CEREG", "+CMEE"};
    return names.contains(name);
}

} // namespace

ModemSettings ModemCommands::factorySettings(const ModemIdentity& identity, const ModemBehaviour& behaviour) {
    ModemSettings settings;
    settings.echo = behaviour.echo;
    settings.cmgf = behaviour.modes == ModemBehaviour::Modes::TextOnly || behaviour.pduModeRefused ? 1 : 0;
    settings.smsc = identity.smsc;
    return settings;
}

QString ModemCommands::cmeError(int code) const {
    if (m_settings.cmee == 0)
        return QStringLiteral("ERROR");
    if (m_settings.cmee == 2) {
        switch (code) {
        case 3: return QStringLiteral("+CME ERROR: operation not allowed");
        case 4: return QStringLiteral("+CME ERROR: operation not supported");
        case 10: return QStringLiteral("+CME ERROR: SIM not inserted");
        case 11: return QStringLiteral("+CME ERROR: SIM PIN required");
        case 12: return QStringLiteral("+CME ERROR: SIM PUK required");
        case 16: return QStringLiteral("+CME ERROR: incorrect password");
        default: return QStringLiteral("+CME ERROR: unknown");
        }
    }
    return QStringLiteral("+CME ERROR: %1").arg(code);
}

CommandResult ModemCommands::run(const AtCommand& command, const ModemBehaviour& behaviour) {
    const QString& name = command.name;
    if (isIdentityCommand(name))
        return identification(command, behaviour);
    if (isStatusCommand(name))
        return status(command, behaviour);
    if (name.startsWith(u'+'))
        return messaging(command, behaviour);
    return basic(command, behaviour);
}

CommandResult ModemCommands::basic(const AtCommand& command, const ModemBehaviour& behaviour) {
    const QString& name = command.name;
    if (name == u"E") {
        int value = 0;
        if (!command.argument.isEmpty() && !numberIn(command.argument, 0, 1, &value))
            return plainError();
        m_settings.echo = value == 1;
        return ok();
    }
    if (name == u"Z" || name == u"&F") {
        m_settings = factorySettings(m_identity, behaviour);
        return ok();
    }
    if (name == u"Q" || name == u"V" || name == u"X" || name == u"&C" || name == u"&D" || name == u"&K" ||
        name == u"&W" || name == u"&V")
        return ok();
    if (name.startsWith(u'S') && name.size() > 1) {
        if (command.kind == Kind::Read) {
            const int reg = name.mid(1).toInt();
            const int value = reg == 3 ? 13 : reg == 4 ? 10 : reg == 5 ? 8 : 0;
            return ok({QStringLiteral("%1").arg(value, 3, 10, QLatin1Char('0'))});
        }
        return ok();
    }
    return plainError(); // dialling, answering and everything else a data-less modem lacks
}

QString ModemCommands::iccidOf(const ModemIdentity& identity) {
    if (!identity.iccid.isEmpty())
        return identity.iccid;
    QString digits;
    for (QChar c : identity.imei)
        if (c.isDigit())
            digits.append(c);
    QString number = QStringLiteral("894") + digits.right(15).rightJustified(15, u'0');
    // Luhn: from the right, every second digit of the number without its check digit doubled.
    int sum = 0;
    for (qsizetype i = 0; i < number.size(); ++i) {
        int d = number.at(number.size() - 1 - i).digitValue();
        if (i % 2 == 0)
            d = d * 2 > 9 ? d * 2 - 9 : d * 2;
        sum += d;
    }
    return number + QString::number((10 - sum % 10) % 10);
}

CommandResult ModemCommands::identification(const AtCommand& command, const ModemBehaviour& behaviour) {
    const QString& name = command.name;
    if (name == u"+CCID") {
        if (behaviour.iccidUnreadable || command.kind == Kind::Set)
            return plainError();
        if (command.kind == Kind::Test)
            return ok();
        return ok({QStringLiteral("+CCID: %1").arg(iccidOf(m_identity))}); // "AT+CCID" or "AT+CCID?"
    }
    if (command.kind == Kind::Test)
        return ok();
    if (command.kind != Kind::Action)
        return plainError();
    const bool shortForm = name == u"+GMI" || name == u"+GMM" || name == u"+GMR" || name == u"+GSN";
    if (shortForm && behaviour.undefinedIdentity)
        return ok({QStringLiteral("Undefined")});
    if (name == u"+GCAP")
        return ok({QStringLiteral("+GCAP: +CGSM")});
    if (name == u"+CIMI")
        return ok({QStringLiteral("001010123456789")});
    if (name.endsWith(u"MI"))
        return ok({m_identity.manufacturer});
    if (name.endsWith(u"MM"))
        return ok({m_identity.model});
    if (name.endsWith(u"MR"))
        return ok({m_identity.revision});
    if (name.endsWith(u"SN"))
        return ok({m_identity.imei});
    // "ATI": one block, as many modems print it
    return ok({QStringLiteral("Manufacturer: %1").arg(m_identity.manufacturer),
               QStringLiteral("Model: %1").arg(m_identity.model),
               QStringLiteral("Revision: %1").arg(m_identity.revision),
               QStringLiteral("IMEI: %1").arg(m_identity.imei), QStringLiteral("+GCAP: +CGSM")});
}

ModemCommands::SimLock& ModemCommands::simLock(const ModemBehaviour& behaviour) {
    if (!m_sim.known) {
        m_sim.known = true;
        m_sim.puk = behaviour.pukLocked;
        m_sim.pin = !m_sim.puk && !behaviour.simPin.isEmpty();
        m_sim.readyAt = std::chrono::steady_clock::now();
    }
    return m_sim;
}

std::optional<CommandResult> ModemCommands::simRefusal(const AtCommand& command,
                                                       const ModemBehaviour& behaviour) {
    // What needs the SIM: its message store, the service centre it holds, and the network.
    static const QStringList needingSim = {"+CMGS", "+CMGW", "+CMGL", "+CMGR", "+CMGD",
                                           "+CPMS", "+CSCA", "+CNMI", "+CMSS", "+CIMI"};
    const SimLock& sim = simLock(behaviour);
    if ((!sim.pin && !sim.puk) || command.kind == Kind::Test || !needingSim.contains(command.name))
        return std::nullopt;
    return failure(cmeError(sim.puk ? 12 : 11));
}

CommandResult ModemCommands::pinCommand(const AtCommand& command, const ModemBehaviour& behaviour) {
    SimLock& sim = simLock(behaviour);
    if (command.kind == Kind::Read)
        return ok({sim.puk   ? QStringLiteral("+CPIN: SIM PUK")
                   : sim.pin ? QStringLiteral("+CPIN: SIM PIN")
                             : QStringLiteral("+CPIN: READY")});
    if (command.kind == Kind::Test)
        return ok();
    if (command.kind != Kind::Set || command.value(0).isEmpty())
        return failure(cmeError(4));
    if (sim.puk)
        return failure(cmeError(12)); // a PUK is not taken here: unblocking is a phone's job
    if (!sim.pin)
        return failure(cmeError(3)); // no PIN is asked for
    if (command.value(0) == behaviour.simPin) {
        sim.pin = false;
        sim.wrongPins = 0;
        sim.readyAt = std::chrono::steady_clock::now();
        return ok();
    }
    if (++sim.wrongPins >= 3) {
        sim.pin = false;
        sim.puk = true;
    }
    return failure(cmeError(16));
}

int ModemCommands::registrationStat(const ModemBehaviour& behaviour) {
    const SimLock& sim = simLock(behaviour);
    if (m_settings.cfun != 1 || sim.pin || sim.puk)
        return 0; // not registered, not searching
    if (behaviour.registrationDenied)
        return 3;
    if (std::chrono::steady_clock::now() <
        sim.readyAt + Clock::scaled(std::chrono::milliseconds(behaviour.registerAfterMs)))
        return 2;
    return behaviour.roaming ? 5 : 1;
}

CommandResult ModemCommands::status(const AtCommand& command, const ModemBehaviour& behaviour) {
    const QString& name = command.name;
    const Kind kind = command.kind;
    if (name == u"+CMEE") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CMEE: %1").arg(m_settings.cmee)});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CMEE: (0-2)")});
        if (kind == Kind::Set && numberIn(command.value(0), 0, 2, &m_settings.cmee))
            return ok();
        return failure(cmeError(4));
    }
    if (name == u"+CBC" || name == u"+CSQ") {
        const bool battery = name == u"+CBC";
        if (kind == Kind::Test)
            return ok({battery ? QStringLiteral("+CBC: (0-3),(0-100)")
                               : QStringLiteral("+CSQ: (0-31,99),(0-7,99)")});
        if (kind != Kind::Action)
            return failure(cmeError(4));
        if (battery)
            return ok(
                {QStringLiteral("+CBC: %1,%2").arg(m_identity.batteryState).arg(m_identity.batteryCharge)});
        return ok({QStringLiteral("+CSQ: %1,99").arg(m_identity.rssi)});
    }
    if (name == u"+COPS") {
        if (kind == Kind::Read) {
            const int stat = registrationStat(behaviour);
            if (m_identity.operatorName.isEmpty() || (stat != 1 && stat != 5))
                return ok({QStringLiteral("+COPS: 0")});
            return ok({QStringLiteral("+COPS: 0,0,\"%1\",0").arg(m_identity.operatorName)});
        }
        if (kind == Kind::Test)
            return ok({QStringLiteral("+COPS: (2,\"%1\",\"%1\",\"00101\",0),,(0-4),(0-2)")
                           .arg(m_identity.operatorName)});
        int mode = 0;
        if (kind == Kind::Set && numberIn(command.value(0), 0, 4, &mode))
            return ok();
        return failure(cmeError(4));
    }
    if (name == u"+CFUN") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CFUN: %1").arg(m_settings.cfun)});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CFUN: (0,1,4),(0-1)")});
        int level = 0;
        if (kind == Kind::Set && numberIn(command.value(0), 0, 4, &level) && level != 2 && level != 3) {
            m_settings.cfun = level;
            return ok();
        }
        return failure(cmeError(4));
    }
    if (name == u"+CPIN")
        return pinCommand(command, behaviour);
    // +CREG, +CGREG, +CEREG: as the SIM and the network let the modem register
    if (kind == Kind::Read)
        return ok(
            {QStringLiteral("%1: %2,%3").arg(name).arg(m_settings.creg).arg(registrationStat(behaviour))});
    if (kind == Kind::Test)
        return ok({QStringLiteral("%1: (0-2)").arg(name)});
    if (kind == Kind::Set && numberIn(command.value(0), 0, 2, &m_settings.creg))
        return ok();
    return failure(cmeError(4));
}

QString ModemCommands::smscAnswer() const {
    const QString& number = m_settings.smsc;
    const int type = number.startsWith(u'+') ? 145 : 129;
    const QString shown = m_identity.smscAsUcs2 ? TextCharset::encodeParameter(number, QStringLiteral("UCS2"))
                                                : TextCharset::encodeParameter(number, m_settings.cscs);
    return QStringLiteral("+CSCA: \"%1\",%2").arg(shown).arg(type);
}

CommandResult ModemCommands::messaging(const AtCommand& command, const ModemBehaviour& behaviour) {
    const QString& name = command.name;
    const Kind kind = command.kind;
    if (name == u"+CMGS")
        return messageSubmit(command, behaviour);
    if (name == u"+CSCA") {
        if (kind == Kind::Read)
            return ok({smscAnswer()});
        if (kind == Kind::Test)
            return ok();
        if (kind != Kind::Set || command.value(0).isEmpty())
            return failure(cmsError(304));
        QString number = TextCharset::decodeParameter(command.value(0), m_settings.cscs);
        int type = 0;
        if (!command.value(1).isEmpty() && !numberIn(command.value(1), 0, 255, &type))
            return failure(cmsError(304));
        if (type == 145 && !number.startsWith(u'+'))
            number.prepend(u'+');
        m_settings.smsc = number;
        return ok();
    }
    if (name == u"+CSMS") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CSMS: 0,1,1,1")});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CSMS: (0,1)")});
        int service = 0;
        if (kind == Kind::Set && numberIn(command.value(0), 0, 1, &service))
            return ok({QStringLiteral("+CSMS: 1,1,1")});
        return failure(cmsError(303));
    }
    if (name == u"+CMGF") {
        const bool pdu = behaviour.modes != ModemBehaviour::Modes::TextOnly;
        const bool text = behaviour.modes != ModemBehaviour::Modes::PduOnly;
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CMGF: %1").arg(m_settings.cmgf)});
        if (kind == Kind::Test)
            return ok({pdu && text ? QStringLiteral("+CMGF: (0,1)")
                       : pdu       ? QStringLiteral("+CMGF: (0)")
                                   : QStringLiteral("+CMGF: (1)")});
        int mode = 0;
        if (kind == Kind::Set && numberIn(command.value(0), 0, 1, &mode) &&
            (mode == 0 ? pdu && !behaviour.pduModeRefused : text)) {
            m_settings.cmgf = mode;
            return ok();
        }
        return failure(cmsError(303));
    }
    if (name == u"+CSCS") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CSCS: \"%1\"").arg(m_settings.cscs)});
        const QStringList offered =
            behaviour.characterSets.isEmpty() ? TextCharset::supported() : behaviour.characterSets;
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CSCS: (\"%1\")").arg(offered.join(QStringLiteral("\",\"")))});
        if (kind == Kind::Set && offered.contains(command.value(0).toUpper()) &&
            TextCharset::isSupported(command.value(0))) {
            m_settings.cscs = command.value(0).toUpper();
            return ok();
        }
        return failure(cmeError(4));
    }
    if (name == u"+CSMP") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CSMP: %1,%2,%3,%4")
                           .arg(m_settings.csmpFirstOctet)
                           .arg(m_settings.csmpValidity)
                           .arg(m_settings.csmpPid)
                           .arg(m_settings.csmpDcs)});
        if (kind == Kind::Test)
            return ok();
        const QStringList values = command.values();
        if (kind != Kind::Set || values.isEmpty() || values.size() > 4)
            return failure(cmsError(305));
        ModemSettings changed = m_settings;
        int* fields[] = {&changed.csmpFirstOctet, &changed.csmpValidity, &changed.csmpPid, &changed.csmpDcs};
        for (int i = 0; i < values.size(); ++i)
            if (!values.at(i).isEmpty() && !numberIn(values.at(i), 0, 255, fields[i]))
                return failure(cmsError(305));
        m_settings = changed;
        return ok();
    }
    if (name == u"+CMMS") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CMMS: %1").arg(m_settings.cmms)});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CMMS: (0-2)")});
        if (kind == Kind::Set && numberIn(command.value(0), 0, 2, &m_settings.cmms))
            return ok();
        return failure(cmsError(302));
    }
    if (name == u"+CNMI") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CNMI: %1,%2,0,%3,0")
                           .arg(m_settings.cnmiMode)
                           .arg(m_settings.cnmiMt)
                           .arg(m_settings.cnmiDs)});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CNMI: (0-2),(0-3),(0,2),(0-2),(0,1)")});
        int mode = 0;
        int mt = 0;
        int ds = 0;
        const auto optional = [&](int i, int high, int* value) {
            return command.value(i).isEmpty() || numberIn(command.value(i), 0, high, value);
        };
        if (kind == Kind::Set && optional(0, 3, &mode) && optional(1, 3, &mt) && optional(3, 2, &ds) &&
            !(ds == 1 && behaviour.reportsStoredOnly)) {
            m_settings.cnmiMode = mode;
            m_settings.cnmiMt = mt;
            m_settings.cnmiDs = ds;
            return ok();
        }
        return failure(cmsError(303));
    }
    if (name == u"+CSDH") {
        if (kind == Kind::Read)
            return ok({QStringLiteral("+CSDH: %1").arg(m_settings.csdh)});
        if (kind == Kind::Test)
            return ok({QStringLiteral("+CSDH: (0,1)")});
        if (kind == Kind::Set && numberIn(command.value(0), 0, 1, &m_settings.csdh))
            return ok();
        return failure(cmsError(305));
    }
    if (name == u"+CSAS" || name == u"+CRES")
        return ok();
    return plainError();
}

CommandResult ModemCommands::messageSubmit(const AtCommand& command, const ModemBehaviour& behaviour) {
    if (command.kind == Kind::Test)
        return behaviour.cmgsTestAnswersError ? plainError() : ok();
    if (command.kind != Kind::Set)
        return plainError();
    if (m_settings.cfun != 1)
        return failure(cmsError(331)); // radio off: no network service
    CommandResult result;
    if (m_settings.cmgf == 0) {
        if (!numberIn(command.value(0), 7, 164, &result.pduLength))
            return failure(cmsError(304));
        result.final = CommandResult::Final::PromptPdu;
        return result;
    }
    if (!command.quoted(0) || command.value(0).isEmpty())
        return failure(cmsError(305));
    int type = 0;
    if (!command.value(1).isEmpty() && !numberIn(command.value(1), 0, 255, &type))
        return failure(cmsError(305));
    result.number = TextCharset::decodeParameter(command.value(0), m_settings.cscs);
    result.final = CommandResult::Final::PromptText;
    return result;
}

} // namespace sim
