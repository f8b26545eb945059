#pragma once
// Reaching files without following symbolic links. In the data tree (Created_Resource_Path of
// the data folder, and everything below it) no level from its root down may be a symbolic link:
// a link planted there would send other people's numbers and messages to, or take them from,
// a file of someone else's choosing. Elsewhere (exports to folders the operator chose) only
// the last component is not followed, as open(O_NOFOLLOW) does.
//
// Failures give false or -1 with errno set (ELOOP for a symbolic link) and error
// "<path>: <reason>"; for a link the path is the link's own and the reason says so.
#include <QByteArray>
#include <QString>

#include <sys/stat.h>

// Names the data tree's root (DataFolder::Created_Resource_Path) for every file call of the
// process, however deep: the program's start does, once; with none, only last components are
// guarded.
void setDataTreeRoot(const QString& root);

// Whether path lies in the data tree (its folders and files, not its parent).
bool inDataTree(const QString& path);

// The reason a symbolic link is refused: "<link>: a symbolic link, which this program does not follow".
QString symbolicLinkRefusal(const QString& link);

// Opens the folder that holds path for the *at() calls (O_RDONLY | O_DIRECTORY); name gets
// path's last component. The caller closes the descriptor.
int openContainingFolder(const QString& path, QByteArray& name, QString* error = nullptr);

// open(2) of path with O_NOFOLLOW | O_CLOEXEC added to flags.
int openNoFollow(const QString& path, int flags, mode_t mode = 0, QString* error = nullptr);

// lstat(2) of path: true with st filled when something stands there, a symbolic link included.
bool statNoFollow(const QString& path, struct stat& st, QString* error = nullptr);
