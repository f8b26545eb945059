#include "FileUtils.h"

#include "Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t kOpenToAll = 0777;

QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }

bool makeOneFolder(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    if (::mkdir(native.constData(), kOpenToAll) != 0 && errno != EEXIST) {
        Show_NSLog_Message(QStringLiteral("Create_Folder %1: %2").arg(path, errnoText()));
        return false;
    }
    ::chmod(native.constData(), kOpenToAll); // the umask must not narrow the permissions
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

bool writeFileAtomically(const QString& path, const QByteArray& content) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, file.errorString()));
        return false;
    }
    if (file.write(content) != content.size() || !file.commit()) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, file.errorString()));
        return false;
    }
    return true;
}

bool appendToFile(const QString& path, const QByteArray& bytes) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
        return false;
    }
    const ssize_t written = ::write(fd, bytes.constData(), static_cast<size_t>(bytes.size()));
    const bool ok = written == bytes.size();
    if (!ok)
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
    ::close(fd);
    return ok;
}

bool createEmptyFile(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOpenToAll);
    if (fd < 0) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
        return false;
    }
    ::fchmod(fd, kOpenToAll);
    ::close(fd);
    return true;
}
