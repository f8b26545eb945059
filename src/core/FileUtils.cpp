#include "FileUtils.h"

#include "Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// Data files hold other people's numbers and messages: private to the user.
constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kPrivateFile = 0600;

QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }

bool makeOneFolder(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    if (::mkdir(native.constData(), kPrivateFolder) != 0 && errno != EEXIST) {
        Show_NSLog_Message(QStringLiteral("Create_Folder %1: %2").arg(path, errnoText()));
        return false;
    }
    return true;
}
} // namespace

bool Create_Folder(const QString& path) {
    if (path.isEmpty())
        return false;
    const QString target = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo::exists(target))
        return true;
    const QString parent = QFileInfo(target).absolutePath();
    if (parent != target && !QFileInfo::exists(parent) && !Create_Folder(parent))
        return false;
    return makeOneFolder(target);
}

void Delete_File(const QString& path) {
    if (path.isEmpty())
        return;
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return;
    if (::unlink(QFile::encodeName(path).constData()) != 0)
        Show_NSLog_Message(QStringLiteral("Delete_File %1: %2").arg(path, errnoText()));
}

bool writeFileAtomically(const QString& path, const QByteArray& content, QString* error) {
    DurableFile file(path);
    file.write(content);
    return file.commit(error);
}

bool appendToFile(const QString& path, const QByteArray& bytes, QString* error) {
    const auto failed = [&](int code) {
        const QString text = path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(code));
        Show_NSLog_Message(text);
        if (error)
            *error = text;
        return false;
    };
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return failed(errno);
    qsizetype done = 0;
    int code = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written > 0) {
            done += written;
        } else if (written == 0 || errno != EINTR) {
            code = written == 0 ? EIO : errno;
            break;
        }
    }
    if (code != 0 && done > 0) {
        // Half a line would read as a record of its own: take it back unless another writer
        // has appended since.
        struct stat st {};
        const off_t end = ::lseek(fd, 0, SEEK_CUR);
        if (end >= done && ::fstat(fd, &st) == 0 && st.st_size == end && ::ftruncate(fd, end - done) != 0)
            Show_NSLog_Message(QStringLiteral("%1: a partly written line stays: %2").arg(path, errnoText()));
    }
    if (::close(fd) != 0 && errno != EINTR && code == 0)
        code = errno;
    if (code != 0)
        return failed(code);
    if (error)
        error->clear();
    return true;
}

bool createEmptyFile(const QString& path, QString* error) {
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile);
    if (fd < 0) {
        const QString text = QStringLiteral("%1: %2").arg(path, errnoText());
        Show_NSLog_Message(text);
        if (error)
            *error = text;
        return false;
    }
    ::close(fd);
    return true;
}

QString errorInFileAccessing(const QString& error) {
    return error.isEmpty() ? kErrorInFileAccessing : kErrorInFileAccessing + QLatin1Char('\n') + error;
}

void makePrivate(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    struct stat st {};
    if (::lstat(native.constData(), &st) != 0 || S_ISLNK(st.st_mode))
        return;
    const mode_t wanted = S_ISDIR(st.st_mode) ? kPrivateFolder : kPrivateFile;
    if ((st.st_mode & 07777) != wanted && ::chmod(native.constData(), wanted) != 0)
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
}
