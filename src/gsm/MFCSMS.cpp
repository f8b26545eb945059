// Session port handling and the AT exchange: write one command, read one answer.
#include "MFCSMS.h"

#include "ModemAnswers.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"

#include <QStringDecoder>

#include <utility>

namespace {
const QString kModemStreamType = QStringLiteral("IOModemSerialStream");

QString decodeAnswer(const QByteArray& bytes) {
    QStringDecoder decoder(QStringConverter::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text; // not valid UTF-8: nothing was read
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
    if (newPort && newPort->open()) {
        m_port = std::move(newPort);
        return_file_descp = m_port->fileDescriptor();
        Show_NSLog_Message(QStringLiteral("Port ( %1 ) is OPENED with descp= (%2:%3)")
                               .arg(path)
                               .arg(return_file_descp)
                               .arg(return_file_descp));
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
}

void MFCSMS::closePort() {
    if (m_port)
        m_port->close();
    m_port.reset();
    m_pendingAnswer.clear();
}

bool MFCSMS::Write_Command(int fd, const QString& command_str) {
    std::lock_guard lock(m_writeLock);
    const QString command = command_str.isEmpty() ? QStringLiteral(" ") : command_str;
    if (command_str.isEmpty())
        Show_NSLog_Message(QStringLiteral("there is no data to write."));
    Show_NSLog_Message(QStringLiteral("Write (%1) \"%2\"\n").arg(fd).arg(command));
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
            QByteArray bytes = std::exchange(m_pendingAnswer, QByteArray());
            if (m_port) {
                if (const std::optional<QByteArray> more = m_port->readAndReturnError())
                    bytes += *more;
            }
            m_sLastResponse = Trim_Str(decodeAnswer(bytes));
            Show_NSLog_Message(QStringLiteral("Read (%1) \"%2\"\n").arg(fd).arg(m_sLastResponse));
            return ModemAnswers::answerHolds(m_sLastResponse, response_str);
        },
        true);
}

void MFCSMS::waitForAnswer() {
    const auto deadline = std::chrono::steady_clock::now() + Clock::scaled(kAnswerWait);
    while (m_port && m_port->isOpen()) {
        if (ModemAnswers::holdsFinalResult(decodeAnswer(m_pendingAnswer)))
            return; // the modem has replied: no need to sit out the rest of the wait
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero())
            return;
        SerialError error;
        m_pendingAnswer +=
            m_port->readAvailable(std::chrono::duration_cast<std::chrono::microseconds>(left), &error);
        if (error.code == AMSerialPort::kReadFailed)
            return; // the line is gone; the next write or read reports it
    }
}
