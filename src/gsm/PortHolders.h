#pragma once
// Who else has a serial port open, found before we open it ourselves: two programs talking AT
// on one line take each other's answers. Two witnesses: the descriptors of every process
// (/proc/<pid>/fd links that lead to the port's path or device number) and the UUCP lock
// files of the lock folder ("LCK..ttyUSB0", holding the owner's pid). The process at the other
// end of a pseudo-terminal (the one holding its master side) is the device, not a holder.
// Another user's descriptors cannot be read: there a running ModemManager, the usual taker of
// modem ports, is named as the likely holder. Everything read here is untrusted and only read.
#include <QByteArray>
#include <QList>
#include <QString>
#include <QtGlobal>

#include <optional>

#include <sys/types.h>

namespace PortHolders {

// Where the process table and the lock folder are; tests point them at fixtures.
struct Roots {
    QString proc = QStringLiteral("/proc");
    QString locks = QStringLiteral("/var/lock");
    // The pid whose own descriptors and locks are ours, never another's.
    qint64 self = 0;

    // The system's, with the lock folder of BULKSMS_LOCK_DIR when set, and this process.
    static Roots system();
};

struct Holder {
    qint64 pid = 0;
    QString name; // its command name (/proc/<pid>/comm); "" when unknown
};

struct Finding {
    std::optional<Holder> holder;  // seen holding the port, or owning a live lock on it
    std::optional<Holder> suspect; // not seen, but a ModemManager whose descriptors are hidden
};

// The processes' descriptors as read once: every port of one search is looked up in the same
// reading instead of walking the process table again for each (a bank has 64 ports or more).
struct Descriptor {
    QByteArray link;  // where it leads ("/dev/ttyUSB0", "/dev/ptmx")
    dev_t device = 0; // its device number, for a character device below /dev
    bool isDevice = false;
    int ptyIndex = -1; // the pseudo-terminal a master descriptor stands for
};
struct Process {
    qint64 pid = 0;
    bool hidden = false; // another user's: its descriptors cannot be read
    QList<Descriptor> descriptors;
};
struct Table {
    Roots roots;
    QList<Process> processes; // this process left out
};
Table readTable(const Roots& roots = Roots::system());

// Looks for the holders of the port at `path` (a device path, or a link to one).
Finding find(const QString& path, const Roots& roots = Roots::system());
// The same in a table read before (its lock folder is read now).
Finding find(const QString& path, const Table& table);

// A running ModemManager among the processes, if any: the first one found.
std::optional<Holder> modemManager(const Roots& roots = Roots::system());

// The UUCP lock file's name for a port: "LCK..ttyUSB0"; a port below /dev/pts becomes
// "LCK..pts_3" (a lock name holds no slash).
QString lockName(const QString& path);

// The owner's pid a lock file's content names: ten ASCII digits padded with spaces and a new
// line, or the older binary int; 0 when it names none.
qint64 lockOwner(const QByteArray& content);

// Whether the process lives (for a lock's owner): it has an entry in the process table.
bool alive(qint64 pid, const Roots& roots = Roots::system());

// "held by ModemManager, pid 812"; "held by another program (pid 812)" when its name is hidden;
// "held by another program, likely ModemManager, pid 812" for a suspect.
QString words(const Finding& finding);

// What to do about it, as one sentence: close the holder, or have ModemManager leave the modem.
QString advice(const Finding& finding);

} // namespace PortHolders
