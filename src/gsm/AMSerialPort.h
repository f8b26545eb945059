#pragma once
// One serial character device carrying a modem's AT traffic: opened in raw mode and
// non-blocking, written whole as the line takes the bytes, read until the line has been quiet
// for one read time-out. No read or write waits past its deadline, even when another process
// holding the device takes the bytes first. Reports by return value and an optional error
// record; never throws.
#include "PortHolders.h"
#include "PortLock.h"

#include <QByteArray>
#include <QString>
#include <QStringConverter>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <termios.h>

// Error record of the serial domain (codes below), filled when the caller asks for it.
struct SerialError {
    int code = 0;
    std::optional<int> endCode;         // set when no error code ended the read
    std::optional<qint64> bytesRead;    // reads only
    std::optional<qint64> bytesWritten; // writes that sent at least one byte
    int posixError = 0;                 // errno behind a code 99 or 201, if any (ETIMEDOUT: line stalled)
};

class AMSerialPort {
public:
    // Error codes of reads and writes.
    static constexpr int kReadFailed = 99; // also: write failed
    static constexpr int kReadTimeout = 100;
    static constexpr int kBufferFull = 101;
    static constexpr int kNothingToWrite = 200;
    static constexpr int kShortWrite = 201;
    // End codes of reads stopped by a condition.
    static constexpr int kEndStopChar = 1;
    static constexpr int kEndByteCountReached = 2;
    static constexpr int kEndByteCountPassed = 3;

    static constexpr int kBufferSize = 4096;
    // The longest a write waits for the line to take its next byte (on the clock's scale): a
    // device that stops taking bytes fails the write instead of holding its thread for ever.
    static constexpr std::chrono::milliseconds kWriteWait{10000};

    AMSerialPort(const QString& path, const QString& name, const QString& type);
    ~AMSerialPort();
    AMSerialPort(const AMSerialPort&) = delete;
    AMSerialPort& operator=(const AMSerialPort&) = delete;

    // Opens read-write without becoming the controlling terminal, non-blocking, and puts the
    // line in raw mode (the original attributes come back at close). Another process seen
    // holding the device (its descriptors, or its live lock file) keeps it from being opened
    // at all: see holders(). While open, the port holds the device's lock file (PortLock.h).
    bool open();
    // open() with exclusive use (TIOCEXCL): further opens of the device fail while this one
    // holds it (except for the superuser, whom the kernel lets through).
    bool openExclusively();
    void close();
    // Who held the device at the last open: a holder when that kept the port closed; a suspect
    // when the open itself was refused by another's exclusive claim (errno of openError()).
    const PortHolders::Finding& holders() const { return m_holders; }
    int openError() const { return m_openError; }
    bool isOpen() const { return fileDescriptor() >= 0; }
    int fileDescriptor() const { return m_fileDescriptor.load(); }

    QString bsdPath() const { return m_bsdPath; }
    QString name() const { return m_serviceName; }
    QString type() const { return m_serviceType; }
    QString description() const;

    // Prescribed seconds; the real wait follows the clock's scale.
    double readTimeout() const { return m_readTimeout.load(); }
    void setReadTimeout(double seconds) { m_readTimeout.store(seconds); }

    bool writeString(const QString& text, QStringConverter::Encoding encoding = QStringConverter::Utf8,
                     SerialError* error = nullptr);
    bool writeData(const QByteArray& data, SerialError* error = nullptr);
    bool writeBytes(const char* bytes, qint64 length, SerialError* error = nullptr);

    std::optional<QString>
    readStringUsingEncoding(QStringConverter::Encoding encoding = QStringConverter::Utf8,
                            SerialError* error = nullptr);
    std::optional<QByteArray> readAndReturnError(SerialError* error = nullptr);
    std::optional<QByteArray> readBytes(qint64 count, SerialError* error = nullptr);
    std::optional<QByteArray> readUpToChar(char stopChar, SerialError* error = nullptr);
    std::optional<QByteArray> readBytesUpToChar(qint64 count, char stopChar, SerialError* error = nullptr);
    // The one read routine behind every read (see readAndReturnError for the plain form).
    std::optional<QByteArray> readAndStopAfterBytes(bool stopAfterBytes, qint64 bytes, bool stopAtChar,
                                                    char stopChar, SerialError* error);

    // Waits up to the given real time (already scaled by the caller's clock) for data and
    // returns what one read call gives: empty when nothing came or the line failed. Lets a
    // caller watch for an answer without waiting out a whole read time-out.
    QByteArray readAvailable(std::chrono::microseconds wait, SerialError* error = nullptr);

    // Line options: changes go to the working copy until commitChanges().
    long speed() const;
    bool setSpeed(long baud);
    int dataBits() const;
    void setDataBits(int bits);
    int parity() const; // 0 none, 1 odd, 2 even
    void setParity(int parity);
    int stopBits() const;
    void setStopBits(int bits);
    bool echoEnabled() const;
    void setEchoEnabled(bool on);
    bool RTSInputFlowControl() const;
    void setRTSInputFlowControl(bool on);
    bool CTSOutputFlowControl() const;
    void setCTSOutputFlowControl(bool on);
    // The Linux tty driver has no DTR/DSR/carrier flow control: always off, setting is ignored.
    bool DTRInputFlowControl() const { return false; }
    bool DSROutputFlowControl() const { return false; }
    bool CAROutputFlowControl() const { return false; }
    bool hangupOnClose() const;
    void setHangupOnClose(bool on);
    bool localMode() const;
    void setLocalMode(bool on);
    bool canonicalMode() const;
    void setCanonicalMode(bool on);
    char endOfLineCharacter() const;
    void setEndOfLineCharacter(char c);
    bool commitChanges();
    int errorCode() const { return m_lastError; }

    bool setDTR();
    bool clearDTR();
    bool sendBreak();
    bool drainInput();
    bool flushInput(bool input, bool output);

private:
    bool openWithMode(bool exclusive);
    void fillError(SerialError* error, const SerialError& value) const;

    const QString m_bsdPath;
    const QString m_serviceName;
    const QString m_serviceType;
    std::atomic<int> m_fileDescriptor{-1};
    termios m_options{};
    termios m_originalOptions{};
    std::array<char, kBufferSize> m_buffer{};
    std::atomic<double> m_readTimeout{0.0};
    int m_lastError = 0;
    bool m_gotError = false;
    std::mutex m_readLock;
    std::mutex m_writeLock;
    std::mutex m_closeLock;
    std::unique_ptr<PortLock> m_lock; // while open
    PortHolders::Finding m_holders;
    int m_openError = 0;
};
