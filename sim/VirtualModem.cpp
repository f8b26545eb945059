#include "VirtualModem.h"

#include "MessageAssembler.h"
#include "MessageLog.h"
#include "ModemSession.h"
#include "core/Clock.h"
#include "core/Log.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace sim {
namespace {

// While no one holds the terminal side open the master reports a hang-up on every poll;
// this is how often the modem looks again for a new client.
constexpr std::chrono::milliseconds kIdleLook{5};
// A client that stops reading (a terminal left in canonical mode, for one) fills the line;
// what the modem cannot hand over within this time is lost, as on a real line.
constexpr int kWriteGiveUpMs = 1000;
// Gap between the bursts of one answer, on the scaled clock.
constexpr Clock::Duration kBurstGap{40};

QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }

} // namespace

class VirtualModem::Line final : public ModemLine {
public:
    Line(ModemIdentity identity, ModemBehaviour behaviour, QString logPath)
        : m_identity(std::move(identity)), m_behaviour(std::move(behaviour)), m_log(std::move(logPath)) {}
    ~Line() override { stop(); }

    bool start();
    void stop();
    QString devicePath() const { return m_devicePath; }
    bool isPlugged() const { return m_started && !m_closed.load(); }
    QList<ReceivedMessage> received() const;
    QStringList commandLog() const;
    void setBehaviour(const ModemBehaviour& behaviour);

    // ModemLine
    void echo(const QByteArray& bytes) override { writeAll(bytes); }
    void answer(const QByteArray& bytes) override;
    bool waitForNetwork(std::chrono::milliseconds delay) override;
    void commandLine(const QString& line) override;
    void acceptedPart(const ReceivedMessage& part, const Concatenation& concatenation) override;
    void hangUp() override { m_hangUpRequested = true; }

private:
    ModemBehaviour behaviour() const;
    void serve();
    void writeAll(const QByteArray& bytes);
    void closeLine();
    void record(const QList<ReceivedMessage>& messages);

    const ModemIdentity m_identity;
    mutable std::mutex m_mutex;      // guards the behaviour, the logs and the messages
    ModemBehaviour m_behaviour;
    MessageLog m_log;
    MessageAssembler m_assembler;
    QList<ReceivedMessage> m_messages;
    QStringList m_commandLog;

    QString m_devicePath;
    int m_master = -1;
    int m_wake = -1;
    bool m_started = false;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_closed{false};
    std::atomic<bool> m_hangUpRequested{false};
    std::unique_ptr<ModemSession> m_session;
    std::thread m_thread;
};

bool VirtualModem::Line::start() {
    if (m_started)
        return !m_closed;
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_master < 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: posix_openpt failed: %1").arg(errnoText()));
        return false;
    }
    char name[128] = {};
    if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0
        || ::ptsname_r(m_master, name, sizeof name) != 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: cannot prepare the terminal side: %1").arg(errnoText()));
        ::close(m_master);
        m_master = -1;
        return false;
    }
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_devicePath = QString::fromLocal8Bit(name);
    m_session = std::make_unique<ModemSession>(m_identity, [this] { return behaviour(); }, *this, m_devicePath);
    m_started = true;
    m_thread = std::thread([this] { serve(); });
    return true;
}

void VirtualModem::Line::stop() {
    if (!m_started)
        return;
    m_stopping = true;
    if (m_wake >= 0) {
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t ignored = ::write(m_wake, &one, sizeof one);
    }
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
    closeLine();
    if (m_wake >= 0) {
        ::close(m_wake);
        m_wake = -1;
    }
}

void VirtualModem::Line::closeLine() {
    if (m_closed.exchange(true))
        return;
    if (m_master >= 0) {
        ::close(m_master);
        m_master = -1;
    }
    std::lock_guard lock(m_mutex);
    const QList<ReceivedMessage> unfinished = m_assembler.takePending();
    for (const ReceivedMessage& message : unfinished) {
        m_messages.append(message);
        m_log.append(message);
    }
}

void VirtualModem::Line::serve() {
    char buffer[4096];
    while (!m_stopping) {
        pollfd fds[2] = {{m_master, POLLIN, 0}, {m_wake, POLLIN, 0}};
        const int ready = ::poll(fds, 2, -1);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            Show_NSLog_Message(QStringLiteral("virtual modem %1: poll failed: %2").arg(m_devicePath, errnoText()));
            break;
        }
        if (m_stopping)
            break;
        if (!(fds[0].revents & POLLIN)) {
            std::this_thread::sleep_for(kIdleLook); // no client on the line
            continue;
        }
        const ssize_t count = ::read(m_master, buffer, sizeof buffer);
        if (count <= 0) {
            if (count < 0 && errno != EAGAIN && errno != EINTR && errno != EIO)
                Show_NSLog_Message(QStringLiteral("virtual modem %1: read failed: %2").arg(m_devicePath, errnoText()));
            std::this_thread::sleep_for(kIdleLook);
            continue;
        }
        m_session->feed(QByteArray(buffer, count));
        if (m_hangUpRequested)
            break;
    }
    if (m_hangUpRequested)
        closeLine();
}

void VirtualModem::Line::writeAll(const QByteArray& bytes) {
    if (bytes.isEmpty() || m_stopping || m_hangUpRequested || m_master < 0)
        return;
    qsizetype sent = 0;
    int waitedMs = 0;
    while (sent < bytes.size() && !m_stopping) {
        const ssize_t n = ::write(m_master, bytes.constData() + sent, size_t(bytes.size() - sent));
        if (n > 0) {
            sent += n;
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return; // nobody on the line: the bytes go nowhere
        if (waitedMs >= kWriteGiveUpMs)
            return;
        pollfd out = {m_master, POLLOUT, 0};
        ::poll(&out, 1, 10);
        waitedMs += 10;
    }
}

void VirtualModem::Line::answer(const QByteArray& bytes) {
    const int bursts = std::clamp(behaviour().answerBursts, 1, int(std::max<qsizetype>(1, bytes.size())));
    const qsizetype size = (bytes.size() + bursts - 1) / bursts;
    for (qsizetype offset = 0; offset < bytes.size(); offset += size) {
        if (offset > 0 && !Clock::sleepUnless(kBurstGap, [this] { return m_stopping.load(); }))
            return;
        writeAll(bytes.mid(offset, size));
    }
}

bool VirtualModem::Line::waitForNetwork(std::chrono::milliseconds delay) {
    return Clock::sleepUnless(delay, [this] { return m_stopping.load(); });
}

void VirtualModem::Line::commandLine(const QString& line) {
    std::lock_guard lock(m_mutex);
    m_commandLog.append(line);
}

void VirtualModem::Line::acceptedPart(const ReceivedMessage& part, const Concatenation& concatenation) {
    std::lock_guard lock(m_mutex);
    for (const ReceivedMessage& message : m_assembler.add(part, concatenation)) {
        m_messages.append(message);
        m_log.append(message);
    }
}

ModemBehaviour VirtualModem::Line::behaviour() const {
    std::lock_guard lock(m_mutex);
    return m_behaviour;
}

void VirtualModem::Line::setBehaviour(const ModemBehaviour& behaviour) {
    std::lock_guard lock(m_mutex);
    m_behaviour = behaviour;
}

QList<ReceivedMessage> VirtualModem::Line::received() const {
    std::lock_guard lock(m_mutex);
    return m_messages + m_assembler.pending();
}

QStringList VirtualModem::Line::commandLog() const {
    std::lock_guard lock(m_mutex);
    return m_commandLog;
}

VirtualModem::VirtualModem(ModemIdentity identity, ModemBehaviour behaviour, QString logPath)
    : m_line(std::make_unique<Line>(std::move(identity), std::move(behaviour), std::move(logPath))) {}

VirtualModem::~VirtualModem() = default;

bool VirtualModem::start() { return m_line->start(); }
QString VirtualModem::devicePath() const { return m_line->devicePath(); }
void VirtualModem::unplug() { m_line->stop(); }
bool VirtualModem::isPlugged() const { return m_line->isPlugged(); }
QList<ReceivedMessage> VirtualModem::received() const { return m_line->received(); }
QStringList VirtualModem::commandLog() const { return m_line->commandLog(); }
void VirtualModem::setBehaviour(const ModemBehaviour& behaviour) { m_line->setBehaviour(behaviour); }

} // namespace sim
