// Session port handling and the AT exchange: write one command, read one answer.
#include "MFCSMS.h"

#include "ModemAnswers.h"
#include "core/Clock.h"
#include "core/Log.h"
#include "core/TextUtils.h"

#include <QStringDecoder>

#include <exception>
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
    try {
        m_port_name = path;
        if (m_port && m_port->bsdPath() == path)
            return;
        closePort();
        auto newPort = std::make_unique<AMSerialPort>(path, path, kModemStreamType);
        newPort->setDelegate(this);
        if (newPort->open()) {
            m_port = std::move(newPort);
            return_file_descp = m_port->fileDescriptor();
            Show_NSLog_Message(QStringLiteral("Port ( %1 ) is OPENED with descp= (%2:%3)")
                                   .arg(path)
                                   .arg(return_file_descp)
                                   .arg(return_file_descp));
        } else {
            Show_NSLog_Message(QStringLiteral("Port ( %1 ) is NOT OPEN").arg(path));
        }
    } catch (const std::exception& e) {
        Show_NSLog_Message(QStringLiteral("initPort_with_decp: %1").arg(QString::fromUtf8(e.what())));
    }
}

void MFCSMS::initPort(const QString& path) {
    int unused = -1; // the caller of this form does not keep the descriptor
    initPort_with_decp(path, unused);
}

void MFCSMS::setPort(std::unique_ptr<AMSerialPort> newPort) {
    closePort();
    m_port = std::move(newPort);
    if (m_port)
        m_port->setDelegate(this);
}

void MFCSMS::closePort() {
    if (m_port)
        m_port->close();
    m_port.reset();
    m_pendingAnswer.clear();
}

bool MFCSMS::Write_Command(int fd, const QString& command_str) {
    try {
        std::lock_guard lock(m_writeLock);
        QString command = command_str;
        if (command.isEmpty()) {
            Show_NSLog_Message(QStringLiteral("there is no data to write."));
            command = QStringLiteral(" ");
        }
        Show_NSLog_Message(QStringLiteral("Write (%1) \"%2\"\n").arg(fd).arg(command));
        return m_port && m_port->writeData(NString_To_Command_Char(command));
    } catch (const std::exception& e) {
        Show_NSLog_Message(QStringLiteral("Write_Command: %1").arg(QString::fromUtf8(e.what())));
        return true;
    }
}

bool MFCSMS::Read_Command(int fd, const QString& response_str) {
    try {
        std::lock_guard lock(m_readLock);
        QByteArray bytes = std::exchange(m_pendingAnswer, QByteArray());
        if (m_port) {
            if (const std::optional<QByteArray> more = m_port->readAndReturnError())
                bytes += *more;
        }
        m_sLastResponse = Trim_Str(decodeAnswer(bytes));
        Show_NSLog_Message(QStringLiteral("Read (%1) \"%2\"\n").arg(fd).arg(m_sLastResponse));
        return ModemAnswers::answerHolds(m_sLastResponse, response_str);
    } catch (const std::exception& e) {
        m_sLastResponse = QString::fromUtf8(e.what());
        Show_NSLog_Message(QStringLiteral("Read_Command: %1").arg(m_sLastResponse));
        return true;
    }
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
