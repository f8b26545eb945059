#include "TroubleshootingLog.h"

#include "FileUtils.h"
#include "NoFollowPaths.h"
#include "WallClock.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr mode_t kPrivateFile = 0600;
// Another process's trim may put a new file in place while this one waits for the lock.
constexpr int kOpenAttempts = 20;

std::mutex& logMutex() {
    static std::mutex m;
    return m;
}

// Set while this thread writes the log: a failure reported from inside (the durable writer logs
// its reasons) must not come back here and wait on the mutex it holds.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): each thread's own
thread_local bool t_writing = false;

// Never through a symbolic link (at any level of the data tree: openNoFollow), never a device
// or a FIFO (O_NONBLOCK: opening one cannot hang).
constexpr int kOpenFlags = O_CREAT | O_NONBLOCK | O_NOCTTY;

void narrow(int fd, const struct stat& st) {
    if ((st.st_mode & 07777) != kPrivateFile && ::fchmod(fd, kPrivateFile) != 0) {
        // a log owned by someone else stays as it is; it is still written when it may be
    }
}

// The log opened for appending and locked exclusively; -1 when it cannot be. st gets the
// locked file's status.
int openLocked(const QByteArray& native, struct stat& st) {
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        const int fd = openNoFollow(QFile::decodeName(native), O_RDWR | O_APPEND | kOpenFlags, kPrivateFile);
        if (fd < 0)
            return -1;
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd);
            return -1;
        }
        int locked;
        while ((locked = ::flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
        }
        struct stat named {};
        if (locked == 0 && ::fstat(fd, &st) == 0 && ::lstat(native.constData(), &named) == 0 &&
            named.st_dev == st.st_dev && named.st_ino == st.st_ino)
            return fd;
        ::close(fd);
        if (locked != 0)
            return -1;
    }
    return -1;
}

bool readAt(int fd, char* data, qsizetype size, off_t offset) {
    while (size > 0) {
        const ssize_t got = ::pread(fd, data, size_t(size), offset);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        data += got;
        size -= got;
        offset += got;
    }
    return true;
}

// The last `keep` bytes of bytes, from the start of a line: what follows the first line break
// inside them, unless they already start a line. Without a line break only the raw tail is
// left when `rawTail` (an entry of one long line), else nothing.
QByteArray fromLineStart(const QByteArray& bytes, qsizetype keep, bool rawTail) {
    if (bytes.size() <= keep)
        return bytes;
    const qsizetype start = bytes.size() - keep;
    if (bytes.at(start - 1) == '\n')
        return bytes.mid(start);
    const qsizetype lineBreak = bytes.indexOf('\n', start);
    if (lineBreak < 0)
        return rawTail ? bytes.mid(start) : QByteArray();
    return bytes.mid(lineBreak + 1);
}

// The newest half-cap bytes of the locked log, from a line start; false when unreadable.
bool newestHalf(int fd, qint64 size, qint64 half, QByteArray& kept) {
    const qint64 keep = std::min(size, half);
    // One byte more than is kept: whether the kept part starts a line.
    const qint64 read = keep < size ? keep + 1 : keep;
    QByteArray tail(qsizetype(read), Qt::Uninitialized);
    if (!readAt(fd, tail.data(), tail.size(), off_t(size - read)))
        return false;
    kept = fromLineStart(tail, qsizetype(keep), false);
    return true;
}

bool appendLocked(int fd, const QString& path, const struct stat& st, const QByteArray& bytes, qint64 cap) {
    const qint64 half = std::max<qint64>(cap / 2, 1);
    const QByteArray entry = fromLineStart(bytes, qsizetype(half), true);
    if (qint64(st.st_size) + entry.size() > cap) {
        QByteArray kept;
        if (!newestHalf(fd, st.st_size, half, kept))
            return false;
        // Written beside the log and renamed over it: a crash leaves the old log or the new one.
        // Other writers waiting on the old file find it replaced once they hold its lock.
        return writeFileAtomically(path, kept + entry);
    }
    qsizetype done = 0;
    while (done < entry.size()) {
        const ssize_t written = ::write(fd, entry.constData() + done, size_t(entry.size() - done));
        if (written > 0) {
            done += written;
        } else if (written == 0 || errno != EINTR) {
            // Half an entry would read as one of its own: the lock is ours, take it back.
            if (::ftruncate(fd, st.st_size) != 0) {
                // nothing more to do for a log
            }
            return false;
        }
    }
    return true;
}

} // namespace

bool appendToTroubleshootingLog(const QString& path, const QByteArray& bytes, qint64 cap) {
    if (path.isEmpty() || bytes.isEmpty() || t_writing)
        return false;
    std::lock_guard lock(logMutex());
    t_writing = true;
    struct stat st {};
    const int fd = openLocked(QFile::encodeName(path), st);
    bool written = false;
    if (fd >= 0) {
        narrow(fd, st);
        written = appendLocked(fd, path, st, bytes, cap);
        ::close(fd); // releases the lock, after a trim's rename too
    }
    t_writing = false;
    return written;
}

namespace {

// The log's own thread: writers hand it their entries and go on, so neither the window's
// thread nor a port waiting for its modem ever waits on the disk (or on another process's
// lock of the file). Entries reach the file in the order they were posted, those that came
// together in one append.
class LogWriter {
public:
    void setPath(const QString& path) {
        const std::lock_guard lock(m_mutex);
        m_path = path;
    }

    // stampMs >= 0: a log line, stamped here with that time (the local time is costly to find).
    // Dropped while the log has no path.
    void post(const QByteArray& bytes, qint64 stampMs = -1) {
        std::unique_lock lock(m_mutex);
        const QString path = m_path;
        if (path.isEmpty())
            return;
        if (m_stopped) { // the process is ending: the caller writes it itself
            lock.unlock();
            const QByteArray stamp =
                stampMs < 0
                    ? QByteArray()
                    : QDateTime::fromMSecsSinceEpoch(stampMs).toString(Qt::ISODateWithMs).toUtf8() + ' ';
            appendToTroubleshootingLog(path, stamp + bytes, kTroubleshootingLogCap);
            return;
        }
        if (!m_thread.joinable())
            m_thread = std::thread([this] { run(); });
        m_queue.push_back({path, bytes, stampMs});
        ++m_posted;
        m_wake.notify_one();
    }

    // Waits until every entry posted so far is in the file.
    void flush() {
        std::unique_lock lock(m_mutex);
        const quint64 target = m_posted;
        m_flushWanted = true;
        m_wake.notify_one();
        m_drained.wait(lock, [&] { return m_written >= target || !m_thread.joinable(); });
    }

    // Writes what is left and ends the thread (at exit); later entries are written by their callers.
    void stop() {
        std::unique_lock lock(m_mutex);
        m_stopped = true;
        m_wake.notify_one();
        lock.unlock();
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    struct Entry {
        QString path;
        QByteArray bytes;
        qint64 stampMs;
    };

    // "2026-11-25T23:58:01.123 " before a log line; the local time is looked up once a second.
    QByteArray stamped(const Entry& entry) {
        if (entry.stampMs < 0)
            return entry.bytes;
        const qint64 second = entry.stampMs / 1000;
        if (second != m_stampSecond) {
            m_stampSecond = second;
            m_secondText = QDateTime::fromSecsSinceEpoch(second).toString(Qt::ISODate).toUtf8();
        }
        return m_secondText + '.' + QByteArray::number(entry.stampMs % 1000).rightJustified(3, '0') + ' ' +
               entry.bytes;
    }

    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [&] { return !m_queue.empty() || m_stopped; });
            if (m_queue.empty())
                return;
            // A modem's traffic comes in bursts: one append a gathering, not one a line.
            m_wake.wait_for(lock, kGathering, [&] { return m_stopped || m_flushWanted; });
            m_flushWanted = false;
            std::deque<Entry> taken;
            taken.swap(m_queue);
            lock.unlock();
            // Consecutive entries for one file go in one append.
            for (auto it = taken.begin(); it != taken.end();) {
                QByteArray bytes;
                const QString& path = it->path;
                auto end = it;
                for (; end != taken.end() && end->path == path; ++end)
                    bytes += stamped(*end);
                appendToTroubleshootingLog(path, bytes, kTroubleshootingLogCap);
                it = end;
            }
            lock.lock();
            m_written += taken.size();
            m_drained.notify_all();
        }
    }

    static constexpr std::chrono::milliseconds kGathering{50};

    QString m_path;            // the file the next entries go to
    qint64 m_stampSecond = -1; // the writer thread's own
    QByteArray m_secondText;
    std::mutex m_mutex;
    std::condition_variable m_wake, m_drained;
    std::deque<Entry> m_queue;
    quint64 m_posted = 0;
    quint64 m_written = 0;
    bool m_stopped = false;
    bool m_flushWanted = false;
    std::thread m_thread;
};

LogWriter& logWriter() {
    // Never destroyed: a line logged by another object's destructor at exit still has a writer.
    // The one sink of the process's log lines (Log.h), which any thread may reach, for the
    // process's one log file and its writer thread: its path is given by the program's start
    // (setTroubleshootingLogPath).
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
    static LogWriter* const writer = [] {
        auto* created = new LogWriter;
        std::atexit([] { logWriter().stop(); });
        return created;
    }();
    return *writer;
}

} // namespace

void appendToTroubleshootingLog(const QByteArray& bytes) {
    // A failure reported while the log itself is being written is dropped, never looped back.
    if (!t_writing)
        logWriter().post(bytes);
}

void postLogLine(const QByteArray& line) {
    if (!t_writing)
        logWriter().post(line, Clock::nowMs());
}

void setTroubleshootingLogPath(const QString& path) { logWriter().setPath(path); }

void flushTroubleshootingLog() { logWriter().flush(); }

void Write_In_Troubleshoot_File(const QString& text) {
    // The troubleshooting window's entries: in order with the traffic, and in the file when this returns.
    appendToTroubleshootingLog(text.toUtf8());
    flushTroubleshootingLog();
}

void ensureTroubleshootingLog(const QString& path) {
    if (path.isEmpty())
        return;
    const int fd = openNoFollow(path, O_WRONLY | kOpenFlags, kPrivateFile);
    if (fd < 0)
        return;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
        narrow(fd, st);
    ::close(fd);
}
