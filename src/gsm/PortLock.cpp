#include "PortLock.h"

#include "core/Log.h"

#include <QFile>
#include <QHash>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace {

// The lock files this process made, each with the number of its ports using it. Whatever is
// left when the process ends is removed (exit() runs this object's destructor).
class OwnLocks {
public:
    ~OwnLocks() {
        std::lock_guard guard(m_lock);
        for (auto it = m_files.cbegin(); it != m_files.cend(); ++it)
            removeIfOurs(it.key());
    }

    // One more user of a file we already own; false when we own none by that name.
    bool share(const QString& file) {
        std::lock_guard guard(m_lock);
        const auto it = m_files.find(file);
        if (it == m_files.end())
            return false;
        ++it.value();
        return true;
    }
    void add(const QString& file) {
        std::lock_guard guard(m_lock);
        ++m_files[file];
    }
    void drop(const QString& file) {
        std::lock_guard guard(m_lock);
        const auto it = m_files.find(file);
        if (it == m_files.end() || --it.value() > 0)
            return;
        m_files.erase(it);
        removeIfOurs(file);
    }

    // One acquisition at a time in this process: two threads locking one port must not take
    // each other's fresh file for a stale one.
    std::mutex& acquiring() { return m_acquiring; }
    // True the first time only: a folder without lock files is said once.
    bool firstWithoutFile() { return !m_toldWithoutFile.exchange(true); }

private:
    // Removes the file only while it still names this process: a stale-lock sweep of another
    // program may have replaced it with its own.
    static void removeIfOurs(const QString& file) {
        const QByteArray name = QFile::encodeName(file);
        const int fd = ::open(name.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0)
            return;
        char content[64];
        const ssize_t n = ::read(fd, content, sizeof content);
        ::close(fd);
        if (n > 0 && PortHolders::lockOwner(QByteArray(content, n)) == ::getpid())
            ::unlink(name.constData());
    }

    std::mutex m_lock;
    std::mutex m_acquiring;
    std::atomic<bool> m_toldWithoutFile{false};
    QHash<QString, int> m_files;
};

OwnLocks& ownLocks() {
    static OwnLocks locks;
    return locks;
}

enum class Made { Yes, Exists, Refused };

Made make(const QByteArray& name, int& error) {
    const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = errno;
        return error == EEXIST ? Made::Exists : Made::Refused;
    }
    const QByteArray content = QByteArray::number(qint64(::getpid())).rightJustified(10, ' ') + '\n';
    ssize_t n = -1;
    do
        n = ::write(fd, content.constData(), size_t(content.size()));
    while (n < 0 && errno == EINTR);
    error = n == content.size() ? 0 : (n < 0 ? errno : ENOSPC);
    // A lock that does not name us would be taken for stale by the next program: not ours.
    if (::close(fd) != 0 && error == 0)
        error = errno;
    if (error != 0) {
        ::unlink(name.constData());
        return Made::Refused;
    }
    return Made::Yes;
}

} // namespace

PortLock::PortLock(const QString& path, const PortHolders::Roots& roots) {
    m_file = roots.locks + QLatin1Char('/') + PortHolders::lockName(path);
    const QByteArray name = QFile::encodeName(m_file);
    OwnLocks& own = ownLocks();
    std::lock_guard guard(own.acquiring());
    if (own.share(m_file)) {
        m_state = State::Locked;
        m_registered = true;
        return;
    }
    int error = 0;
    // Two tries: the second after a stale lock was taken away.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Made made = make(name, error);
        if (made == Made::Yes) {
            own.add(m_file);
            m_registered = true;
            m_state = State::Locked;
            return;
        }
        if (made == Made::Refused)
            break;
        char content[64];
        ssize_t n = -1;
        if (const int fd = ::open(name.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC); fd >= 0) {
            n = ::read(fd, content, sizeof content);
            ::close(fd);
        }
        const qint64 owner = n > 0 ? PortHolders::lockOwner(QByteArray(content, n)) : 0;
        if (owner != 0 && owner != roots.self && PortHolders::alive(owner, roots)) {
            // find() reads the same lock first and names its owner.
            const PortHolders::Finding finding = PortHolders::find(path, roots);
            m_owner = finding.holder ? *finding.holder : PortHolders::Holder{owner, QString()};
            m_state = State::Held;
            return;
        }
        Show_NSLog_Message(QStringLiteral("Stale lock %1 (pid %2 is gone) replaced").arg(m_file).arg(owner));
        if (::unlink(name.constData()) != 0 && errno != ENOENT) {
            error = errno;
            break;
        }
    }
    m_state = State::WithoutFile;
    if (own.firstWithoutFile())
        Show_NSLog_Message(QStringLiteral("No lock file for %1 (%2): ports are used without lock files")
                               .arg(m_file, QString::fromLocal8Bit(std::strerror(error))));
}

PortLock::~PortLock() { release(); }

void PortLock::release() {
    if (m_registered)
        ownLocks().drop(m_file);
    m_registered = false;
    if (m_state == State::Locked)
        m_state = State::WithoutFile;
}
