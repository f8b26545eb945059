#include "SimCommands.h"

#include "Gsm7Encoder.h"
#include "TextCharset.h"

namespace sim {
namespace {

using Kind = AtCommand::Kind;

constexpr int kOperationNotAllowed = 302;
constexpr int kInvalidPduParameter = 304;
constexpr int kInvalidTextParameter = 305;
constexpr int kInvalidIndex = 321;
constexpr int kMemoryFull = 322;
constexpr int kDcsAlphabet = 0x0C;

CommandResult ok(QStringList information = {}) {
    CommandResult result;
    result.information = std::move(information);
    return result;
}

CommandResult failure(int cmsCode) {
    CommandResult result;
    result.final = CommandResult::Final::Error;
    result.error = ModemCommands::cmsError(cmsCode);
    return result;
}

bool isSevenBit(int dcs) {
    if ((dcs & 0xC0) == 0) // general data coding
        return (dcs & kDcsAlphabet) == 0;
    if ((dcs & 0xF0) == 0xF0)
        return (dcs & 0x04) == 0;
    return (dcs & 0xF0) != 0xE0; // message waiting groups are 7-bit, 0xE0 is UCS2
}

bool isEightBit(int dcs) { return (dcs & 0xC0) == 0 ? (dcs & kDcsAlphabet) == 0x04 : (dcs & 0xF4) == 0xF4; }

QString hexOfUtf16(const QString& text) {
    QString hex;
    for (const QChar c : text)
        hex += QStringLiteral("%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
    return hex;
}

} // namespace

QString SimCommands::textModeBody(const SimEntry& entry, const QString& charset) {
    if (!isSevenBit(entry.dcs)) {
        if (isEightBit(entry.dcs))
            return QString::fromLatin1(entry.text.toLatin1().toHex().toUpper());
        return hexOfUtf16(entry.text);
    }
    const QString set = charset.toUpper();
    if (set == u"UCS2")
        return hexOfUtf16(entry.text);
    if (set == u"UTF-8" || set == u"8859-1" || set == u"IRA") {
        if (set == u"UTF-8")
            return entry.text;
        QString shown;
        for (const QChar c : entry.text)
            shown += c.unicode() < (set == u"IRA" ? 128 : 256) ? c : QChar(u'?');
        return shown;
    }
    QList<quint8> septets;
    Gsm7Encoder::toSeptets(entry.text, &septets);
    QByteArray codes;
    for (const quint8 septet : septets)
        codes.append(char(septet));
    if (set == u"HEX")
        return QString::fromLatin1(codes.toHex().toUpper());
    return QString::fromLatin1(codes); // "GSM": the codes themselves
}

std::optional<CommandResult> SimCommands::run(const AtCommand& command) {
    const QString& name = command.name;
    if (name == u"+CPMS")
        return preferredStorage(command);
    if (name == u"+CMGL")
        return list(command);
    if (name == u"+CMGR")
        return read(command);
    if (name == u"+CMGD")
        return remove(command);
    if (name == u"+CMGW")
        return write(command);
    return std::nullopt;
}

CommandResult SimCommands::preferredStorage(const AtCommand& command) const {
    const QString counts = QStringLiteral("%1,%2").arg(m_store.used()).arg(m_store.capacity());
    if (command.kind == Kind::Read)
        return ok({QStringLiteral("+CPMS: \"SM\",%1,\"SM\",%1,\"SM\",%1").arg(counts)});
    if (command.kind == Kind::Test)
        return ok({QStringLiteral("+CPMS: (\"SM\"),(\"SM\"),(\"SM\")")});
    const QStringList memories = command.values();
    if (command.kind != Kind::Set || memories.isEmpty() || memories.size() > 3)
        return failure(kOperationNotAllowed);
    for (const QString& memory : memories)
        if (!memory.isEmpty() && memory.compare(u"SM", Qt::CaseInsensitive) != 0)
            return failure(kOperationNotAllowed); // the only memory this modem has
    QStringList answer;
    for (int i = 0; i < 3; ++i)
        answer << counts;
    return ok({QStringLiteral("+CPMS: ") + answer.join(u',')});
}

int SimCommands::indexOf(const QString& text) const {
    bool parsed = false;
    const int index = text.trimmed().toInt(&parsed);
    return parsed && index >= 1 && index <= m_store.capacity() ? index : -1;
}

QString SimCommands::header(const SimEntry& entry, int index, bool listed) const {
    const QString lead = listed ? QStringLiteral("+CMGL: %1,").arg(index) : QStringLiteral("+CMGR: ");
    if (m_settings.cmgf == 0)
        return lead + QStringLiteral("%1,,%2").arg(entry.status).arg(entry.tpduLength);
    const QString status = QStringLiteral("\"%1\"").arg(SimStore::statusName(entry.status));
    if (entry.kind == SimEntry::Kind::Report)
        return lead + status + u',' + entry.reportFields;
    const QString address = TextCharset::encodeParameter(entry.address, m_settings.cscs);
    QString line = lead + status + QStringLiteral(",\"%1\",,").arg(address);
    if (entry.kind == SimEntry::Kind::Received)
        line += QStringLiteral("\"%1\"").arg(entry.timestamp);
    if (m_settings.csdh == 1) {
        QList<quint8> septets;
        const bool sevenBit = isSevenBit(entry.dcs) && Gsm7Encoder::toSeptets(entry.text, &septets);
        const int length = sevenBit                ? int(septets.size())
                           : isEightBit(entry.dcs) ? int(entry.text.size())
                                                   : int(entry.text.size() * 2);
        line += listed ? QStringLiteral(",%1,%2").arg(entry.addressType).arg(length)
                       : QStringLiteral(",%1,%2,0,%3,,,%4")
                             .arg(entry.addressType)
                             .arg(entry.kind == SimEntry::Kind::Received ? 4 : 17)
                             .arg(entry.dcs)
                             .arg(length);
    }
    return line;
}

CommandResult SimCommands::list(const AtCommand& command) {
    const bool pdu = m_settings.cmgf == 0;
    if (command.kind == Kind::Test)
        return ok({pdu ? QStringLiteral("+CMGL: (0-4)")
                       : QStringLiteral(
                             "+CMGL: (\"REC UNREAD\",\"REC READ\",\"STO UNSENT\",\"STO SENT\",\"ALL\")")});
    if (command.kind == Kind::Read)
        return failure(pdu ? kInvalidPduParameter : kInvalidTextParameter);
    int status = SimStore::RecUnread; // what a bare "AT+CMGL" lists
    if (command.kind == Kind::Set) {
        bool parsed = false;
        status = pdu ? command.value(0).toInt(&parsed) : SimStore::statusFromName(command.value(0));
        if (pdu ? !parsed || status < 0 || status > SimStore::All || command.quoted(0)
                : status < 0 || !command.quoted(0))
            return failure(pdu ? kInvalidPduParameter : kInvalidTextParameter);
    }
    QStringList lines;
    for (const int index : m_store.indexes(status)) {
        SimEntry& entry = *m_store.at(index);
        lines << header(entry, index, true);
        if (pdu)
            lines << entry.pduHex;
        else if (entry.kind != SimEntry::Kind::Report) // a report in text mode is the one line
            lines << textModeBody(entry, m_settings.cscs);
        if (entry.status == SimStore::RecUnread)
            entry.status = SimStore::RecRead; // listing reads them, as 27.005 has it
    }
    // one block: each header line followed by its message, as modems list them
    return ok(lines.isEmpty() ? QStringList() : QStringList{lines.join(QStringLiteral("\r\n"))});
}

CommandResult SimCommands::read(const AtCommand& command) {
    if (command.kind == Kind::Test)
        return ok();
    const int index = command.kind == Kind::Set ? indexOf(command.value(0)) : -1;
    SimEntry* entry = index < 0 ? nullptr : m_store.at(index);
    if (entry == nullptr)
        return failure(kInvalidIndex);
    QStringList lines{header(*entry, index, false)};
    if (m_settings.cmgf == 0)
        lines << entry->pduHex;
    else if (entry->kind != SimEntry::Kind::Report)
        lines << textModeBody(*entry, m_settings.cscs);
    if (entry->status == SimStore::RecUnread)
        entry->status = SimStore::RecRead;
    return ok({lines.join(QStringLiteral("\r\n"))});
}

CommandResult SimCommands::remove(const AtCommand& command) {
    if (command.kind == Kind::Test) {
        QStringList used;
        for (const int index : m_store.indexes(SimStore::All))
            used << QString::number(index);
        return ok({QStringLiteral("+CMGD: (%1),(0-4)").arg(used.join(u','))});
    }
    if (command.kind != Kind::Set)
        return failure(kInvalidIndex);
    int flag = 0;
    if (!command.value(1).isEmpty()) {
        bool parsed = false;
        flag = command.value(1).toInt(&parsed);
        if (!parsed || flag < 0 || flag > 4)
            return failure(m_settings.cmgf == 0 ? kInvalidPduParameter : kInvalidTextParameter);
    }
    if (flag > 0) { // the index is ignored
        m_deleted += m_store.removeByFlag(flag);
        return ok();
    }
    const int index = indexOf(command.value(0));
    if (index < 0)
        return failure(kInvalidIndex);
    if (std::optional<SimEntry> entry = m_store.take(index)) // an empty place is deleted without complaint
        m_deleted.append({index, std::move(*entry)});
    return ok();
}

CommandResult SimCommands::write(const AtCommand& command) const {
    if (command.kind == Kind::Test)
        return ok();
    const bool pdu = m_settings.cmgf == 0;
    CommandResult result;
    result.toStore = true;
    if (pdu) {
        bool parsed = false;
        const int length = command.value(0).toInt(&parsed);
        if (command.kind != Kind::Set || !parsed || length < 7 || length > 164)
            return failure(kInvalidPduParameter);
        result.pduLength = length;
        if (!command.value(1).isEmpty()) {
            result.storeStatus = command.value(1).toInt(&parsed);
            if (!parsed || result.storeStatus < 0 || result.storeStatus > 3)
                return failure(kInvalidPduParameter);
        }
        result.final = CommandResult::Final::PromptPdu;
    } else {
        result.number = TextCharset::decodeParameter(command.value(0), m_settings.cscs);
        if (!command.value(2).isEmpty()) {
            result.storeStatus = SimStore::statusFromName(command.value(2));
            if (result.storeStatus < 0 || result.storeStatus > 3)
                return failure(kInvalidTextParameter);
        }
        result.final = CommandResult::Final::PromptText;
    }
    if (m_store.full())
        return failure(kMemoryFull);
    return result;
}

} // namespace sim
