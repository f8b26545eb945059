#include "PortHolders.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace PortHolders {
namespace {

// The kernel's largest pid (PID_MAX_LIMIT): a bigger number in a lock file names nobody.
constexpr qint64 kLargestPid = 4194304;

const QString kModemManager = QStringLiteral("ModemManager");

// Reads at most `limit` bytes of a small file without following a link in its place; empty
// when it cannot be read.
QByteArray readSmall(const QByteArray& path, qsizetype limit) {
    const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return {};
    QByteArray out(limit, '\0');
    qsizetype got = 0;
    while (got < limit) {
        const ssize_t n = ::read(fd, out.data() + got, size_t(limit - got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += n;
    }
    ::close(fd);
    out.truncate(got);
    return out;
}

QByteArray procPath(const Roots& roots, qint64 pid, const char* rest) {
    return QFile::encodeName(roots.proc) + '/' + QByteArray::number(pid) + rest;
}

QString commandName(const Roots& roots, qint64 pid) {
    // A command name is at most 15 bytes; anything else in the file is not one.
    const QByteArray comm = readSmall(procPath(roots, pid, "/comm"), 64);
    return QString::fromUtf8(comm.left(comm.indexOf('\n'))).left(15).trimmed();
}

// Every process of the table, by its entry's name (a pid).
template <typename Visit> void forEachProcess(const Roots& roots, Visit visit) {
    DIR* table = ::opendir(QFile::encodeName(roots.proc).constData());
    if (table == nullptr)
        return;
    while (const dirent* entry = ::readdir(table)) {
        bool number = false;
        const qint64 pid = QByteArray(entry->d_name).toLongLong(&number);
        if (number && pid > 0 && !visit(pid))
            break;
    }
    ::closedir(table);
}

// The pseudo-terminal index a master descriptor stands for (its fdinfo's "tty-index:"); -1.
int ptyIndexOfMaster(const Roots& roots, qint64 pid, const char* fd) {
    const QByteArray info = readSmall(procPath(roots, pid, "/fdinfo/") + fd, 4096);
    const QByteArray key = "tty-index:";
    const qsizetype at = info.indexOf(key);
    if (at < 0)
        return -1;
    const qsizetype end = info.indexOf('\n', at);
    bool ok = false;
    const int index = info.mid(at + key.size(), end < 0 ? -1 : end - at - key.size()).trimmed().toInt(&ok);
    return ok ? index : -1;
}

// The port as its descriptors show it: its real path, its device number, its pty index.
struct Port {
    QByteArray path;
    dev_t device = 0;
    bool isDevice = false;
    bool shared = false; // a device every process may hold (/dev/null): no port, nobody's
    int ptyIndex = -1;
};

// Whether a character device is a terminal line: its sysfs class is "tty", or it is the
// terminal side of a pseudo-terminal (majors 136 to 143, which sysfs does not list).
bool isTerminal(dev_t device) {
    if (major(device) >= 136 && major(device) <= 143)
        return true;
    char target[4096];
    const QByteArray link = QByteArrayLiteral("/sys/dev/char/") + QByteArray::number(major(device)) + ':' +
                            QByteArray::number(minor(device)) + "/subsystem";
    const ssize_t n = ::readlink(link.constData(), target, sizeof target - 1);
    return n > 0 && QByteArray(target, n).endsWith("/tty");
}

Port portOf(const QString& path) {
    Port port;
    const QString canonical = QFileInfo(path).canonicalFilePath();
    port.path = QFile::encodeName(canonical.isEmpty() ? path : canonical);
    struct stat st {};
    if (::stat(port.path.constData(), &st) == 0 && S_ISCHR(st.st_mode)) {
        port.device = st.st_rdev;
        port.isDevice = true;
        port.shared = !isTerminal(st.st_rdev);
    }
    const QByteArray pts = "/dev/pts/";
    if (port.path.startsWith(pts)) {
        bool ok = false;
        const int index = port.path.mid(pts.size()).toInt(&ok);
        port.ptyIndex = ok ? index : -1;
    }
    return port;
}

enum class Descriptors { None, Holds, IsTheDevice };

// What one process's descriptors say of the port.
Descriptors descriptorsOf(const Process& process, const Port& port) {
    bool holds = false;
    for (const Descriptor& d : process.descriptors) {
        if (d.link == port.path) {
            holds = true;
            continue;
        }
        if (port.ptyIndex >= 0 && d.ptyIndex == port.ptyIndex)
            return Descriptors::IsTheDevice;
        // The same device reached by another name (a link of its own, another mount of /dev).
        if (port.isDevice && d.isDevice && d.device == port.device)
            holds = true;
    }
    return holds ? Descriptors::Holds : Descriptors::None;
}

// One process's descriptors: the links, the device numbers of those below /dev, and the
// pseudo-terminal of each master; nothing, and hidden, when they cannot be read.
Process readProcess(const Roots& roots, qint64 pid) {
    Process process;
    process.pid = pid;
    const QByteArray folder = procPath(roots, pid, "/fd");
    DIR* fds = ::opendir(folder.constData());
    if (fds == nullptr) {
        process.hidden = errno == EACCES || errno == EPERM;
        return process;
    }
    char target[4096];
    while (const dirent* entry = ::readdir(fds)) {
        if (entry->d_name[0] == '.')
            continue;
        const ssize_t n = ::readlinkat(dirfd(fds), entry->d_name, target, sizeof target - 1);
        if (n <= 0)
            continue;
        Descriptor d;
        d.link = QByteArray(target, n);
        if (d.link == "/dev/ptmx" || d.link == "/dev/pts/ptmx")
            d.ptyIndex = ptyIndexOfMaster(roots, pid, entry->d_name);
        struct stat st {};
        if (d.link.startsWith("/dev/") && ::fstatat(dirfd(fds), entry->d_name, &st, 0) == 0 &&
            S_ISCHR(st.st_mode)) {
            d.device = st.st_rdev;
            d.isDevice = true;
        }
        process.descriptors << d;
    }
    ::closedir(fds);
    return process;
}

} // namespace

Roots Roots::system() {
    Roots roots;
    if (const QString locks = qEnvironmentVariable("BULKSMS_LOCK_DIR"); !locks.isEmpty())
        roots.locks = locks;
    roots.self = ::getpid();
    return roots;
}

QString lockName(const QString& path) {
    QString name = QFileInfo(path).canonicalFilePath();
    if (name.isEmpty())
        name = path;
    const QString devices = QStringLiteral("/dev/");
    name = name.startsWith(devices) ? name.mid(devices.size()) : name.section(QLatin1Char('/'), -1);
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("LCK..") + name;
}

qint64 lockOwner(const QByteArray& content) {
    const QByteArray text = content.trimmed();
    bool ascii = !text.isEmpty();
    for (const char c : text)
        ascii = ascii && c >= '0' && c <= '9';
    if (ascii) {
        bool ok = false;
        const qint64 pid = text.toLongLong(&ok);
        return ok && pid > 0 && pid <= kLargestPid ? pid : 0;
    }
    // The older form: the pid as the machine's int, nothing else.
    if (content.size() == qsizetype(sizeof(int))) {
        int pid = 0;
        std::memcpy(&pid, content.constData(), sizeof pid);
        return pid > 0 && pid <= kLargestPid ? pid : 0;
    }
    return 0;
}

bool alive(qint64 pid, const Roots& roots) {
    struct stat st {};
    return pid > 0 && ::stat(procPath(roots, pid, "").constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::optional<Holder> modemManager(const Roots& roots) {
    std::optional<Holder> found;
    forEachProcess(roots, [&](qint64 pid) {
        if (pid != roots.self && commandName(roots, pid) == kModemManager)
            found = Holder{pid, kModemManager};
        return !found;
    });
    return found;
}

Table readTable(const Roots& roots) {
    Table table;
    table.roots = roots;
    forEachProcess(roots, [&](qint64 pid) {
        if (pid != roots.self)
            table.processes << readProcess(roots, pid);
        return true;
    });
    return table;
}

Finding find(const QString& path, const Roots& roots) { return find(path, readTable(roots)); }

Finding find(const QString& path, const Table& table) {
    const Roots& roots = table.roots;
    Finding finding;
    const QByteArray lock = readSmall(QFile::encodeName(roots.locks + QLatin1Char('/') + lockName(path)), 64);
    if (const qint64 owner = lockOwner(lock); owner != 0 && owner != roots.self && alive(owner, roots)) {
        finding.holder = Holder{owner, commandName(roots, owner)};
        return finding;
    }
    const Port port = portOf(path);
    if (port.shared)
        return finding;
    for (const Process& process : table.processes) {
        if (process.hidden) {
            if (!finding.suspect && commandName(roots, process.pid) == kModemManager)
                finding.suspect = Holder{process.pid, kModemManager};
            continue;
        }
        if (descriptorsOf(process, port) == Descriptors::Holds) {
            finding.holder = Holder{process.pid, commandName(roots, process.pid)};
            break;
        }
    }
    if (finding.holder)
        finding.suspect.reset();
    return finding;
}

QString words(const Finding& finding) {
    if (const auto& h = finding.holder)
        return h->name.isEmpty() ? QStringLiteral("held by another program, pid %1").arg(h->pid)
                                 : QStringLiteral("held by %1, pid %2").arg(h->name).arg(h->pid);
    if (const auto& s = finding.suspect)
        return QStringLiteral("held by another program, likely %1, pid %2").arg(s->name).arg(s->pid);
    return QString();
}

QString advice(const Finding& finding) {
    const std::optional<Holder> who = finding.holder ? finding.holder : finding.suspect;
    if (!who)
        return QString();
    if (who->name == kModemManager)
        return QStringLiteral(
            "ModemManager takes modem ports for itself: have it leave this modem alone with "
            "the udev rule below, or stop it (sudo systemctl stop ModemManager), then "
            "search again.");
    return QStringLiteral("Close %1 (or end it: kill %2), then search again.")
        .arg(who->name.isEmpty() ? QStringLiteral("the program that uses it") : who->name)
        .arg(who->pid);
}

} // namespace PortHolders
