// Who holds a serial port: a made-up process table and lock folder for the rules, real
// processes on a real pseudo-terminal for the whole way (the port is then never opened).
#include "gsm/PortHolders.h"
#include "gsm/AMSerialPort.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/PortLock.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using PortHolders::Finding;
using PortHolders::Holder;
using PortHolders::Roots;

void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(content);
}

// A process table of our own making: processes with a name and descriptor links.
class FakeProc {
public:
    FakeProc() {
        ::chmod(QFile::encodeName(dir.path()).constData(), 0755); // a user switched to must get in
        QDir(dir.path()).mkpath("proc");
        QDir(dir.path()).mkpath("lock");
        roots.proc = dir.path() + "/proc";
        roots.locks = dir.path() + "/lock";
        roots.self = 1;
    }
    void process(qint64 pid, const QByteArray& comm, const QStringList& links = {}) {
        const QString base = QStringLiteral("%1/%2").arg(roots.proc).arg(pid);
        QDir().mkpath(base + "/fd");
        writeFile(base + "/comm", comm + "\n");
        int fd = 3;
        for (const QString& link : links)
            QFile::link(link, QStringLiteral("%1/fd/%2").arg(base).arg(fd++));
    }
    // Descriptors that only their owner reads, as another user's are.
    void hide(qint64 pid) {
        ::chmod(QFile::encodeName(QStringLiteral("%1/%2/fd").arg(roots.proc).arg(pid)).constData(), 0700);
    }
    void lock(const QString& name, const QByteArray& content) {
        writeFile(roots.locks + "/" + name, content);
    }

    QTemporaryDir dir;
    Roots roots;
};

QString holderText(const Finding& f) { return PortHolders::words(f); }

TEST(PortHolders, LockFileOwnersInBothForms) {
    int binary = 4321;
    const struct {
        QByteArray content;
        qint64 owner;
    } cases[] = {
        {"      4321\n", 4321},
        {"4321\n", 4321},
        {"4321", 4321},
        {QByteArray(reinterpret_cast<const char*>(&binary), sizeof binary), 4321},
        {"", 0},
        {"\n", 0},
        {"abc\n", 0},
        {"-5\n", 0},
        {"0000000000\n", 0},
        {"99999999999999999999\n", 0}, // beyond any pid
        {"4194305\n", 0},              // beyond the kernel's largest pid
        {"12 34\n", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PortHolders::lockOwner(c.content), c.owner) << c.content.toHex().toStdString();
    EXPECT_EQ(PortHolders::lockName("/dev/ttyUSB0"), "LCK..ttyUSB0");
    EXPECT_EQ(PortHolders::lockName("/dev/pts/3"), "LCK..pts_3");
}

TEST(PortHolders, ProcessesHoldingThePortAreFoundByTheirDescriptors) {
    FakeProc fake;
    fake.process(100, "bash", {"/dev/null", "/dev/pts/0"});
    fake.process(812, "minicom", {"/dev/null", "/dev/ttyUSB7"});
    const Finding held = PortHolders::find("/dev/ttyUSB7", fake.roots);
    ASSERT_TRUE(held.holder);
    EXPECT_EQ(held.holder->pid, 812);
    EXPECT_EQ(held.holder->name, "minicom");
    EXPECT_EQ(holderText(held), "held by minicom, pid 812");
    EXPECT_FALSE(PortHolders::find("/dev/ttyUSB8", fake.roots).holder);

    // Our own descriptors are never another's.
    fake.roots.self = 812;
    EXPECT_FALSE(PortHolders::find("/dev/ttyUSB7", fake.roots).holder);
}

TEST(PortHolders, LiveLocksHoldStaleOnesDoNot) {
    FakeProc fake;
    fake.process(4321, "cu");
    fake.lock("LCK..ttyUSB1", "      4321\n");
    fake.lock("LCK..ttyUSB2", "      9999\n"); // no such process: stale
    fake.lock("LCK..ttyUSB3", "garbage");
    int binary = 4321;
    fake.lock("LCK..ttyUSB4", QByteArray(reinterpret_cast<const char*>(&binary), sizeof binary));
    fake.lock("LCK..ttyUSB5", "         1\n"); // ours

    EXPECT_EQ(holderText(PortHolders::find("/dev/ttyUSB1", fake.roots)), "held by cu, pid 4321");
    EXPECT_EQ(holderText(PortHolders::find("/dev/ttyUSB4", fake.roots)), "held by cu, pid 4321");
    for (const char* free : {"/dev/ttyUSB2", "/dev/ttyUSB3", "/dev/ttyUSB5"})
        EXPECT_FALSE(PortHolders::find(free, fake.roots).holder) << free;
}

TEST(PortHolders, AHiddenModemManagerIsTheLikelyHolder) {
    FakeProc fake;
    fake.process(50, "systemd");
    fake.process(812, "ModemManager", {"/dev/ttyUSB0"});
    EXPECT_EQ(PortHolders::modemManager(fake.roots)->pid, 812);
    // Readable: it is seen holding the port, not suspected.
    const Finding seen = PortHolders::find("/dev/ttyUSB0", fake.roots);
    EXPECT_EQ(holderText(seen), "held by ModemManager, pid 812");
    EXPECT_TRUE(PortHolders::advice(seen).contains("udev rule"));

    // Hidden, as root's descriptors are from another user: only suspected, never "held".
    fake.hide(812);
    int pipeFds[2];
    ASSERT_EQ(::pipe(pipeFds), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(pipeFds[0]);
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(3);
        const Finding f = PortHolders::find("/dev/ttyUSB0", fake.roots);
        const QByteArray text = holderText(f).toUtf8() + (f.holder ? "|holder" : "");
        (void)!::write(pipeFds[1], text.constData(), size_t(text.size()));
        ::_exit(0);
    }
    ::close(pipeFds[1]);
    char out[256] = {};
    const ssize_t n = ::read(pipeFds[0], out, sizeof out - 1);
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "could not become another user";
    EXPECT_EQ(QString::fromUtf8(out, int(std::max<ssize_t>(n, 0))),
              "held by another program, likely ModemManager, pid 812");
}

TEST(PortLock, OneFileWithOurPidSharedInsideTheProcess) {
    FakeProc fake;
    fake.roots.self = ::getpid();
    const QString file = fake.roots.locks + "/LCK..ttyUSB0";
    {
        PortLock first("/dev/ttyUSB0", fake.roots);
        ASSERT_EQ(first.state(), PortLock::State::Locked);
        QFile content(file);
        ASSERT_TRUE(content.open(QIODevice::ReadOnly));
        const QByteArray text = content.readAll();
        EXPECT_EQ(text.size(), 11);
        EXPECT_EQ(text, QByteArray::number(::getpid()).rightJustified(10, ' ') + "\n");
        EXPECT_EQ(QFileInfo(file).permissions() & QFileDevice::ReadOther, QFileDevice::ReadOther);
        {
            PortLock second("/dev/ttyUSB0", fake.roots);
            EXPECT_EQ(second.state(), PortLock::State::Locked);
        }
        EXPECT_TRUE(QFile::exists(file)) << "the first port still uses it";
    }
    EXPECT_FALSE(QFile::exists(file));
}

TEST(PortLock, StaleLocksAreReplacedLiveOnesRefuse) {
    FakeProc fake;
    fake.roots.self = ::getpid();
    fake.process(4321, "cu");
    fake.lock("LCK..ttyUSB1", "      9999\n");
    fake.lock("LCK..ttyUSB2", "      4321\n");
    {
        PortLock stale("/dev/ttyUSB1", fake.roots);
        EXPECT_EQ(stale.state(), PortLock::State::Locked);
        QFile content(fake.roots.locks + "/LCK..ttyUSB1");
        ASSERT_TRUE(content.open(QIODevice::ReadOnly));
        EXPECT_EQ(PortHolders::lockOwner(content.readAll()), ::getpid());
    }
    PortLock live("/dev/ttyUSB2", fake.roots);
    ASSERT_TRUE(live.held());
    EXPECT_EQ(live.owner().pid, 4321);
    EXPECT_EQ(live.owner().name, "cu");
    live.release();
    EXPECT_TRUE(QFile::exists(fake.roots.locks + "/LCK..ttyUSB2")) << "another's lock was removed";

    // A folder that takes no file: the port is used without one.
    fake.roots.locks = fake.dir.path() + "/no-such-folder";
    EXPECT_EQ(PortLock("/dev/ttyUSB3", fake.roots).state(), PortLock::State::WithoutFile);
}

// A pseudo-terminal standing for a modem's device; this process holds its master side.
class Terminal {
public:
    Terminal() {
        master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC); // the holder started must not share it
        if (master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0)
            path = QString::fromLocal8Bit(::ptsname(master));
    }
    ~Terminal() {
        if (master >= 0)
            ::close(master);
    }
    int master = -1;
    QString path;
};

// Another program holding the device: `sleep` with the terminal as its standard input, run as
// `user` through setpriv when given.
std::unique_ptr<QProcess> holdWithSleep(const QString& device, const QString& user = {}) {
    auto process = std::make_unique<QProcess>();
    process->setStandardInputFile(device);
    if (user.isEmpty())
        process->start("sleep", {"30"});
    else
        process->start("setpriv", {"--reuid=" + user, "--regid=" + user, "--clear-groups", "sleep", "30"});
    if (!process->waitForStarted())
        return nullptr;
    // setpriv becomes sleep in the same process: wait until it has.
    for (int i = 0; i < 200; ++i) {
        QFile comm(QStringLiteral("/proc/%1/comm").arg(process->processId()));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == "sleep")
            break;
        ::usleep(10000);
    }
    return process;
}

TEST(PortHolders, AnotherProcessOnTheTerminalKeepsOurPortClosed) {
    Terminal terminal;
    ASSERT_FALSE(terminal.path.isEmpty());
    QTemporaryDir locks;
    qputenv("BULKSMS_LOCK_DIR", QFile::encodeName(locks.path()));

    // Only our side: the process at the master end is the device, not a holder.
    EXPECT_FALSE(PortHolders::find(terminal.path).holder);

    for (const QString& user : QStringList{QString(), QStringLiteral("65534")}) {
        if (!user.isEmpty() && (::geteuid() != 0 || QStandardPaths::findExecutable("setpriv").isEmpty()))
            continue; // switching users needs root and setpriv
        SCOPED_TRACE(user.isEmpty() ? "same user" : "another user");
        const auto other = holdWithSleep(terminal.path, user);
        ASSERT_TRUE(other);
        const Finding f = PortHolders::find(terminal.path);
        ASSERT_TRUE(f.holder);
        EXPECT_EQ(f.holder->pid, other->processId());
        EXPECT_EQ(f.holder->name, "sleep");

        // Nothing reaches the line: not a byte, not a lock file.
        AMSerialPort port(terminal.path, terminal.path, "IOModemSerialStream");
        EXPECT_FALSE(port.openExclusively());
        EXPECT_EQ(port.holders().holder->pid, other->processId());
        EXPECT_TRUE(QDir(locks.path()).isEmpty(QDir::Files | QDir::Hidden));
        other->kill();
        other->waitForFinished();
    }

    // Free again: the port opens, holds the lock while open, and lets it go at close.
    AMSerialPort port(terminal.path, terminal.path, "IOModemSerialStream");
    ASSERT_TRUE(port.openExclusively());
    const QString lock = locks.path() + "/" + PortHolders::lockName(terminal.path);
    EXPECT_TRUE(QFile::exists(lock));
    port.close();
    EXPECT_FALSE(QFile::exists(lock));
    qunsetenv("BULKSMS_LOCK_DIR");
}

TEST(ModemDiscovery, PermissionWordsNameTheDevicesOwnGroup) {
    Terminal terminal; // a terminal's node belongs to the "tty" group, not "dialout"
    ASSERT_FALSE(terminal.path.isEmpty());
    const QString group = ModemDiscovery::groupOf(terminal.path);
    ASSERT_FALSE(group.isEmpty());
    EXPECT_NE(group, "dialout");
    EXPECT_EQ(
        ModemDiscovery::noPermissionMessage({terminal.path}),
        QStringLiteral("\nYou have no permission to use the device %1. Add your user to the group \"%2\" "
                       "(sudo usermod -aG %2 $USER), log out and in again, then search again.")
            .arg(terminal.path, group));
    // A device whose group cannot be told is left to the usual serial group, named once.
    const QString both =
        ModemDiscovery::noPermissionMessage({terminal.path, "/dev/no-such", "/dev/no-such2"});
    EXPECT_TRUE(both.contains(QStringLiteral("the groups \"%1\", \"dialout\"").arg(group)))
        << both.toStdString();
    EXPECT_EQ(both.count("usermod"), 2);
}

} // namespace
