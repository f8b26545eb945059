#include "DurableFile.h"

#include "Log.h"

#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t kPrivateFile = 0600;
// Room for the dot and the random suffix within the 255 bytes a name may have.
constexpr qsizetype kMaxStem = 200;
constexpr int kNameAttempts = 100;

QString systemError(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

QByteArray folderOf(const QByteArray& native) {
    const qsizetype slash = native.lastIndexOf('/');
    if (slash < 0)
        return QByteArrayLiteral(".");
    return slash == 0 ? QByteArrayLiteral("/") : native.left(slash);
}

// ".<name>.<random>" in the target's folder: the rename never crosses file systems, and the
// leading dot keeps it out of listings while it lives.
QByteArray temporaryNameFor(const QByteArray& target) {
    static constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const qsizetype slash = target.lastIndexOf('/');
    QByteArray name = target.left(slash + 1) + '.' + target.mid(slash + 1).left(kMaxStem) + '.';
    for (int i = 0; i < 8; ++i)
        name += kAlphabet[QRandomGenerator::global()->bounded(int(sizeof kAlphabet) - 1)];
    return name;
}

int createTemporary(const QByteArray& target, QByteArray& temporary) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        temporary = temporaryNameFor(target);
        const int fd =
            ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1; // errno is EEXIST
}

// The rename is only safe once the folder that records it is on the disk.
bool syncFolder(const QByteArray& folder) {
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    const int error = errno;
    ::close(fd);
    errno = error;
    return synced;
}

} // namespace

DurableFile::DurableFile(const QString& path) : m_path(path) {
    const QByteArray target = QFile::encodeName(path);
    m_fd = createTemporary(target, m_temporary);
    if (m_fd < 0) {
        const int error = errno;
        m_temporary.clear(); // not ours: nothing to remove
        fail(systemError(error));
        return;
    }
    // The umask may have taken more than asked for; the owner keeps reading and writing.
    if (::fchmod(m_fd, kPrivateFile) != 0)
        failWithErrno();
}

DurableFile::~DurableFile() { discard(); }

bool DurableFile::write(const char* data, qsizetype size) {
    if (!ok())
        return false;
    while (size > 0) {
        const ssize_t written = ::write(m_fd, data, size_t(size));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return failWithErrno();
        }
        if (written == 0) // a regular file never takes nothing; do not spin on it
            return fail(systemError(EIO));
        data += written;
        size -= written;
    }
    return true;
}

bool DurableFile::commit() {
    if (!ok())
        return false;
    if (::fsync(m_fd) != 0)
        return failWithErrno();
    // Linux releases the descriptor even when close() is interrupted, and the data is already
    // on the disk: only a real error counts.
    if (::close(std::exchange(m_fd, -1)) != 0 && errno != EINTR)
        return failWithErrno();
    const QByteArray target = QFile::encodeName(m_path);
    if (::rename(m_temporary.constData(), target.constData()) != 0)
        return failWithErrno();
    m_temporary.clear();
    if (!syncFolder(folderOf(target)))
        return failWithErrno();
    return true;
}

bool DurableFile::failWithErrno() { return fail(systemError(errno)); }

bool DurableFile::fail(const QString& reason) {
    if (m_error.isEmpty()) {
        m_error = m_path + QStringLiteral(": ") + reason;
        Show_NSLog_Message(m_error);
    }
    discard();
    return false;
}

void DurableFile::discard() {
    if (m_fd >= 0)
        ::close(std::exchange(m_fd, -1));
    if (!m_temporary.isEmpty())
        ::unlink(std::exchange(m_temporary, QByteArray()).constData());
}

bool replaceFileDurably(const QString& path,
                        const std::function<bool(const QString& temporaryPath, QString& reason)>& produce,
                        QString* error) {
    DurableFile file(path);
    if (file.ok()) {
        ::close(std::exchange(file.m_fd, -1)); // the producer opens it by name
        QString reason;
        if (!produce(QFile::decodeName(file.m_temporary), reason)) {
            file.fail(reason.isEmpty() ? QStringLiteral("not written completely") : reason);
        } else {
            // Whatever the producer did with the name, what is flushed and renamed is a
            // regular file of ours, private to the user.
            file.m_fd = ::open(file.m_temporary.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
            struct stat st {};
            if (file.m_fd < 0 || ::fstat(file.m_fd, &st) != 0 || ::fchmod(file.m_fd, kPrivateFile) != 0)
                file.failWithErrno();
            else if (!S_ISREG(st.st_mode))
                file.fail(systemError(EINVAL));
        }
    }
    return file.commit(error);
}
