#pragma once
// The computer's side of a virtual modem line (the other end of PtyPair), for tests and
// checks from outside: opens the terminal as a program would, writes commands, and collects
// what the modem sends back.
#include <QByteArray>
#include <QString>

#include <chrono>

namespace sim {

class PtyClient {
public:
    // raw: put the terminal in raw mode first, as a serial program must; false leaves it
    // as a fresh terminal is (canonical, with echo).
    explicit PtyClient(const QString& path, bool raw = true);
    ~PtyClient();
    PtyClient(const PtyClient&) = delete;
    PtyClient& operator=(const PtyClient&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }
    bool send(const QByteArray& bytes);
    // Reads until `needle` has arrived (or `limit` passes); returns everything read.
    QByteArray readUntil(const QByteArray& needle, std::chrono::milliseconds limit = std::chrono::seconds(5));
    // Sends a command and reads up to its final result ("OK", "ERROR" or "> ").
    QByteArray command(const QByteArray& line);
    // Reads whatever arrives during `quiet`.
    QByteArray readFor(std::chrono::milliseconds quiet);

private:
    int m_fd = -1;
};

} // namespace sim
