#pragma once
// Zip access for workbooks: list an archive and inflate single entries (what the readers
// use, so only the parts read are ever inflated), unpack a whole archive into a folder, pack
// files and folders into a new archive, or make a new archive from a template archive with
// some entries generated on the fly (what the writer does). minizip does the format
// work; this class decides which entries are made, how names map onto folders, and what is
// reported.
//
// Archives come from strangers, so unpacking also refuses entries whose name is absolute
// or climbs out with "..", and stops once the bytes actually inflated pass a cap (see
// SSZipLimits). Nothing here throws; failures are logged and reported by the result.
#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

#include <unzip.h>
#include <zip.h>

// An error as callers and logs see it: a domain, a code and a description.
struct SSZipError {
    QString domain;
    int code = 0;
    QString description;
};

inline const QString kSSZipArchiveErrorDomain = QStringLiteral("SSZipArchiveErrorDomain");

// Caps on what one unpacking may inflate. The defaults leave room for workbooks of a million
// rows (a sheet part of several hundred megabytes) while stopping zip bombs early: a part
// that passes ratioCheckFromBytes must stay below maxRatio times its compressed size, and
// everything inflated from one archive, once past that floor, below maxTotalRatio times the
// archive's size (so many entries just under the floor cannot add up to a bomb either).
// The ratios only apply past the floor because small, repetitive parts (styles) easily
// compress a hundredfold.
struct SSZipLimits {
    qint64 maxEntryBytes = qint64(512) << 20;      // 512 MiB per entry
    qint64 maxTotalBytes = qint64(1024) << 20;     // 1 GiB per archive
    qint64 ratioCheckFromBytes = qint64(16) << 20; // 16 MiB
    qint64 maxRatio = 500;
    qint64 maxTotalRatio = 100;
};

// What has been inflated from one archive so far, across the extractions of its parts.
struct SSZipTally {
    qint64 inflated = 0;
};

// Adds the next bytes to an entry being packed; false when the archive cannot take them.
using SSZipEntrySink = std::function<bool(const char* data, qsizetype size)>;
// Content made while packing rather than read from a file: writes the whole entry through
// the sink and says whether all of it went in.
using SSZipEntryContent = std::function<bool(const SSZipEntrySink& sink)>;

class SSZipArchive {
public:
    // Error codes beyond "cannot open" (-1) and "no first entry" (-2).
    enum ErrorCode {
        OpenFailed = -1,
        NoFirstEntry = -2,
        UnsafeEntryName = -3,
        SizeLimitExceeded = -4,
        EntryReadFailed = -5,
        EntryMissing = -6,
        EntryEncrypted = -7,
        WriteFailed = -8,
    };

    // Unpacks every entry in archive order, held to limits. password may be empty. error may
    // be null.
    static bool unzipFileAtPath(const QString& path, const QString& toDestination, bool overwrite,
                                const QString& password, SSZipError* error, const SSZipLimits& limits = {});
    // The same with overwrite on, no password and no error report.
    static bool unzipFileAtPath(const QString& path, const QString& toDestination);

    // The archive's entry names in archive order ("\\" read as "/"); false (with the error)
    // when the archive cannot be opened or listed.
    static bool entryNamesAtPath(const QString& path, QStringList& names, SSZipError* error);

    // Inflates the one entry named entryName into the file toFile, with the caps of limits
    // applied to it and to tally (everything inflated from this archive so far). A refused,
    // encrypted, damaged or over-budget entry leaves no file and gives false with the error.
    static bool unzipEntryAtPath(const QString& path, const QString& entryName, const QString& toFile,
                                 SSZipTally& tally, SSZipError* error, const SSZipLimits& limits = {});

    // Creates (replaces) the archive at path from the given files and folders, each placed
    // at the root of the archive under its last path component.
    static bool createZipFileAtPath(const QString& path, const QStringList& withFilesAtPaths);
    // Creates (replaces) the archive at path with the entries of the archive at templatePath,
    // in byte-wise name order, copied as they are stored (never inflated); an entry named
    // in generated holds what its content writes instead, deflated at the fastest level
    // (added when the template has no such entry). These are the large parts, made on the
    // fly rather than written to a file and read back. True only when every entry and the
    // archive's directory were written; otherwise the incomplete archive is removed and error
    // (may be null) says why: WriteFailed with the system's words ("File too large") when
    // the archive could not be written.
    static bool createZipFileFromTemplate(const QString& path, const QString& templatePath,
                                          const QHash<QString, SSZipEntryContent>& generated,
                                          SSZipError* error = nullptr);

    // The archive-writer object underneath createZipFileAtPath.
    explicit SSZipArchive(const QString& path); // initWithPath:
    ~SSZipArchive();
    SSZipArchive(const SSZipArchive&) = delete;
    SSZipArchive& operator=(const SSZipArchive&) = delete;

    bool open();
    // Adds basePath/relativeName: a file becomes one entry, a folder its files (recursively),
    // an empty folder one entry named relativeName + "/".
    bool writeFile(const QString& relativeName, const QString& basePath);
    bool close();

    // Fills a minizip date record from a calendar date (month counted from 0).
    static void zipInfo(zip_fileinfo* info, const QDateTime& setDate);
    // 1 January 1980, 00:00:00 local time: the epoch of the DOS dates zip entries carry.
    static QDateTime _dateFor1980();

private:
    bool addFileEntry(const QString& entryName, const QString& fullPath);
    bool addEmptyFolderEntry(const QString& entryName);
    bool addGeneratedEntry(const QString& entryName, const SSZipEntryContent& content);
    bool copyStoredEntry(unzFile source, unz_file_pos at, const QByteArray& name);
    // Why the archive could not be written, in the system's words when it gave any.
    QString writeFailure() const;

    // minizip's file access with the first system error of writing kept.
    struct TracedIo;

    QString _path;
    zipFile _zip = nullptr;
    std::unique_ptr<TracedIo> m_io;
    bool m_closedCleanly = false; // the last close wrote the directory
};
