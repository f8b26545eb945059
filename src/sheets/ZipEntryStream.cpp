#include "ZipEntryStream.h"

#include "core/Log.h"

#include <QFile>
#include <QFileInfo>

#include <unzip.h>

namespace {
unzFile handle(void* zip) { return static_cast<unzFile>(zip); }
} // namespace

ZipEntryStream::ZipEntryStream(const QString& archive, const QString& entryName, SSZipTally& tally,
                               const SSZipLimits& limits)
    : m_entryName(entryName) {
    unzFile zip = unzOpen(QFile::encodeName(archive).constData());
    if (!zip) {
        fail(SSZipArchive::OpenFailed, QStringLiteral("failed to open zip file"));
        return;
    }
    m_zip = zip;
    unz_file_info info{};
    bool found = false;
    for (int status = unzGoToFirstFile(zip); status == UNZ_OK && !found; status = unzGoToNextFile(zip)) {
        if (unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK)
            break;
        QByteArray name(int(info.size_filename) + 1, '\0');
        if (unzGetCurrentFileInfo(zip, &info, name.data(), uLong(name.size()), nullptr, 0, nullptr, 0) !=
            UNZ_OK)
            break;
        name.truncate(int(info.size_filename));
        found = QString::fromUtf8(name).replace(QLatin1Char('\\'), QLatin1Char('/')) == entryName;
        if (found)
            break;
    }
    if (!found) {
        fail(SSZipArchive::EntryMissing,
             QStringLiteral("no entry ") + entryName + QStringLiteral(" in zip file"));
        return;
    }
    if ((info.flag & 1) != 0) {
        fail(SSZipArchive::EntryEncrypted, QStringLiteral("zip entry is encrypted: ") + entryName);
        return;
    }
    if (unzOpenCurrentFile(zip) != UNZ_OK) {
        fail(SSZipArchive::EntryReadFailed, QStringLiteral("failed to read zip entry: ") + entryName);
        return;
    }
    m_declaredSize = qint64(info.uncompressed_size);
    m_budget.emplace(limits, tally, QFileInfo(archive).size());
    m_budget->startEntry(qint64(info.compressed_size));
}

ZipEntryStream::~ZipEntryStream() {
    if (!m_zip)
        return;
    if (m_budget && !m_ended)
        unzCloseCurrentFile(handle(m_zip));
    unzClose(handle(m_zip));
}

void ZipEntryStream::fail(int code, const QString& description) {
    m_failed = true;
    Show_NSLog_Message(QStringLiteral("%1 (%2)").arg(description).arg(code));
    m_error.domain = kSSZipArchiveErrorDomain;
    m_error.code = code;
    m_error.description = description;
}

int ZipEntryStream::read(char* buffer, int size) {
    if (m_failed || !m_zip || !m_budget)
        return -1;
    if (m_ended || size <= 0)
        return 0;
    const int got = unzReadCurrentFile(handle(m_zip), buffer, unsigned(size));
    if (got < 0) {
        fail(SSZipArchive::EntryReadFailed, QStringLiteral("failed to read zip entry: ") + m_entryName);
        return -1;
    }
    if (got == 0) {
        m_ended = true;
        // A damaged entry also shows as a checksum failure when it is closed.
        if (unzCloseCurrentFile(handle(m_zip)) != UNZ_OK) {
            fail(SSZipArchive::EntryReadFailed, QStringLiteral("zip entry is damaged: ") + m_entryName);
            return -1;
        }
        return 0;
    }
    if (!m_budget->add(got)) {
        fail(SSZipArchive::SizeLimitExceeded,
             QStringLiteral("zip entry inflates beyond the size limit: ") + m_entryName);
        return -1;
    }
    m_inflated += got;
    return got;
}
