#include "VirtualModem.h"

#include "IncomingFeed.h"
#include "MessageAssembler.h"
#include "MessageLog.h"
#include "ModemSession.h"
#include "PtyPair.h"
#include "core/Clock.h"
#include "core/Log.h"
#include "core/WorkerThread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <stop_token>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace sim {
namespace {

// A client that stops reading (a terminal left in canonical mode, for one) fills the line;
// what the modem cannot hand over within this time is lost, as on a real line. The same
// bound applies to letting a client read the last answer before the line is pulled.
constexpr std::chrono::milliseconds kHandOverLimit{1000};
constexpr std::chrono::milliseconds kHandOverPoll{2};
// Gap between the bursts of one answer, on the scaled clock.
constexpr Clock::Duration kBurstGap{40};
// How often a followed file of incoming messages is looked at (real time).
constexpr std::chrono::milliseconds kFeedPoll{100};

QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }

// Containers handed between the serving thread and its callers are deep copies: Qt's shared
// data checks its reference count without ordering, so two threads must never share one.
template <typename Container> Container unshared(Container copy) {
    copy.detach();
    return copy;
}

ModemBehaviour unshared(ModemBehaviour copy) {
    copy.cmsErrorForNumber.detach();
    copy.scriptedAnswers.detach();
    copy.cmsErrorForSubmission.detach();
    copy.characterSets.detach();
    copy.refusedServiceCentres.detach();
    copy.unsolicited.detach();
    copy.prompt.detach();
    copy.answerLines.detach();
    copy.unknownCommands.detach();
    copy.cmsTexts.detach();
    copy.cmeTexts.detach();
    copy.timedIndications.detach();
    copy.simMessagesAtStart.detach();
    copy.arrivalsDuringSubmission.detach();
    return copy;
}

} // namespace

class VirtualModem::Line final : public ModemLine {
public:
    Line(ModemIdentity identity, ModemBehaviour behaviour, QString logPath)
        : m_identity(std::move(identity)), m_behaviour(unshared(std::move(behaviour))),
          m_log(std::move(logPath)) {}
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
    void unsolicited(const QByteArray& bytes) override { writeAll(bytes); }
    QList<IncomingMessage> arrivals() override;
    void networkEvent(const QJsonObject& event) override;

    void deliver(const IncomingMessage& message);
    void follow(const QString& path);

private:
    ModemBehaviour behaviour() const;
    bool stopping() const { return m_stop.stop_requested(); }
    void serve(std::stop_token stop);
    void writeAll(const QByteArray& bytes);
    void letClientReadTheRest();
    void closeLine();
    void wake();
    // Reads a followed file when due; returns the poll time-out until the next look.
    int pollFeed();

    const ModemIdentity m_identity;
    mutable std::mutex m_mutex; // guards the behaviour, the logs and the messages
    ModemBehaviour m_behaviour;
    MessageLog m_log;
    MessageAssembler m_assembler;
    QList<ReceivedMessage> m_messages;
    QStringList m_commandLog;
    QList<IncomingMessage> m_arrivals;    // delivered, not yet taken by the serving thread
    std::unique_ptr<IncomingFeed> m_feed; // read by the serving thread only, once started
    std::chrono::steady_clock::time_point m_nextFeedPoll;

    PtyPair m_pty; // used by the serving thread only, once started
    QString m_devicePath;
    int m_wake = -1; // written when a stop is asked, so that the serving thread's poll returns
    bool m_started = false;
    std::stop_token m_stop; // the serving thread's own: read by that thread only
    std::atomic<bool> m_closing{false};
    std::atomic<bool> m_closed{false};
    std::atomic<bool> m_hangUpRequested{false};
    std::unique_ptr<ModemSession> m_session;
    WorkerThread m_worker{QStringLiteral("virtual modem")};
};

bool VirtualModem::Line::start() {
    if (m_started)
        return !m_closed;
    if (!m_pty.open())
        return false;
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_wake < 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: eventfd failed: %1").arg(errnoText()));
        m_pty.close();
        return false;
    }
    m_devicePath = m_pty.devicePath();
    m_session = std::make_unique<ModemSession>(
        m_identity, [this] { return behaviour(); }, *this, m_devicePath);
    m_started = true;
    m_worker.start([this](std::stop_token stop) { serve(std::move(stop)); });
    return true;
}

void VirtualModem::Line::stop() {
    if (!m_started)
        return;
    m_worker.requestStop();
    m_worker.join();
    closeLine();
    if (m_wake >= 0) {
        ::close(m_wake);
        m_wake = -1;
    }
}

void VirtualModem::Line::closeLine() {
    if (m_closing.exchange(true))
        return;
    m_pty.close();
    {
        std::lock_guard lock(m_mutex);
        const QList<ReceivedMessage> unfinished = m_assembler.takePending();
        for (const ReceivedMessage& message : unfinished) {
            m_messages.append(message);
            m_log.append(message);
        }
    }
    m_closed = true; // only now: whoever sees the line closed finds the log complete
}

void VirtualModem::Line::serve(std::stop_token stop) {
    m_stop = std::move(stop);
    const std::stop_callback wakeUp(m_stop, [this] { wake(); });
    char buffer[4096];
    while (!stopping() && !m_hangUpRequested) {
        pollfd fds[3] = {
            {m_pty.master(), POLLIN, 0}, {m_wake, POLLIN, 0}, {m_pty.openCloseEvents(), POLLIN, 0}};
        // Output the modem owes (status reports) wakes the poll when it is due.
        int timeoutMs = -1;
        if (const auto due = m_session->nextDue())
            timeoutMs = int(std::clamp<qint64>(
                std::chrono::ceil<std::chrono::milliseconds>(*due - std::chrono::steady_clock::now()).count(),
                0, 60000));
        if (const int feedMs = pollFeed(); feedMs >= 0)
            timeoutMs = timeoutMs < 0 ? feedMs : std::min(timeoutMs, feedMs);
        const int ready = ::poll(fds, 3, timeoutMs);
        if (fds[1].revents & POLLIN) {
            quint64 count = 0;
            [[maybe_unused]] const ssize_t ignored = ::read(m_wake, &count, sizeof count);
        }
        m_session->releaseDue();
        for (const IncomingMessage& message : arrivals())
            m_session->deliver(message);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            Show_NSLog_Message(
                QStringLiteral("virtual modem %1: poll failed: %2").arg(m_devicePath, errnoText()));
            break;
        }
        if (stopping())
            break;
        if (fds[2].revents & POLLIN)
            m_pty.updateClients();
        if (m_pty.clients() > 0)
            m_session->lineOpened(); // its own timed lines start with the first client
        if (!(fds[0].revents & POLLIN))
            continue;
        const ssize_t count = ::read(m_pty.master(), buffer, sizeof buffer);
        if (count > 0)
            m_session->feed(QByteArray(buffer, count));
        else if (count < 0 && errno != EAGAIN && errno != EINTR)
            Show_NSLog_Message(
                QStringLiteral("virtual modem %1: read failed: %2").arg(m_devicePath, errnoText()));
    }
    if (m_hangUpRequested && !stopping()) {
        letClientReadTheRest();
        closeLine();
    }
}

void VirtualModem::Line::wake() {
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(m_wake, &one, sizeof one);
}

void VirtualModem::Line::deliver(const IncomingMessage& message) {
    if (!message.to.isEmpty() && message.to != m_identity.imei)
        return;
    {
        std::lock_guard lock(m_mutex);
        m_arrivals.append(message);
        m_arrivals.last().text.detach(); // the serving thread takes it
        m_arrivals.last().from.detach();
    }
    if (m_wake >= 0)
        wake();
}

void VirtualModem::Line::follow(const QString& path) {
    std::lock_guard lock(m_mutex);
    if (!m_started)
        m_feed = std::make_unique<IncomingFeed>(unshared(path));
}

int VirtualModem::Line::pollFeed() {
    if (!m_feed)
        return -1;
    const auto now = std::chrono::steady_clock::now();
    if (now >= m_nextFeedPoll) {
        const IncomingFeed::Batch batch = m_feed->poll();
        for (const QString& problem : batch.problems)
            Show_NSLog_Message(QStringLiteral("virtual modem %1: skipped %2").arg(m_devicePath, problem));
        for (const IncomingMessage& message : batch.messages)
            deliver(message);
        m_nextFeedPoll = now + kFeedPoll;
    }
    return int(std::chrono::ceil<std::chrono::milliseconds>(m_nextFeedPoll - now).count());
}

QList<IncomingMessage> VirtualModem::Line::arrivals() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_arrivals, {});
}

void VirtualModem::Line::networkEvent(const QJsonObject& event) {
    std::lock_guard lock(m_mutex);
    m_log.appendEvent(event);
}

void VirtualModem::Line::letClientReadTheRest() {
    const auto deadline = std::chrono::steady_clock::now() + kHandOverLimit;
    while (std::chrono::steady_clock::now() < deadline && !stopping() && m_pty.updateClients() > 0 &&
           m_pty.unreadByClient() > 0)
        std::this_thread::sleep_for(kHandOverPoll);
}

void VirtualModem::Line::writeAll(const QByteArray& bytes) {
    if (bytes.isEmpty() || stopping() || !m_pty.isOpen())
        return;
    if (m_pty.updateClients() == 0)
        return; // nobody holds the port open: the bytes go nowhere, as on a real line
    qsizetype sent = 0;
    const auto deadline = std::chrono::steady_clock::now() + kHandOverLimit;
    while (sent < bytes.size() && !stopping()) {
        const ssize_t n = ::write(m_pty.master(), bytes.constData() + sent, size_t(bytes.size() - sent));
        if (n > 0) {
            sent += n;
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return;
        if (std::chrono::steady_clock::now() >= deadline)
            return;
        pollfd out = {m_pty.master(), POLLOUT, 0};
        ::poll(&out, 1, int(kHandOverPoll.count()));
    }
}

void VirtualModem::Line::answer(const QByteArray& bytes) {
    const ModemBehaviour now = behaviour();
    // a modem's answer trails its echo by its processing time
    if (now.answerLatencyMs > 0 &&
        !Clock::sleepUnless(Clock::Duration(now.answerLatencyMs), [this] { return stopping(); }))
        return;
    const QList<QByteArray> bursts = splitIntoBursts(bytes, now.answerBursts);
    for (qsizetype i = 0; i < bursts.size(); ++i) {
        if (i > 0 && !Clock::sleepUnless(kBurstGap, [this] { return stopping(); }))
            return;
        writeAll(bursts.at(i));
    }
}

bool VirtualModem::Line::waitForNetwork(std::chrono::milliseconds delay) {
    return Clock::sleepUnless(delay, [this] { return stopping(); });
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
    return unshared(m_behaviour);
}

void VirtualModem::Line::setBehaviour(const ModemBehaviour& behaviour) {
    std::lock_guard lock(m_mutex);
    m_behaviour = unshared(behaviour);
}

QList<ReceivedMessage> VirtualModem::Line::received() const {
    std::lock_guard lock(m_mutex);
    return unshared(m_messages + m_assembler.pending());
}

QStringList VirtualModem::Line::commandLog() const {
    std::lock_guard lock(m_mutex);
    return unshared(m_commandLog);
}

QList<QByteArray> VirtualModem::splitIntoBursts(const QByteArray& answer, int bursts) {
    QList<QByteArray> pieces;
    const qsizetype count = std::clamp<qsizetype>(bursts, 1, std::max<qsizetype>(1, answer.size()));
    qsizetype offset = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const qsizetype end = answer.size() * (i + 1) / count; // sizes differ by one at most
        pieces.append(answer.mid(offset, end - offset));
        offset = end;
    }
    return pieces;
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
void VirtualModem::deliver(const IncomingMessage& message) { m_line->deliver(message); }
void VirtualModem::deliver(const QString& from, const QString& text) {
    IncomingMessage message;
    message.from = from;
    message.text = text;
    m_line->deliver(message);
}
void VirtualModem::followIncoming(const QString& path) { m_line->follow(path); }

} // namespace sim
