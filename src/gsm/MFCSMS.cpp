// Session port handling and the AT exchange: write one command, read one answer.
#include "MFCSMS.h"

#include "ModemAnswers.h"
#include "SimAnswers.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
const QString kModemStreamType = QStringLiteral("IOModemSerialStream");

// Lenient: a byte that is not UTF-8 (line noise, a modem's own code page) becomes U+FFFD and
// the rest of the answer, its final result above all, is still read.
QString decodeAnswer(const QByteArray& bytes) { return QString::fromUtf8(bytes); }

std::chrono::microseconds readCeiling(const AMSerialPort& port) {
    const double seconds = port.readTimeout();
    if (!(seconds > 0))
        return std::chrono::microseconds(0);
    return Clock::scaled(Clock::Duration(std::llround(seconds * 1000.0)));
}
} // namespace

MFCSMS::MFCSMS() = default;

MFCSMS::~MFCSMS() {
    if (m_port)
        m_port->close();
}

void MFCSMS::initPort_with_decp(const QString& path, int& return_file_descp) {
    m_port_name = path;
    if (m_port && m_port->bsdPath() == path)
        return;
    closePort();
    auto newPort = Guard::run(
        "initPort_with_decp", [&] { return std::make_unique<AMSerialPort>(path, path, kModemStreamType); },
        std::unique_ptr<AMSerialPort>());
    // Exclusive: another program writing to the modem would interleave its commands with ours.
    if (newPort && newPort->openExclusively()) {
        m_port = std::move(newPort);
        return_file_descp = m_port->fileDescriptor();
        Show_NSLog_Message(QStringLiteral("Port ( %1 ) is OPENED with descp= (%2:%3)")
                               .arg(path)
                               .arg(return_file_descp)
                               .arg(return_file_descp));
        m_sessionStarting = true;
    } else {
        Show_NSLog_Message(QStringLiteral("Port ( %1 ) is NOT OPEN").arg(path));
    }
}

void MFCSMS::initPort(const QString& path) {
    int unused = -1; // the caller of this form does not keep the descriptor
    initPort_with_decp(path, unused);
}

void MFCSMS::setPort(std::unique_ptr<AMSerialPort> newPort) {
    closePort();
    m_port = std::move(newPort);
    m_sessionStarting = m_port != nullptr;
}

void MFCSMS::closePort() {
    if (m_port)
        m_port->close();
    m_port.reset();
    m_pendingAnswer.clear();
    m_lastCommand.clear();
    m_sessionStarting = false;
}

void MFCSMS::clearPendingPrompt(int fd) {
    // A run cut short can leave the modem at its "> " prompt, taking every command as message
    // text: it would look dead. ESC abandons such a message (a modem at its command line
    // ignores it); the "AT" behind it gets the line answering again. A modem at its prompt
    // answers both, so after the first final result the line is drained until it settles:
    // nothing of this may stand before the answer to the session's first command.
    // The port's read time-out is known by now (its owner sets it after opening).
    dropStaleInput(fd);
    Write_Command(fd, QStringLiteral("\x1B"
                                     "AT\r"));
    std::lock_guard lock(m_readLock);
    const std::chrono::microseconds ceiling =
        m_port ? std::max(readCeiling(*m_port), Clock::scaled(kWakeWait)) : Clock::scaled(kWakeWait);
    gatherAnswer(AnswerEnd::FinalResult, ceiling);
    gatherAnswer(AnswerEnd::Quiet,
                 std::max(ceiling / 4, std::chrono::microseconds(Clock::scaled(kWakeSettle))));
    QStringList unsolicited;
    const QString drained = Trim_Str(ModemAnswers::withoutUnsolicited(
        decodeAnswer(std::exchange(m_pendingAnswer, QByteArray())), {}, &unsolicited));
    harvestUnsolicited(fd, unsolicited);
    Show_NSLog_Message(QStringLiteral("Session start (%1) \"%2\"\n").arg(fd).arg(drained));
    m_lastCommand.clear();
}

void MFCSMS::dropStaleInput(int fd) {
    // An answer that came after its read gave up would be taken for the next command's.
    std::lock_guard lock(m_readLock);
    if (!m_port || !m_pendingAnswer.isEmpty())
        return; // what the answer wait gathered belongs to the command just sent
    QByteArray stale;
    while (true) {
        const QByteArray more = m_port->readAvailable(std::chrono::microseconds(0));
        if (more.isEmpty())
            break;
        stale += more;
    }
    if (stale.isEmpty())
        return;
    QStringList unsolicited;
    const QString dropped = Trim_Str(ModemAnswers::withoutUnsolicited(decodeAnswer(stale), {}, &unsolicited));
    harvestUnsolicited(fd, unsolicited);
    if (!dropped.isEmpty())
        Show_NSLog_Message(
            QStringLiteral("Dropped (%1) \"%2\"\n").arg(fd).arg(SimAnswers::withoutPin(dropped)));
}

void MFCSMS::harvestUnsolicited(int fd, const QStringList& lines) {
    for (const QString& line : lines)
        Show_NSLog_Message(QStringLiteral("Unsolicited (%1) \"%2\"\n").arg(fd).arg(line));
    m_statusReports << StatusReports::fromUnsolicited(lines);
    for (const QString& line : lines) {
        if (const std::optional<int> index = StatusReports::storedIndex(line))
            m_storedReportIndexes << *index;
        if (ReceivedListings::newMessageIndex(line))
            m_newMessageNoted = true; // read with the whole storage, between two messages
    }
}

void MFCSMS::listenForStatusReports(std::chrono::milliseconds duration) {
    std::lock_guard lock(m_readLock);
    if (!m_port)
        return;
    // Nothing answers a command here, so the read runs its whole length.
    gatherAnswer(AnswerEnd::FinalResult, duration);
    QStringList unsolicited;
    const QString rest = Trim_Str(ModemAnswers::withoutUnsolicited(
        decodeAnswer(std::exchange(m_pendingAnswer, QByteArray())), {}, &unsolicited));
    harvestUnsolicited(m_port->fileDescriptor(), unsolicited);
    if (!rest.isEmpty())
        Show_NSLog_Message(QStringLiteral("Dropped (%1) \"%2\"\n")
                               .arg(m_port->fileDescriptor())
                               .arg(SimAnswers::withoutPin(rest)));
}

QList<StatusReport> MFCSMS::takeStatusReports(int fd) {
    while (true) {
        int index = -1;
        {
            std::lock_guard lock(m_readLock);
            if (m_storedReportIndexes.isEmpty())
                break;
            index = m_storedReportIndexes.takeFirst();
        }
        if (commandExpectingOk(fd, QStringLiteral("AT+CMGR=%1\r\n").arg(index)))
            if (const std::optional<StatusReport> report = StatusReports::fromStoredRead(m_sLastResponse)) {
                std::lock_guard lock(m_readLock);
                m_statusReports << *report;
            }
        commandExpectingOk(fd, QStringLiteral("AT+CMGD=%1\r\n").arg(index)); // its place is needed again
    }
    std::lock_guard lock(m_readLock);
    return std::exchange(m_statusReports, {});
}

bool MFCSMS::Write_Command(int fd, const QString& command_str) {
    if (std::exchange(m_sessionStarting, false))
        clearPendingPrompt(fd); // before the session's first command
    std::lock_guard lock(m_writeLock);
    const QString command = command_str.isEmpty() ? QStringLiteral(" ") : command_str;
    if (command_str.isEmpty())
        Show_NSLog_Message(QStringLiteral("there is no data to write."));
    if (command.startsWith(QLatin1String("AT"), Qt::CaseInsensitive)) {
        dropStaleInput(fd);
        m_lastCommand = command;
    }
    // A SIM's PIN never reaches the log, neither as written nor in the echo read back.
    Show_NSLog_Message(QStringLiteral("Write (%1) \"%2\"\n").arg(fd).arg(SimAnswers::withoutPin(command)));
    // The command's bytes are a copy of any length; a failure to make them counts as written,
    // as the session always has: the modem's answer decides.
    return Guard::run(
        "Write_Command", [&] { return m_port && m_port->writeData(NString_To_Command_Char(command)); }, true);
}

bool MFCSMS::Read_Command(int fd, const QString& response_str) {
    std::lock_guard lock(m_readLock);
    // The answer is held and decoded in copies of whatever length the modem sent.
    return Guard::run(
        "Read_Command",
        [&] {
            const QString expected = Trim_Str(response_str);
            const AnswerEnd end = expected.isEmpty()               ? AnswerEnd::Quiet
                                  : expected == QLatin1String(">") ? AnswerEnd::Prompt
                                                                   : AnswerEnd::FinalResult;
            if (m_port)
                gatherAnswer(end, readCeiling(*m_port));
            const QString answer = decodeAnswer(std::exchange(m_pendingAnswer, QByteArray()));
            QStringList unsolicited;
            m_sLastResponse = Trim_Str(ModemAnswers::withoutUnsolicited(answer, m_lastCommand, &unsolicited));
            harvestUnsolicited(fd, unsolicited);
            Show_NSLog_Message(
                QStringLiteral("Read (%1) \"%2\"\n").arg(fd).arg(SimAnswers::withoutPin(m_sLastResponse)));
            return ModemAnswers::answerHolds(m_sLastResponse, response_str);
        },
        true);
}

void MFCSMS::gatherAnswer(AnswerEnd end, std::chrono::microseconds ceiling) {
    auto deadline = std::chrono::steady_clock::now() + ceiling;
    while (m_port && m_port->isOpen()) {
        if (end != AnswerEnd::Quiet &&
            ModemAnswers::holdsFinalResult(
                ModemAnswers::withoutUnsolicited(decodeAnswer(m_pendingAnswer), m_lastCommand),
                end == AnswerEnd::Prompt))
            return; // the modem has replied: no need to sit out the rest of the wait
        const auto now = std::chrono::steady_clock::now();
        if (deadline <= now)
            return;
        SerialError error;
        const QByteArray more = m_port->readAvailable(
            std::chrono::duration_cast<std::chrono::microseconds>(deadline - now), &error);
        if (error.code == AMSerialPort::kReadFailed)
            return; // the line is gone; the next write or read reports it
        if (end == AnswerEnd::Quiet && !more.isEmpty())
            deadline = std::chrono::steady_clock::now() + ceiling;
        m_pendingAnswer += more;
    }
}

void MFCSMS::waitForAnswer() {
    std::lock_guard lock(m_readLock);
    gatherAnswer(AnswerEnd::FinalResult, Clock::scaled(kAnswerWait));
}
