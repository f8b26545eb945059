#pragma once
// A throwaway PostgreSQL server for the tests of the shared store: a cluster made with Debian's
// initdb in a temporary folder, started with pg_ctl on a Unix socket there (no TCP port), run as
// an unprivileged user when the tests run as root, and stopped and removed at the end. One per
// test program, started on first use.
#include <QString>

#include <memory>

class PostgresCluster {
public:
    // The cluster of this test program, started on the first call; null (and why) when the
    // PostgreSQL binaries are absent or the server would not start.
    static PostgresCluster* shared(QString* why = nullptr);
    ~PostgresCluster();

    // A database of its own on the server, new at each call: "postgresql://…?host=<socket>".
    QString newDatabase();

private:
    PostgresCluster() = default;
    bool start(QString* why);
    bool run(const QStringList& command, QString* output = nullptr) const;

    QString m_folder; // the temporary folder: data/, the socket
    QString m_bin;    // where initdb and pg_ctl are
    QString m_user;   // the operating-system user the server runs as
    int m_databases = 0;
};
