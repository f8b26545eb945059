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

AtomicFileWriter::AtomicFileWriter(const QString& path) : m_file(std::make_unique<QSaveFile>(path)) {
    m_ok = m_file->open(QIODevice::WriteOnly);
    if (m_ok)
        m_file->setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    else
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, m_file->errorString()));
}

AtomicFileWriter::~AtomicFileWriter() {
    if (m_file->isOpen())
        m_file->cancelWriting(); // never committed: the old file stays as it was
}

bool AtomicFileWriter::write(const QByteArray& bytes) {
    if (!m_ok)
        return false;
    if (m_file->write(bytes) != bytes.size()) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(m_file->fileName(), m_file->errorString()));
        m_ok = false;
    }
    return m_ok;
}

bool AtomicFileWriter::commit() {
    if (!m_ok) {
        if (m_file->isOpen())
            m_file->cancelWriting();
        return false;
    }
    m_ok = m_file->commit();
    if (!m_ok)
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(m_file->fileName(), m_file->errorString()));
    return m_ok;
}

bool writeFileAtomically(const QString& path, const QByteArray& content) {
    AtomicFileWriter file(path);
    file.write(content);
    return file.commit();
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
    const int fd = ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile);
    if (fd < 0) {
        Show_NSLog_Message(QStringLiteral("%1: %2").arg(path, errnoText()));
        return false;
    }
    ::close(fd);
    return true;
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
