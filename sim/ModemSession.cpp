#include "ModemSession.h"

#include "StatusReport.h"
#include "core/Clock.h"

#include "Gsm7Decoder.h"
#include "TextCharset.h"
#include "core/Log.h"

#include <utility>

namespace sim {
namespace {

constexpr char kCarriageReturn = '\r';
constexpr char kLineFeed = '\n';
constexpr char kBackspace = '\b';
constexpr char kCtrlZ = 0x1A;
constexpr int kStatusReportRequest = 0x20; // TP-SRR in the first octet of a message
constexpr int kUnknownServiceCentre = 330; // "+CMS ERROR: 330", SMSC address unknown
constexpr char kEscape = 0x1B;

// What a 7-bit channel carries of a text: characters outside the alphabet arrive as "?".
QString asCarriedBy7Bit(const QString& text, int* septets) {
    QString carried;
    *septets = 0;
    for (const QChar c : text) {
        const int width = Gsm7Decoder::septetsFor(c);
        carried.append(width == 0 ? QChar(u'?') : c);
        *septets += width == 0 ? 1 : width;
    }
    return carried;
}

} // namespace

ModemSession::ModemSession(ModemIdentity identity, std::function<ModemBehaviour()> behaviour, ModemLine& line,
                           QString device)
    : m_identity(std::move(identity)), m_behaviour(std::move(behaviour)), m_line(line),
      m_device(std::move(device)), m_commands(m_identity, m_settings),
      m_inbox(m_settings, m_device, m_behaviour().simSize) {
    const ModemBehaviour initial = m_behaviour();
    m_settings = ModemCommands::factorySettings(m_identity, initial);
    m_lastBehaviourEcho = initial.echo;
    for (const IncomingMessage& message : initial.simMessagesAtStart)
        m_inbox.preload(message);
}

QByteArray ModemSession::framed(const QString& line) const {
    // Texts the SIM holds reach the computer in its character set; "8859-1" is one octet each.
    const QByteArray bytes = m_settings.cscs == u"8859-1" ? line.toLatin1() : line.toUtf8();
    return "\r\n" + bytes + "\r\n";
}

void ModemSession::deliver(const IncomingMessage& message) {
    m_inbox.deliver(message);
    announce(behaviourNow());
}

void ModemSession::announce(const ModemBehaviour& behaviour) {
    for (const QJsonObject& event : m_inbox.takeEvents())
        m_line.networkEvent(event);
    const QStringList lines = m_inbox.takeIndications();
    if (lines.isEmpty() || behaviour.silent || behaviour.echoOnly)
        return;
    if (behaviour.indicationsInsideAnswers) {
        m_heldIndications += lines;
        return;
    }
    QByteArray bytes;
    for (const QString& line : lines)
        bytes += framed(line);
    m_line.unsolicited(bytes);
}

ModemBehaviour ModemSession::behaviourNow() const {
    ModemBehaviour behaviour = m_behaviour();
    behaviour.silent = behaviour.silent || m_fallenSilent;
    return behaviour;
}

void ModemSession::feed(const QByteArray& bytes) {
    ModemBehaviour behaviour = behaviourNow();
    if (behaviour.echo != m_lastBehaviourEcho) { // a changed behaviour switches echo as ATE would
        m_settings.echo = behaviour.echo;
        m_lastBehaviourEcho = behaviour.echo;
    }
    QByteArray echoed;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char byte = bytes.at(i);
        if (m_input == Input::Command) {
            const bool lineFeedFollows =
                byte == kCarriageReturn && i + 1 < bytes.size() && bytes.at(i + 1) == kLineFeed;
            commandByte(byte, echoed, behaviour, lineFeedFollows);
            if (lineFeedFollows)
                ++i;
        } else {
            bodyByte(byte, echoed, behaviour);
        }
        if (byte == kCarriageReturn || byte == kCtrlZ)
            behaviour = behaviourNow(); // each command sees the behaviour of its moment
    }
    if (!echoed.isEmpty())
        m_line.echo(echoed);
}

void ModemSession::commandByte(char byte, QByteArray& echoed, const ModemBehaviour& behaviour,
                               bool lineFeedFollows) {
    if (byte == kEscape) { // escape cancels the line typed so far, as at the prompt
        m_lineBuffer.clear();
        return;
    }
    const bool echoOn = m_settings.echo && !behaviour.silent;
    if (echoOn)
        echoed.append(byte);
    if (byte == kCarriageReturn) {
        // a line feed typed right behind the carriage return is echoed before the answer:
        // a modem's echo runs ahead of its command processing
        if (lineFeedFollows && echoOn)
            echoed.append(kLineFeed);
        if (!echoed.isEmpty()) {
            m_line.echo(echoed);
            echoed.clear();
        }
        const QByteArray line = m_lineBuffer;
        m_lineBuffer.clear();
        runLine(line, behaviour);
        return;
    }
    if (byte == kLineFeed)
        return;
    if (byte == kBackspace) {
        m_lineBuffer.chop(1);
        return;
    }
    if (m_lineBuffer.size() < kMaxInput)
        m_lineBuffer.append(byte);
}

void ModemSession::bodyByte(char byte, QByteArray& echoed, const ModemBehaviour& behaviour) {
    const bool gsmText = m_input == Input::TextBody && m_settings.cscs == u"GSM";
    if (byte == kCtrlZ) {
        if (!echoed.isEmpty()) {
            m_line.echo(echoed);
            echoed.clear();
        }
        const Input input = m_input;
        m_input = Input::Command;
        if (m_storePrompt.toStore)
            writeToSim(behaviour);
        else if (input == Input::PduBody)
            submitPdu(behaviour);
        else
            submitText(behaviour);
        m_body.clear();
        m_storePrompt = {};
        return;
    }
    if (byte == kEscape && !gsmText) { // escape abandons the message
        m_input = Input::Command;
        m_body.clear();
        m_storePrompt = {};
        m_line.answer(framed(QStringLiteral("OK")));
        return;
    }
    const bool echoOn = m_settings.echo && !behaviour.silent;
    if (echoOn)
        echoed.append(byte);
    if (m_input == Input::PduBody) {
        if (byte == kCarriageReturn || byte == kLineFeed || byte == ' ')
            return;
    } else if (byte == kCarriageReturn && !behaviour.silent) {
        // each new line of text gets a prompt; the echoed carriage return is its first byte
        const QByteArray& prompt = behaviour.prompt;
        echoed.append(echoOn && prompt.startsWith(kCarriageReturn) ? prompt.mid(1) : prompt);
    }
    if (m_body.size() < kMaxInput)
        m_body.append(byte);
}

void ModemSession::runLine(const QByteArray& rawLine, const ModemBehaviour& behaviour) {
    const QString text = QString::fromUtf8(rawLine);
    if (!text.trimmed().isEmpty())
        m_line.commandLine(text);
    if (!m_lateAnswer.isEmpty() && !text.trimmed().isEmpty())
        m_line.answer(std::exchange(m_lateAnswer, QByteArray())); // ahead of this line's answer
    if (behaviour.silent || behaviour.echoOnly)
        return;
    if (!behaviour.unsolicited.isEmpty() && !text.trimmed().isEmpty()) {
        QByteArray reports; // ahead of the answer, as a modem's reports fall between answers
        for (const QString& report : behaviour.unsolicited)
            reports += framed(report);
        m_line.answer(reports);
    }
    const auto scripted = behaviour.scriptedAnswers.constFind(text.trimmed());
    if (scripted != behaviour.scriptedAnswers.constEnd()) {
        m_line.answer(*scripted);
        return;
    }
    if (answerFromTables(text, behaviour))
        return;
    const AtLine line = AtParser::parse(text);
    if (!line.isCommand)
        return; // modems skip anything that does not start with "AT"
    if (!line.syntaxOk) {
        sendFinal({}, QStringLiteral("ERROR"));
        return;
    }
    QStringList information;
    for (const AtCommand& command : line.commands) {
        std::optional<CommandResult> onSim = m_commands.simRefusal(command, behaviour);
        if (!onSim)
            onSim = m_inbox.run(command);
        const CommandResult result = onSim ? *onSim : m_commands.run(command, behaviour);
        information += result.information;
        switch (result.final) {
        case CommandResult::Final::Ok: continue;
        case CommandResult::Final::Error:
            sendFinal(information, result.error);
            announce(behaviour); // places a deletion freed take waiting messages
            return;
        case CommandResult::Final::PromptPdu:
        case CommandResult::Final::PromptText:
            // the prompt ends the line: what follows it is message input
            if (!information.isEmpty())
                m_line.answer(framed(information.join(QStringLiteral("\r\n"))));
            m_input = result.final == CommandResult::Final::PromptPdu ? Input::PduBody : Input::TextBody;
            m_pduLength = result.pduLength;
            m_textNumber = result.number;
            m_storePrompt = result;
            m_body.clear();
            m_line.answer(behaviour.prompt);
            return;
        }
    }
    sendFinal(information, QStringLiteral("OK"));
    announce(behaviour);
}

QString ModemSession::withIdentity(QString line) const {
    line.replace(QStringLiteral("{manufacturer}"), m_identity.manufacturer);
    line.replace(QStringLiteral("{model}"), m_identity.model);
    line.replace(QStringLiteral("{revision}"), m_identity.revision);
    line.replace(QStringLiteral("{imei}"), m_identity.imei);
    line.replace(QStringLiteral("{iccid}"), ModemCommands::iccidOf(m_identity));
    return line;
}

bool ModemSession::answerFromTables(const QString& text, const ModemBehaviour& behaviour) {
    const QString typed = text.trimmed().toUpper();
    if (const auto lines = behaviour.answerLines.constFind(typed);
        lines != behaviour.answerLines.constEnd()) {
        QStringList information;
        for (const QString& line : *lines)
            information << withIdentity(line);
        sendFinal(information, QStringLiteral("OK"));
        return true;
    }
    if (behaviour.unknownCommands.isEmpty())
        return false;
    const AtLine line = AtParser::parse(text);
    for (const AtCommand& command : line.commands) {
        if (behaviour.unknownCommands.contains(command.name, Qt::CaseInsensitive)) {
            sendFinal({}, QStringLiteral("ERROR")); // the whole line fails at the first it does not know
            return true;
        }
    }
    return false;
}

QByteArray ModemSession::answerBytes(const QStringList& information, const QString& rawFinal) {
    // Under "AT+CMEE=2" a modem words its error codes where its maker gives words.
    QString final = rawFinal;
    if (m_settings.cmee == 2) {
        const ModemBehaviour behaviour = behaviourNow();
        for (const auto& [prefix, texts] : {std::pair{QStringLiteral("+CMS ERROR: "), &behaviour.cmsTexts},
                                            std::pair{QStringLiteral("+CME ERROR: "), &behaviour.cmeTexts}}) {
            bool numeric = false;
            const int code = final.startsWith(prefix) ? final.mid(prefix.size()).toInt(&numeric) : 0;
            if (numeric && texts->contains(code))
                final = prefix + texts->value(code);
        }
    }
    QByteArray bytes;
    for (const QString& line : information)
        bytes += framed(line);
    for (const QString& line : std::exchange(m_heldIndications, {}))
        bytes += framed(line);
    return bytes + framed(final);
}

void ModemSession::sendFinal(const QStringList& information, const QString& final) {
    m_line.answer(answerBytes(information, final));
}

void ModemSession::writeToSim(const ModemBehaviour& behaviour) {
    const CommandResult result = m_inbox.write(m_body, m_storePrompt);
    sendFinal(result.information,
              result.final == CommandResult::Final::Error ? result.error : QStringLiteral("OK"));
    announce(behaviour);
}

void ModemSession::sendNetworkAnswer(const QStringList& information, const QString& final,
                                     const ModemBehaviour& behaviour) {
    if (!behaviour.lateCmgsAnswers) {
        sendFinal(information, final);
        return;
    }
    m_lateAnswer += answerBytes(information, final);
}

int ModemSession::refusalFor(const QString& number, const QString& smsc, const ModemBehaviour& behaviour) {
    if (const int code = behaviour.cmsErrorForSubmission.value(++m_submissions))
        return code;
    if (behaviour.refusedServiceCentres.contains(smsc))
        return kUnknownServiceCentre;
    const QString bare = number.startsWith(u'+') ? number.mid(1) : number;
    for (const QString& candidate : {number, bare, QStringLiteral("+") + bare})
        if (behaviour.cmsErrorForNumber.contains(candidate))
            return behaviour.cmsErrorForNumber.value(candidate);
    return 0;
}

void ModemSession::refuse(int cmsCode, const ModemBehaviour& behaviour, bool afterNetwork) {
    if (afterNetwork && !m_line.waitForNetwork(std::chrono::milliseconds(behaviour.networkDelayMs)))
        return;
    if (afterNetwork)
        sendNetworkAnswer({}, ModemCommands::cmsError(cmsCode), behaviour);
    else
        sendFinal({}, ModemCommands::cmsError(cmsCode));
}

void ModemSession::submitPdu(const ModemBehaviour& behaviour) {
    const QString hex = QString::fromLatin1(m_body);
    const DecodedPdu pdu = PduDecoder::decode(hex, m_pduLength);
    if (!pdu.ok) {
        Show_NSLog_Message(
            QStringLiteral("virtual modem %1: PDU refused (%2): %3").arg(m_device, pdu.error, hex));
        refuse(304, behaviour, false);
        return;
    }
    if (const int code = refusalFor(pdu.number, pdu.smsc.isEmpty() ? m_settings.smsc : pdu.smsc, behaviour)) {
        refuse(code, behaviour, true);
        return;
    }
    ReceivedMessage part;
    part.device = m_device;
    part.number = pdu.number;
    part.text = pdu.text;
    part.smsc = pdu.smsc.isEmpty() ? m_settings.smsc : pdu.smsc;
    part.mode = QStringLiteral("PDU");
    part.dcs = pdu.dcs;
    part.pduHex = QStringList{hex};
    part.totalParts = pdu.concatenation.total;
    accept(part, pdu.concatenation, behaviour, (pdu.firstOctet & kStatusReportRequest) != 0);
}

void ModemSession::submitText(const ModemBehaviour& behaviour) {
    const int dcs = m_settings.csmpDcs;
    const bool generalCoding = (dcs & 0xC0) == 0;
    const bool ucs2 = generalCoding ? ((dcs >> 2) & 3) == 2 : (dcs & 0xF0) == 0xE0;
    const bool eightBit = generalCoding ? ((dcs >> 2) & 3) == 1 : (dcs & 0xF4) == 0xF4;
    bool decoded = false;
    QString text = TextCharset::decodeBody(m_body, m_settings.cscs, ucs2, &decoded);
    if (!decoded) {
        Show_NSLog_Message(
            QStringLiteral("virtual modem %1: text not valid in %2").arg(m_device, m_settings.cscs));
        refuse(305, behaviour, false);
        return;
    }
    int units = int(text.size());
    if (!ucs2 && !eightBit)
        text = asCarriedBy7Bit(text, &units);
    const int limit = ucs2 ? 70 : eightBit ? 140 : 160;
    if (units > limit) {
        Show_NSLog_Message(QStringLiteral("virtual modem %1: text of %2 units exceeds one message")
                               .arg(m_device)
                               .arg(units));
        refuse(305, behaviour, false);
        return;
    }
    if (const int code = refusalFor(m_textNumber, m_settings.smsc, behaviour)) {
        refuse(code, behaviour, true);
        return;
    }
    ReceivedMessage message;
    message.device = m_device;
    message.number = m_textNumber;
    message.text = text;
    message.smsc = m_settings.smsc;
    message.mode = QStringLiteral("TEXT");
    message.dcs = dcs;
    accept(message, Concatenation{}, behaviour, (m_settings.csmpFirstOctet & kStatusReportRequest) != 0);
}

void ModemSession::accept(const ReceivedMessage& part, const Concatenation& concatenation,
                          const ModemBehaviour& behaviour, bool reportRequested) {
    if (!m_line.waitForNetwork(std::chrono::milliseconds(behaviour.networkDelayMs)))
        return;
    // Messages that arrived while the network took this one are announced before its answer.
    for (const IncomingMessage& arrival : m_line.arrivals())
        m_inbox.deliver(arrival);
    if (const auto arrival = behaviour.arrivalsDuringSubmission.constFind(m_submissions);
        arrival != behaviour.arrivalsDuringSubmission.constEnd())
        m_inbox.deliver(*arrival);
    announce(behaviour);
    m_messageReference = (m_messageReference + 1) % 256;
    ReceivedMessage received = part;
    received.reportRequested = reportRequested;
    m_line.acceptedPart(received, concatenation);
    if (behaviour.afterAccepting)
        behaviour.afterAccepting();
    if (behaviour.silentAfterMessages >= 0 && m_acceptedParts >= behaviour.silentAfterMessages) {
        // The network has it; the modem goes quiet before saying so, and stays quiet.
        m_fallenSilent = true;
        m_lateAnswer.clear();
        m_owedReports.clear();
        return;
    }
    sendNetworkAnswer({QStringLiteral("+CMGS: %1").arg(m_messageReference)}, QStringLiteral("OK"), behaviour);
    if (reportRequested && m_settings.cnmiDs >= 1 && !behaviour.noStatusReportFor.contains(part.number))
        m_owedReports.push_back({std::chrono::steady_clock::now() +
                                     Clock::scaled(std::chrono::milliseconds(behaviour.statusReportDelayMs)),
                                 m_messageReference, part.number,
                                 behaviour.deliveryStatusForNumber.value(part.number, 0),
                                 QDateTime::currentDateTimeUtc()});
    ++m_acceptedParts;
    if (behaviour.unplugAfterParts >= 0 && m_acceptedParts >= behaviour.unplugAfterParts)
        m_line.hangUp();
}

void ModemSession::lineOpened() {
    if (std::exchange(m_opened, true))
        return;
    const auto now = std::chrono::steady_clock::now();
    for (const TimedIndication& indication : behaviourNow().timedIndications)
        m_dueIndications.push_back(
            {now + Clock::scaled(std::chrono::milliseconds(indication.afterMs)), indication});
}

void ModemSession::releaseIndications(std::chrono::steady_clock::time_point now) {
    if (m_input != Input::Command)
        return; // held while a message is typed, as modems buffer their reports meanwhile
    const ModemBehaviour behaviour = behaviourNow();
    QByteArray bytes;
    for (auto it = m_dueIndications.begin(); it != m_dueIndications.end();) {
        if (it->due > now) {
            ++it;
            continue;
        }
        bytes += framed(it->indication.line);
        if (it->indication.everyMs > 0) {
            it->due = now + Clock::scaled(std::chrono::milliseconds(it->indication.everyMs));
            ++it;
        } else {
            it = m_dueIndications.erase(it);
        }
    }
    if (!bytes.isEmpty() && !behaviour.silent && !behaviour.echoOnly)
        m_line.unsolicited(bytes);
}

std::optional<std::chrono::steady_clock::time_point> ModemSession::nextDue() const {
    std::optional<std::chrono::steady_clock::time_point> next;
    if (m_input == Input::Command) // none goes out in the middle of message input
        for (const DueIndication& indication : m_dueIndications)
            if (!next || indication.due < *next)
                next = indication.due;
    for (const OwedReport& report : m_owedReports)
        if (!next || report.due < *next)
            next = report.due;
    return next;
}

void ModemSession::releaseDue() {
    const auto now = std::chrono::steady_clock::now();
    releaseIndications(now);
    for (auto it = m_owedReports.begin(); it != m_owedReports.end();) {
        if (it->due > now) {
            ++it;
            continue;
        }
        if (m_settings.cnmiDs == 2) { // kept in the SIM, announced by its index
            const QDateTime done = QDateTime::currentDateTimeUtc();
            SimEntry report;
            report.kind = SimEntry::Kind::Report;
            report.pduHex = StatusReport::pdu(it->reference, it->recipient, it->status, it->submitted, done);
            report.tpduLength = int(report.pduHex.size() / 2 - 1);
            report.address = it->recipient;
            report.reportFields =
                QStringLiteral("6,") +
                StatusReport::textFields(it->reference, it->recipient, it->status, it->submitted, done);
            m_inbox.keepReport(report);
            announce(behaviourNow());
        } else {
            m_line.answer(StatusReport::unsolicited(m_settings.cmgf == 0, it->reference, it->recipient,
                                                    it->status, it->submitted,
                                                    QDateTime::currentDateTimeUtc()));
        }
        it = m_owedReports.erase(it);
    }
}

} // namespace sim
