#include "PostgresCluster.h"
#include "core/ChildProcess.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

#include <pwd.h>
#include <unistd.h>

namespace {

// Debian's server binaries, the newest version there is.
QString serverBinaries() {
    const QDir versions(QStringLiteral("/usr/lib/postgresql"));
    QStringList found = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(found.begin(), found.end(),
              [](const QString& a, const QString& b) { return a.toInt() > b.toInt(); });
    for (const QString& version : found) {
        QString bin = versions.filePath(version + QStringLiteral("/bin"));
        if (QFile::exists(bin + QStringLiteral("/initdb")) && QFile::exists(bin + QStringLiteral("/pg_ctl")))
            return bin;
    }
    return {};
}

} // namespace

PostgresCluster* PostgresCluster::shared(QString* why) {
    static std::unique_ptr<PostgresCluster> cluster;
    static QString failure;
    static bool tried = false;
    if (!tried) {
        tried = true;
        std::unique_ptr<PostgresCluster> started(new PostgresCluster);
        if (started->start(&failure))
            cluster = std::move(started);
    }
    if (why)
        *why = failure;
    return cluster.get();
}

// Started with posix_spawn (never a fork of this threaded process, which a thread sanitizer
// cannot follow).
bool PostgresCluster::run(const QStringList& command, QString* output) const {
    QStringList arguments = command;
    QString program = arguments.takeFirst();
    if (::getuid() == 0) { // the server refuses to run as root
        const struct passwd* user = ::getpwnam(m_user.toLocal8Bit().constData());
        arguments = QStringList{QStringLiteral("--reuid=%1").arg(user->pw_uid),
                                QStringLiteral("--regid=%1").arg(user->pw_gid),
                                QStringLiteral("--clear-groups"), program} +
                    arguments;
        program = QStringLiteral("setpriv");
    }
    const ChildResult result = runChild(program, arguments);
    if (output)
        *output = result.started ? QString::fromLocal8Bit(result.output) : result.error;
    return result.started && result.exitCode == 0;
}

bool PostgresCluster::start(QString* why) {
    m_bin = serverBinaries();
    if (m_bin.isEmpty()) {
        *why = QStringLiteral("the PostgreSQL server binaries are absent (Debian package postgresql)");
        return false;
    }
    m_user =
        ::getuid() == 0 ? QStringLiteral("nobody") : QString::fromLocal8Bit(::getpwuid(::getuid())->pw_name);
    QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/bulksms-pg-XXXXXX"));
    folder.setAutoRemove(false);
    m_folder = folder.path();
    if (::getuid() == 0) {
        const struct passwd* user = ::getpwnam("nobody");
        if (!user || ::chown(QFile::encodeName(m_folder).constData(), user->pw_uid, user->pw_gid) != 0) {
            *why = QStringLiteral("cannot give %1 to the user nobody").arg(m_folder);
            return false;
        }
    }
    QString output;
    if (!run({m_bin + QStringLiteral("/initdb"), QStringLiteral("-D"), m_folder + QStringLiteral("/data"),
              QStringLiteral("-U"), QStringLiteral("bulksms"), QStringLiteral("--auth=trust"),
              QStringLiteral("-E"), QStringLiteral("UTF8"), QStringLiteral("--no-sync")},
             &output)) {
        *why = QStringLiteral("initdb failed: %1").arg(output);
        return false;
    }
    // Only the socket in the folder; durability is not what these tests measure.
    const QString options = QStringLiteral("-k %1 -c listen_addresses= -c fsync=off -c synchronous_commit=off"
                                           " -c max_connections=60")
                                .arg(m_folder);
    if (!run({m_bin + QStringLiteral("/pg_ctl"), QStringLiteral("-D"), m_folder + QStringLiteral("/data"),
              QStringLiteral("-l"), m_folder + QStringLiteral("/server.log"), QStringLiteral("-o"), options,
              QStringLiteral("-w"), QStringLiteral("start")},
             &output)) {
        *why = QStringLiteral("pg_ctl start failed: %1").arg(output);
        return false;
    }
    // A test program that is killed never stops its server: a watcher does, once it is gone.
    runChild(QStringLiteral("sh"),
             {QStringLiteral("-c"),
              QStringLiteral("(while kill -0 %1 2>/dev/null; do sleep 1; done; "
                             "kill -QUIT $(head -1 '%2/data/postmaster.pid' 2>/dev/null) 2>/dev/null; "
                             "sleep 2; rm -rf '%2') </dev/null >/dev/null 2>&1 &")
                  .arg(::getpid())
                  .arg(m_folder)});
    return true;
}

PostgresCluster::~PostgresCluster() {
    run({m_bin + QStringLiteral("/pg_ctl"), QStringLiteral("-D"), m_folder + QStringLiteral("/data"),
         QStringLiteral("-m"), QStringLiteral("immediate"), QStringLiteral("-w"), QStringLiteral("stop")});
    QDir(m_folder).removeRecursively();
}

QString PostgresCluster::newDatabase() {
    const QString name = QStringLiteral("test%1").arg(++m_databases);
    run({m_bin + QStringLiteral("/createdb"), QStringLiteral("-h"), m_folder, QStringLiteral("-U"),
         QStringLiteral("bulksms"), name});
    return QStringLiteral("postgresql://bulksms@/%1?host=%2").arg(name, m_folder);
}
