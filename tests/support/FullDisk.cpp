#include "FullDisk.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
void applyLimit(qint64 bytes) { // async-signal-safe: also runs between fork and exec
    if (bytes < 0)
        return;
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{rlim_t(bytes), rlim_t(bytes)};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}
} // namespace

void limitFileSizeOfChild(QProcess& process, qint64 bytes) {
    process.setChildProcessModifier([bytes] { applyLimit(bytes); });
}

QString inChildWithFileSizeLimit(qint64 bytes, const std::function<QString()>& body, bool dropToNobody) {
    int channel[2];
    if (::pipe(channel) != 0)
        return QStringLiteral("<child failed>");
    const pid_t child = ::fork();
    if (child == 0) {
        if (dropToNobody && ::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(2);
        applyLimit(bytes);
        const QByteArray answer = body().toUtf8(); // small: one write to the pipe takes it
        ::_exit(::write(channel[1], answer.constData(), size_t(answer.size())) == answer.size() ? 0 : 3);
    }
    ::close(channel[1]);
    QByteArray answer;
    char buffer[4096];
    for (ssize_t n; (n = ::read(channel[0], buffer, sizeof buffer)) > 0;)
        answer.append(buffer, n);
    ::close(channel[0]);
    int status = 0;
    const bool ended = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended && WEXITSTATUS(status) == 0 ? QString::fromUtf8(answer) : QStringLiteral("<child failed>");
}
