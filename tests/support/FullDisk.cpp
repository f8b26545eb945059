#include "FullDisk.h"

#include <csignal>
#include <sys/resource.h>

void limitFileSizeOfChild(QProcess& process, qint64 bytes) {
    process.setChildProcessModifier([bytes] {
        // Runs between fork and exec: only async-signal-safe calls.
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{rlim_t(bytes), rlim_t(bytes)};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
}
