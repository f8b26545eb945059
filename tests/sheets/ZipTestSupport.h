#pragma once
// Builds zip archives entry by entry (any name, any bytes, optional date or password) and
// lists what an archive holds, so tests can craft the archives a stranger might send.
#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <vector>

struct ZipEntrySpec {
    QString name;
    QByteArray data;
    QDateTime date = {};   // invalid: no date (DOS date zero)
    QString password = {}; // non-empty: encrypted entry
    qint64 repeatData = 1; // the data is written this many times (cheap large entries)
};

bool buildZip(const QString& path, const std::vector<ZipEntrySpec>& entries);

// Entry names in archive order; empty when the archive cannot be read.
QStringList zipEntryNames(const QString& path);
// The bytes of one entry; "<missing>" when absent.
QByteArray zipEntryData(const QString& path, const QString& name);

QByteArray readFileBytes(const QString& path);
bool writeFileBytes(const QString& path, const QByteArray& bytes);
