#pragma once
// One entry of a zip archive read as it inflates, chunk by chunk, so a part of any size
// costs the memory of one chunk and never touches the disk. The caps of SSZipLimits apply
// to what is actually inflated, counted in the archive's tally. Nothing here throws: a
// refused, encrypted, damaged or over-budget entry makes read() give -1 and error() say why.
#include "SSZipArchive.h"
#include "ZipInflateBudget.h"

#include <QString>

#include <optional>

class ZipEntryStream {
public:
    // Opens entryName ("\\" in archive names read as "/"), held to limits; check isOpen()
    // and error().
    ZipEntryStream(const QString& archive, const QString& entryName, SSZipTally& tally,
                   const SSZipLimits& limits = {});
    ~ZipEntryStream();
    ZipEntryStream(const ZipEntryStream&) = delete;
    ZipEntryStream& operator=(const ZipEntryStream&) = delete;

    bool isOpen() const { return m_zip != nullptr && !m_failed; }
    // Up to size bytes; 0 at the end of the entry (its checksum verified), -1 on failure.
    int read(char* buffer, int size);
    bool failed() const { return m_failed; }
    const SSZipError& error() const { return m_error; }

    qint64 inflatedBytes() const { return m_inflated; }
    // What the archive declares the entry inflates to (a hint for progress only).
    qint64 declaredSize() const { return m_declaredSize; }

private:
    void fail(int code, const QString& description);

    void* m_zip = nullptr; // unzFile
    std::optional<ZipInflateBudget> m_budget;
    QString m_entryName;
    SSZipError m_error;
    bool m_failed = false;
    bool m_ended = false;
    qint64 m_inflated = 0;
    qint64 m_declaredSize = 0;
};
