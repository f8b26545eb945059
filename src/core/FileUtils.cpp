#include "FileUtils.h"

#include "Log.h"
#include "NoFollowPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
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

// Reads to the end; 0, or errno of the read that failed.
int readAllFrom(int fd, QByteArray& out) {
    constexpr qsizetype kChunk = qsizetype(64) * 1024;
    for (;;) {
        const qsizetype had = out.size();
        out.resize(had + kChunk);
        const ssize_t got = ::read(fd, out.data() + had, size_t(kChunk));
        const int code = got < 0 ? errno : 0;
        out.resize(had + std::max<qsizetype>(got, 0));
        if (got == 0)
            return 0;
        if (got < 0 && code != EINTR)
            return code;
    }
}

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
    QByteArray name;
    QString why;
    const int folder = openContainingFolder(path, name, &why);
    int code = folder < 0 ? errno : 0;
    if (folder >= 0) {
        if (::unlinkat(folder, name.constData(), 0) != 0) {
            code = errno;
            why = QStringLiteral("%1: %2").arg(path, errnoText());
        }
        ::close(folder);
    }
    if (code != 0 && code != ENOENT) // nothing there is nothing to remove
        Show_NSLog_Message(QStringLiteral("Delete_File ") + why);
}

bool readPrivateFile(const QString& path, QByteArray* out, QString* error) {
    out->clear();
    QString why;
    // Not held up by a FIFO standing in the file's place: it is refused below.
    const int fd = openNoFollow(path, O_RDONLY | O_NONBLOCK, 0, &why);
    if (fd < 0 && errno == ENOENT)
        why.clear();
    if (fd >= 0) {
        struct stat st {};
        const int code = ::fstat(fd, &st) != 0 ? errno : S_ISREG(st.st_mode) ? readAllFrom(fd, *out) : 0;
        if (code != 0)
            why = QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(code)));
        else if (!S_ISREG(st.st_mode))
            why = path + QStringLiteral(": not a regular file");
        ::close(fd);
    }
    if (!why.isEmpty()) {
        out->clear();
        Show_NSLog_Message(why);
    }
    if (error)
        *error = why;
    return why.isEmpty();
}

bool writeFileAtomically(const QString& path, const QByteArray& content, QString* error) {
    DurableFile file(path);
    file.write(content);
    return file.commit(error);
}

bool renameFile(const QString& from, const QString& to, QString* error) {
    QByteArray fromName, toName;
    QString why;
    const int fromFolder = openContainingFolder(from, fromName, &why);
    const int toFolder = fromFolder < 0 ? -1 : openContainingFolder(to, toName, &why);
    struct stat st {};
    if (toFolder >= 0 && inDataTree(from) &&
        ::fstatat(fromFolder, fromName.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(st.st_mode)) {
        why = symbolicLinkRefusal(from);
    } else if (toFolder >= 0) {
        int renamed =
            ::renameat2(fromFolder, fromName.constData(), toFolder, toName.constData(), RENAME_NOREPLACE);
        // A file system without the flag: the same, looked at first.
        if (renamed != 0 && errno == EINVAL) {
            if (::fstatat(toFolder, toName.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0)
                errno = EEXIST;
            else
                renamed = ::renameat(fromFolder, fromName.constData(), toFolder, toName.constData());
        }
        if (renamed != 0)
            why = QStringLiteral("%1: %2").arg(from, errnoText());
    }
    for (const int folder : {fromFolder, toFolder})
        if (folder >= 0)
            ::close(folder);
    if (!why.isEmpty())
        Show_NSLog_Message(why);
    if (error)
        *error = why;
    return why.isEmpty();
}

bool appendToFile(const QString& path, const QByteArray& bytes, QString* error) {
    const auto failed = [&](int code) {
        const QString text = path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(code));
        Show_NSLog_Message(text);
        if (error)
            *error = text;
        return false;
    };
    QString refused;
    const int fd = openNoFollow(path, O_WRONLY | O_APPEND, 0, &refused);
    if (fd < 0) {
        Show_NSLog_Message(refused);
        if (error)
            *error = refused;
        return false;
    }
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
    QString text;
    const int fd = openNoFollow(path, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile, &text);
    if (fd < 0) {
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

bool ensurePrivateItem(const QString& path, PrivateItem kind) {
    struct stat st {};
    QString why;
    const bool found = statNoFollow(path, st, &why);
    if (found && S_ISLNK(st.st_mode))
        why = symbolicLinkRefusal(path);
    else if (!found && errno == ENOENT)
        return kind == PrivateItem::Folder ? Create_Folder(path) : createEmptyFile(path);
    if (!found || S_ISLNK(st.st_mode)) {
        Show_NSLog_Message(why);
        return false;
    }
    makePrivate(path);
    return true;
}

void makePrivate(const QString& path) {
    QByteArray name;
    const int folder = openContainingFolder(path, name);
    if (folder < 0)
        return;
    struct stat st {};
    // fchmodat() without following refuses a link that took the item's place meanwhile.
    if (::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISLNK(st.st_mode)) {
        const mode_t wanted = S_ISDIR(st.st_mode) ? kPrivateFolder : kPrivateFile;
        if ((st.st_mode & 07777) != wanted &&
            ::fchmodat(folder, name.constData(), wanted, AT_SYMLINK_NOFOLLOW) != 0)
            Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
    }
    ::close(folder);
}
