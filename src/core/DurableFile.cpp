#include "DurableFile.h"

#include "Log.h"
#include "NoFollowPaths.h"

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

// ".<name>.<random>" beside the target: the rename never crosses file systems, and the
// leading dot keeps it out of listings while it lives.
QByteArray temporaryNameFor(const QByteArray& name) {
    static constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    QByteArray temporary = '.' + name.left(kMaxStem) + '.';
    for (int i = 0; i < 8; ++i)
        temporary += kAlphabet[QRandomGenerator::global()->bounded(int(sizeof kAlphabet) - 1)];
    return temporary;
}

int createTemporary(int folder, const QByteArray& name, QByteArray& temporary) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        temporary = temporaryNameFor(name);
        const int fd = ::openat(folder, temporary.constData(),
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1; // errno is EEXIST
}

} // namespace

DurableFile::DurableFile(const QString& path) : m_path(path) {
    QString why;
    m_folder = openContainingFolder(path, m_name, &why);
    if (m_folder < 0) {
        failWith(why);
        return;
    }
    m_fd = createTemporary(m_folder, m_name, m_temporary);
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

DurableFile::~DurableFile() {
    discard();
    if (m_folder >= 0)
        ::close(m_folder);
}

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
    // A link in the target's place would be replaced, not written through; in the data tree it
    // is refused all the same, so that the operator learns of it.
    struct stat st {};
    if (inDataTree(m_path) && ::fstatat(m_folder, m_name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(st.st_mode))
        return failWith(symbolicLinkRefusal(m_path));
    if (::renameat(m_folder, m_temporary.constData(), m_folder, m_name.constData()) != 0)
        return failWithErrno();
    m_temporary.clear();
    // The rename is only safe once the folder that records it is on the disk.
    if (::fsync(m_folder) != 0)
        return failWithErrno();
    return true;
}

bool DurableFile::failWithErrno() { return fail(systemError(errno)); }

bool DurableFile::fail(const QString& reason) { return failWith(m_path + QStringLiteral(": ") + reason); }

bool DurableFile::failWith(const QString& text) {
    if (m_error.isEmpty()) {
        m_error = text;
        Show_NSLog_Message(m_error);
    }
    discard();
    return false;
}

void DurableFile::discard() {
    if (m_fd >= 0)
        ::close(std::exchange(m_fd, -1));
    if (!m_temporary.isEmpty())
        ::unlinkat(m_folder, std::exchange(m_temporary, QByteArray()).constData(), 0);
}

bool replaceFileDurably(const QString& path,
                        const std::function<bool(const QString& temporaryPath, QString& reason)>& produce,
                        QString* error) {
    DurableFile file(path);
    if (file.ok()) {
        ::close(std::exchange(file.m_fd, -1)); // the producer opens it by name
        QString reason;
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        const QString temporaryPath = path.left(slash + 1) + QFile::decodeName(file.m_temporary);
        if (!produce(temporaryPath, reason)) {
            file.fail(reason.isEmpty() ? QStringLiteral("not written completely") : reason);
        } else {
            // Whatever the producer did with the name, what is flushed and renamed is a
            // regular file of ours, private to the user.
            file.m_fd =
                ::openat(file.m_folder, file.m_temporary.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
            struct stat st {};
            if (file.m_fd < 0 || ::fstat(file.m_fd, &st) != 0 || ::fchmod(file.m_fd, kPrivateFile) != 0)
                file.failWithErrno();
            else if (!S_ISREG(st.st_mode))
                file.fail(systemError(EINVAL));
        }
    }
    return file.commit(error);
}
