#pragma once
// A full disk without root: a child process whose files may not grow past a size gets EFBIG
// from write(), as a full disk gives ENOSPC (SIGXFSZ, which would kill it instead, is ignored).
#include <QProcess>

// Applies to the process's next start.
void limitFileSizeOfChild(QProcess& process, qint64 bytes);
