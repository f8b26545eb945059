#pragma once
// A pseudo-terminal pair for port tests: the test plays the modem on the master side.
#include <QByteArray>
#include <QString>

#include <chrono>

class PtyPair {
public:
    PtyPair();
    ~PtyPair();
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    bool ok() const { return m_master >= 0; }
    QString slavePath() const { return m_slavePath; }
    int master() const { return m_master; }

    void write(const QByteArray& bytes);
    // Everything the port sent that arrives within the (real) wait.
    QByteArray drain(std::chrono::milliseconds wait = std::chrono::milliseconds(20));
    // Closes the master: the device disappears under the port.
    void unplug();

private:
    int m_master = -1;
    QString m_slavePath;
};
