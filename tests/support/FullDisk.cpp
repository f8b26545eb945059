#include "FullDisk.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
void applyLimit(qint64 bytes) {
    if (bytes < 0)
        return;
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{rlim_t(bytes), rlim_t(bytes)};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}
} // namespace

void limitFileSizeOfChild(QProcess& process, qint64 bytes) {
    // Runs between fork and exec: only async-signal-safe calls.
    process.setChildProcessModifier([bytes] { applyLimit(bytes); });
}

QString inChildWithFileSizeLimit(qint64 bytes, const std::function<QString()>& body, bool dropToNobody) {
    int channel[2];
    if (::pipe(channel) != 0)
        return QStringLiteral("<child failed>");
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        if (dropToNobody && ::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(2);
        applyLimit(bytes);
        const QByteArray answer = body().toUtf8();
        for (qsizetype done = 0; done < answer.size();) {
            const ssize_t n = ::write(channel[1], answer.constData() + done, size_t(answer.size() - done));
            if (n <= 0)
                ::_exit(3);
            done += n;
        }
        ::_exit(0);
    }
    ::close(channel[1]);
    QByteArray answer;
    char buffer[4096];
    for (ssize_t n; (n = ::read(channel[0], buffer, sizeof buffer)) != 0;) {
        if (n > 0)
            answer.append(buffer, n);
        else if (errno != EINTR)
            break;
    }
    ::close(channel[0]);
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return QStringLiteral("<child failed>");
    return QString::fromUtf8(answer);
}
