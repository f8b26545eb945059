#include "DataTreePrivacy.h"

#include "DataFolder.h"
#include "Log.h"
#include "NoFollowPaths.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kPrivateFile = 0600;
// The layout is three levels deep; anything far deeper is no data of ours.
constexpr int kMaxDepth = 16;

void failed(const QString& path, QStringList& problems) {
    problems << path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

void narrowFolder(int folder, const QString& path, int depth, QStringList& problems);

// name in folder (reached as path): narrowed, a folder then descended into, a link named.
void narrowItem(int folder, const QByteArray& name, const QString& path, int depth, QStringList& problems) {
    struct stat st {};
    if (::fstatat(folder, name.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) // gone meanwhile: nothing to narrow
            failed(path, problems);
        return;
    }
    if (S_ISLNK(st.st_mode)) {
        problems << symbolicLinkRefusal(path);
        return;
    }
    // Not following: a link put in the item's place since the look above is refused here.
    const mode_t wanted = S_ISDIR(st.st_mode) ? kPrivateFolder : kPrivateFile;
    if ((st.st_mode & 07777) != wanted &&
        ::fchmodat(folder, name.constData(), wanted, AT_SYMLINK_NOFOLLOW) != 0) {
        failed(path, problems);
        return;
    }
    if (!S_ISDIR(st.st_mode) || depth >= kMaxDepth)
        return;
    const int inner = ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (inner < 0)
        failed(path, problems);
    else
        narrowFolder(inner, path, depth + 1, problems);
}

// Takes folder over and closes it.
void narrowFolder(int folder, const QString& path, int depth, QStringList& problems) {
    DIR* listing = ::fdopendir(folder);
    if (listing == nullptr) {
        failed(path, problems);
        ::close(folder);
        return;
    }
    QList<QByteArray> names;
    while (const dirent* entry = ::readdir(listing)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names << name;
    }
    for (const QByteArray& name : names)
        narrowItem(folder, name, path + QLatin1Char('/') + QFile::decodeName(name), depth, problems);
    ::closedir(listing);
}

} // namespace

QStringList makeDataTreePrivate(const DataFolder& folder) {
    QStringList problems;
    const QString& root = folder.Created_Resource_Path();
    QByteArray name;
    QString why;
    const int parent = openContainingFolder(root, name, &why);
    if (parent < 0) {
        if (errno != ENOENT)
            problems << why;
    } else {
        narrowItem(parent, name, root, 0, problems);
        ::close(parent);
    }
    for (const QString& problem : problems)
        Show_NSLog_Message(problem);
    return problems;
}
