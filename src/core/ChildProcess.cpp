#include "ChildProcess.h"

#include <QFile>
#include <QStandardPaths>

#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QString systemError(const char* what) {
    return QStringLiteral("%1: %2").arg(QString::fromLatin1(what),
                                        QString::fromLocal8Bit(std::strerror(errno)));
}

// The program as posix_spawn takes it: a path, looked up on PATH when it has no slash.
QByteArray executablePath(const QString& program) {
    if (program.contains(QLatin1Char('/')))
        return QFile::encodeName(program);
    const QString found = QStandardPaths::findExecutable(program);
    return QFile::encodeName(found.isEmpty() ? program : found);
}

// Reads what is there (the pipe is non-blocking); false once the child closed its end.
bool drain(int fd, QByteArray& output) {
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        if (got > 0) {
            output.append(buffer.data(), got);
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        return got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
}

int exitCodeOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

} // namespace

ChildResult runChild(const QString& program, const QStringList& arguments,
                     const std::function<bool()>& stop) {
    ChildResult result;
    std::array<int, 2> pipeFds{-1, -1};
    if (::pipe2(pipeFds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        result.error = systemError("pipe");
        return result;
    }
    const QByteArray path = executablePath(program);
    std::vector<QByteArray> words{path};
    words.reserve(size_t(arguments.size()) + 1);
    for (const QString& argument : arguments)
        words.push_back(argument.toUtf8());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
    pid_t pid = -1;
    const int spawned = ::posix_spawn(&pid, path.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawned != 0) {
        errno = spawned;
        result.error = systemError(path.constData());
        ::close(pipeFds[0]);
        return result;
    }
    result.started = true;
    // The child's exit ends the wait, not the pipe's end: something it started in the
    // background (a server) may hold the pipe open long after.
    int status = 0;
    for (bool open = true;;) {
        if (stop && stop()) {
            ::kill(pid, SIGKILL); // nothing is left running behind a stop
            result.stopped = true;
            drain(pipeFds[0], result.output);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            break;
        }
        pollfd watched{pipeFds[0], POLLIN, 0};
        if (open && ::poll(&watched, 1, 50) > 0)
            open = drain(pipeFds[0], result.output);
        else if (!open)
            ::usleep(50000);
        const pid_t ended = ::waitpid(pid, &status, WNOHANG);
        if (ended == pid || (ended < 0 && errno != EINTR)) {
            drain(pipeFds[0], result.output);
            result.exitCode = exitCodeOf(status);
            break;
        }
    }
    ::close(pipeFds[0]);
    return result;
}
