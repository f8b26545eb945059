#include "NoFollowPaths.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace {

// The data tree every file call of the process guards (setDataTreeRoot).
struct DataTreeRoot {
    std::mutex mutex;
    QString path;
};

DataTreeRoot& dataTreeRoot() {
    // The link rule of every file call in the process, however deep, for the one data tree the
    // program's start names.
    // Never destroyed: the troubleshooting log's writer may still open its file while the
    // process exits, after the static objects are gone.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
    static auto* const root = new DataTreeRoot;
    return *root;
}

QString dataTreeRootPath() {
    DataTreeRoot& root = dataTreeRoot();
    const std::lock_guard lock(root.mutex);
    return root.path;
}

QString withReason(const QString& path, int code) {
    return path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(code));
}

// path split at its last slash into the folder to start from and its last component.
void splitLast(const QString& path, QString& folder, QString& last) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    folder = slash < 0 ? QStringLiteral(".") : slash == 0 ? QStringLiteral("/") : path.left(slash);
    last = path.mid(slash + 1);
}

// After a failed *at() call on name in folder: a symbolic link standing there is named as
// such (and errno is ELOOP); anything else is reported as the call's error against path.
void explainFailure(int folder, const QByteArray& name, const QString& linkPath, const QString& path,
                    QString* error) {
    const int code = errno;
    struct stat st {};
    const bool link =
        ::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(st.st_mode);
    if (error)
        *error = link ? symbolicLinkRefusal(linkPath) : withReason(path, code);
    errno = link ? ELOOP : code;
}

} // namespace

void setDataTreeRoot(const QString& root) {
    DataTreeRoot& tree = dataTreeRoot();
    const std::lock_guard lock(tree.mutex);
    tree.path = root;
}

bool inDataTree(const QString& path) {
    const QString root = dataTreeRootPath();
    if (root.isEmpty())
        return false;
    const QString clean = QDir::cleanPath(path);
    return clean == root || clean.startsWith(root + QLatin1Char('/'));
}

QString symbolicLinkRefusal(const QString& link) {
    return link + QStringLiteral(": a symbolic link, which this program does not follow");
}

int openContainingFolder(const QString& path, QByteArray& name, QString* error) {
    // Outside the data tree the folder is reached as the operator named it; inside it, from
    // the data tree's parent one level at a time, none of them a link.
    QString start, last, reached;
    QStringList levels;
    if (const QString root = dataTreeRootPath(); inDataTree(path)) {
        reached = root.left(root.lastIndexOf(QLatin1Char('/')) + 1);
        start = reached.isEmpty() ? QStringLiteral(".") : reached.size() == 1 ? reached : reached.chopped(1);
        levels = QDir::cleanPath(path).mid(reached.size()).split(QLatin1Char('/'));
        last = levels.takeLast();
    } else {
        splitLast(path, start, last);
    }
    name = QFile::encodeName(last);
    // Folders passed through need not be readable (O_PATH); the one returned is, for fsync().
    const auto openMode = [&](qsizetype level) { return level + 1 < levels.size() ? O_PATH : O_RDONLY; };
    int folder = ::open(QFile::encodeName(start).constData(), openMode(-1) | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        const int code = errno;
        if (error)
            *error = withReason(path, code);
        errno = code;
        return -1;
    }
    for (qsizetype i = 0; i < levels.size(); ++i) {
        reached += levels.at(i);
        const QByteArray native = QFile::encodeName(levels.at(i));
        const int next =
            ::openat(folder, native.constData(), openMode(i) | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next < 0) {
            explainFailure(folder, native, reached, path, error);
            const int code = errno;
            ::close(folder);
            errno = code;
            return -1;
        }
        ::close(folder);
        folder = next;
        reached += QLatin1Char('/');
    }
    return folder;
}

int openNoFollow(const QString& path, int flags, mode_t mode, QString* error) {
    QByteArray name;
    const int folder = openContainingFolder(path, name, error);
    if (folder < 0)
        return -1;
    const int fd = ::openat(folder, name.constData(), flags | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0)
        explainFailure(folder, name, path, path, error);
    const int code = errno;
    ::close(folder);
    errno = code;
    return fd;
}

bool statNoFollow(const QString& path, struct stat& st, QString* error) {
    QByteArray name;
    const int folder = openContainingFolder(path, name, error);
    if (folder < 0)
        return false;
    const bool found = ::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0;
    const int code = errno;
    if (!found && error)
        *error = withReason(path, code);
    ::close(folder);
    errno = code;
    return found;
}
