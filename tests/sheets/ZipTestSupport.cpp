#include "ZipTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unzip.h>
#include <zip.h>
#include <zlib.h>

bool buildZip(const QString& path, const std::vector<ZipEntrySpec>& entries) {
    zipFile zip = zipOpen(QFile::encodeName(path).constData(), APPEND_STATUS_CREATE);
    if (!zip)
        return false;
    bool ok = true;
    for (const ZipEntrySpec& e : entries) {
        zip_fileinfo info{};
        if (e.date.isValid()) {
            const QDateTime d = e.date.toLocalTime();
            info.tmz_date = {uInt(d.time().second()), uInt(d.time().minute()),    uInt(d.time().hour()),
                             uInt(d.date().day()),    uInt(d.date().month() - 1), uInt(d.date().year())};
        }
        const QByteArray name = e.name.toUtf8();
        const QByteArray password = e.password.toLatin1();
        uLong crc = crc32(0, nullptr, 0);
        for (qint64 i = 0; i < e.repeatData; ++i)
            crc = crc32(crc, reinterpret_cast<const Bytef*>(e.data.constData()), uInt(e.data.size()));
        ok = ok && zipOpenNewFileInZip3(zip, name.constData(), e.date.isValid() ? &info : nullptr, nullptr, 0,
                                        nullptr, 0, nullptr, Z_DEFLATED, Z_BEST_COMPRESSION, 0, -MAX_WBITS,
                                        DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY,
                                        e.password.isEmpty() ? nullptr : password.constData(), crc) == ZIP_OK;
        for (qint64 i = 0; ok && i < e.repeatData; ++i)
            ok = zipWriteInFileInZip(zip, e.data.constData(), unsigned(e.data.size())) == ZIP_OK;
        ok = zipCloseFileInZip(zip) == ZIP_OK && ok;
    }
    return zipClose(zip, nullptr) == ZIP_OK && ok;
}

QStringList zipEntryNames(const QString& path) {
    QStringList names;
    unzFile zip = unzOpen(QFile::encodeName(path).constData());
    if (!zip)
        return names;
    for (int r = unzGoToFirstFile(zip); r == UNZ_OK; r = unzGoToNextFile(zip)) {
        char name[1024];
        unz_file_info info;
        if (unzGetCurrentFileInfo(zip, &info, name, sizeof name, nullptr, 0, nullptr, 0) == UNZ_OK)
            names << QString::fromUtf8(name);
    }
    unzClose(zip);
    return names;
}

QByteArray zipEntryData(const QString& path, const QString& name) {
    QByteArray data("<missing>");
    unzFile zip = unzOpen(QFile::encodeName(path).constData());
    if (!zip)
        return data;
    if (unzLocateFile(zip, name.toUtf8().constData(), 1) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
        data.clear();
        char buffer[4096];
        int got;
        while ((got = unzReadCurrentFile(zip, buffer, sizeof buffer)) > 0)
            data.append(buffer, got);
        unzCloseCurrentFile(zip);
    }
    unzClose(zip);
    return data;
}

QByteArray readFileBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

bool writeFileBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}
