#pragma once
// The pseudo-terminal behind a virtual modem, made to behave like a serial device node:
// the modem holds a terminal-side descriptor of its own (so the line survives clients
// coming and going) and watches the node's opens and closes, counting the descriptors that
// processes hold on it (from /proc) whenever one opens or closes. When the last closes,
// what it left unread is dropped and its exclusive-use flag is lifted, as the kernel does
// when a real serial device is released; the terminal settings themselves are never touched.
#include <QByteArray>
#include <QString>

#include <chrono>

namespace sim {

class PtyPair {
public:
    PtyPair() = default;
    ~PtyPair() { close(); }
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    bool open();  // false (and a log line) when the system has no pty to give
    void close(); // the device node disappears
    bool isOpen() const { return m_master >= 0; }

    QString devicePath() const { return m_path; }
    int master() const { return m_master; }         // non-blocking
    int openCloseEvents() const { return m_watch; } // readable when clients open or close

    // Reads the pending open/close notifications; returns the number of descriptors that
    // clients now hold on the device. Releases the device when that number drops to zero.
    int updateClients();
    int clients() const { return m_clients; }

    // Bytes the modem sent that the client has not read yet (complete lines only, when the
    // client reads line by line).
    int unreadByClient() const;
    // Drops what no client will read (called while no client holds the device).
    void discardUnread();

    // For tests that play the modem themselves. write() hands every byte to the client side,
    // waiting (up to a second) while the line is full; drain() returns what the client sent
    // within the real time `wait` after its last byte.
    void write(const QByteArray& bytes);
    QByteArray drain(std::chrono::milliseconds wait = std::chrono::milliseconds(20));

private:
    void release();
    int countHolders() const;

    QString m_path;
    int m_master = -1;
    int m_keeper = -1;
    int m_watch = -1;
    int m_clients = 0;
};

} // namespace sim
