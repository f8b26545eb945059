#pragma once
// A full disk without root: a child process whose files may not grow past a size gets EFBIG
// from write(), as a full disk gives ENOSPC (SIGXFSZ, which would kill it instead, is ignored).
#include <QProcess>
#include <QString>

#include <functional>

// Applies to the process's next start.
void limitFileSizeOfChild(QProcess& process, qint64 bytes);

// Runs body in a forked child of this test under that limit (none when bytes is negative) and
// gives back what it returned ("<child failed>" when the child did not end normally). The limit never touches
// this process. dropToNobody also makes the child user 65534 first when this process runs as root, so that
// file permissions hold for it as they do for anyone else.
QString inChildWithFileSizeLimit(qint64 bytes, const std::function<QString()>& body,
                                 bool dropToNobody = false);
