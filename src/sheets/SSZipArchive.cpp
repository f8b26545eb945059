#include "SSZipArchive.h"

#include "ZipInflateBudget.h"
#include "core/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <unzip.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kUnzipChunk = 4096;
constexpr int kZipChunk = 16384;

void report(SSZipError* error, int code, const QString& description) {
    Show_NSLog_Message(QStringLiteral("%1 (%2)").arg(description).arg(code));
    if (!error)
        return;
    error->domain = kSSZipArchiveErrorDomain;
    error->code = code;
    error->description = description;
}

// An entry may only name a place inside the destination: no absolute path, no ".."
// component, no NUL that would cut the name short at the system call.
bool isSafeEntryName(const QString& name) {
    if (name.isEmpty() || name.startsWith(QLatin1Char('/')) || name.contains(QChar(0)))
        return false;
    const QStringList parts = name.split(QLatin1Char('/'));
    return std::none_of(parts.begin(), parts.end(),
                        [](const QString& p) { return p == QLatin1String(".."); });
}

bool pathExists(const QString& path) {
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0;
}

bool isRegularFolder(const QString& path) {
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

void setModificationTime(const QString& path, const tm_unz& date) {
    struct tm t {};
    t.tm_sec = int(date.tm_sec);
    t.tm_min = int(date.tm_min);
    t.tm_hour = int(date.tm_hour);
    t.tm_mday = int(date.tm_mday);
    t.tm_mon = int(date.tm_mon);
    t.tm_year = int(date.tm_year) - 1900;
    t.tm_isdst = -1;
    const time_t when = ::mktime(&t);
    if (when == time_t(-1))
        return;
    const struct timespec times[2] = {{when, 0}, {when, 0}};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

enum class CopyOutcome { Written, NotWritten, ReadFailed, OverBudget };

// Streams the open entry into target. The target is never followed through a symbolic link.
CopyOutcome copyEntryTo(unzFile zip, const QString& target, ZipInflateBudget& budget) {
    const int fd = ::open(QFile::encodeName(target).constData(),
                          O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return CopyOutcome::NotWritten;
    char buffer[kUnzipChunk];
    CopyOutcome outcome = CopyOutcome::Written;
    for (;;) {
        const int got = unzReadCurrentFile(zip, buffer, kUnzipChunk);
        if (got < 0) {
            outcome = CopyOutcome::ReadFailed;
            break;
        }
        if (got < 1)
            break;
        if (!budget.add(got)) {
            outcome = CopyOutcome::OverBudget;
            break;
        }
        if (::write(fd, buffer, size_t(got)) != got) {
            outcome = CopyOutcome::NotWritten;
            break;
        }
    }
    ::close(fd);
    if (outcome == CopyOutcome::ReadFailed || outcome == CopyOutcome::OverBudget)
        ::unlink(QFile::encodeName(target).constData());
    return outcome;
}

bool writeToEntry(zipFile zip, const char* data, size_t size) {
    while (size > 0) { // minizip takes an unsigned count per call
        const auto chunk = unsigned(std::min<size_t>(size, size_t(1) << 30));
        if (zipWriteInFileInZip(zip, data, chunk) != ZIP_OK)
            return false;
        data += chunk;
        size -= chunk;
    }
    return true;
}

QString systemError(int code) { return QString::fromLocal8Bit(std::strerror(code)); }

QString currentEntryName(unzFile zip, unz_file_info& info, bool& ok) {
    ok = unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK;
    if (!ok)
        return {};
    QByteArray name(int(info.size_filename) + 1, '\0');
    ok = unzGetCurrentFileInfo(zip, &info, name.data(), uLong(name.size()), nullptr, 0, nullptr, 0) == UNZ_OK;
    name.truncate(int(info.size_filename));
    return QString::fromUtf8(name);
}

} // namespace

// minizip's own stdio access, with the first error of the system kept: stdio buffers, so a
// full disk may show at a later write, a seek or the close, and minizip keeps no errno.
struct SSZipArchive::TracedIo {
    zlib_filefunc64_def inner{};
    zlib_filefunc64_def traced{};
    int error = 0;

    static TracedIo& of(voidpf opaque) { return *static_cast<TracedIo*>(opaque); }
    void keep() {
        if (error == 0)
            error = errno != 0 ? errno : EIO;
    }
    static voidpf ZCALLBACK open(voidpf opaque, const void* name, int mode) {
        TracedIo& io = of(opaque);
        errno = 0;
        // A new archive holds the operator's data: private to the user from its first byte
        // (fopen would give what the umask leaves of 0666).
        voidpf stream = (mode & ZLIB_FILEFUNC_MODE_CREATE) != 0
                            ? createPrivate(static_cast<const char*>(name))
                            : io.inner.zopen64_file(io.inner.opaque, name, mode);
        if (stream == nullptr)
            io.keep();
        return stream;
    }
    static FILE* createPrivate(const char* name) {
        const int fd = ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0)
            return nullptr;
        if (::fchmod(fd, 0600) == 0)
            if (FILE* file = ::fdopen(fd, "wb"))
                return file;
        const int error = errno;
        ::close(fd);
        errno = error;
        return nullptr;
    }
    static uLong ZCALLBACK read(voidpf opaque, voidpf stream, void* buffer, uLong size) {
        TracedIo& io = of(opaque);
        return io.inner.zread_file(io.inner.opaque, stream, buffer, size);
    }
    static uLong ZCALLBACK write(voidpf opaque, voidpf stream, const void* buffer, uLong size) {
        TracedIo& io = of(opaque);
        errno = 0;
        const uLong written = io.inner.zwrite_file(io.inner.opaque, stream, buffer, size);
        if (written != size)
            io.keep();
        return written;
    }
    static ZPOS64_T ZCALLBACK tell(voidpf opaque, voidpf stream) {
        TracedIo& io = of(opaque);
        return io.inner.ztell64_file(io.inner.opaque, stream);
    }
    static long ZCALLBACK seek(voidpf opaque, voidpf stream, ZPOS64_T offset, int origin) {
        TracedIo& io = of(opaque);
        errno = 0;
        const long result = io.inner.zseek64_file(io.inner.opaque, stream, offset, origin);
        if (result != 0)
            io.keep();
        return result;
    }
    static int ZCALLBACK close(voidpf opaque, voidpf stream) {
        TracedIo& io = of(opaque);
        errno = 0;
        const int result = io.inner.zclose_file(io.inner.opaque, stream);
        if (result != 0)
            io.keep();
        return result;
    }
    static int ZCALLBACK testError(voidpf opaque, voidpf stream) {
        TracedIo& io = of(opaque);
        return io.inner.zerror_file(io.inner.opaque, stream);
    }

    TracedIo() {
        fill_fopen64_filefunc(&inner);
        traced = {open, read, write, tell, seek, close, testError, this};
    }
};

bool SSZipArchive::unzipFileAtPath(const QString& path, const QString& toDestination) {
    return unzipFileAtPath(path, toDestination, true, QString(), nullptr);
}

bool SSZipArchive::unzipFileAtPath(const QString& path, const QString& toDestination, bool overwrite,
                                   const QString& password, SSZipError* error, const SSZipLimits& limits) {
    unzFile zip = unzOpen(QFile::encodeName(path).constData());
    if (!zip) {
        report(error, OpenFailed, QStringLiteral("failed to open zip file"));
        return false;
    }
    unz_global_info globalInfo;
    unzGetGlobalInfo(zip, &globalInfo);
    if (unzGoToFirstFile(zip) != UNZ_OK) {
        report(error, NoFirstEntry, QStringLiteral("failed to open first file in zip file"));
        unzClose(zip);
        return false;
    }

    SSZipTally tally;
    ZipInflateBudget budget(limits, tally, QFileInfo(path).size());
    const QByteArray passwordBytes = password.toLatin1();
    bool success = true;
    do {
        unz_file_info info;
        bool infoOk = false;
        QString name = currentEntryName(zip, info, infoOk);
        if (!infoOk) {
            success = false;
            break;
        }
        // Without a password an encrypted entry would inflate garbage: treat it as unopenable.
        // (Distribution builds of minizip also refuse every password, so such entries never open.)
        const bool encrypted = (info.flag & 1) != 0;
        const int opened = !password.isEmpty() ? unzOpenCurrentFilePassword(zip, passwordBytes.constData())
                           : encrypted         ? UNZ_PARAMERROR
                                               : unzOpenCurrentFile(zip);
        if (opened != UNZ_OK) {
            success = false;
            break;
        }

        const bool isFolder = name.endsWith(QLatin1Char('/')) || name.endsWith(QLatin1Char('\\'));
        name.replace(QLatin1Char('\\'), QLatin1Char('/'));
        if (!isSafeEntryName(name)) {
            report(error, UnsafeEntryName,
                   QStringLiteral("refused zip entry outside the destination: ") + name);
            unzCloseCurrentFile(zip);
            success = false;
            break;
        }

        const QString target = toDestination + QLatin1Char('/') + name;
        QDir().mkpath(isFolder ? target : QFileInfo(target).path());

        if (!pathExists(target) || isFolder || overwrite) {
            budget.startEntry(qint64(info.compressed_size));
            const CopyOutcome outcome = isFolder && isRegularFolder(target)
                                            ? CopyOutcome::NotWritten
                                            : copyEntryTo(zip, target, budget);
            if (outcome == CopyOutcome::OverBudget) {
                report(error, SizeLimitExceeded,
                       QStringLiteral("zip entry inflates beyond the size limit: ") + name);
                success = false;
            } else if (outcome == CopyOutcome::ReadFailed) {
                report(error, EntryReadFailed, QStringLiteral("failed to read zip entry: ") + name);
                success = false;
            } else if (outcome == CopyOutcome::Written && info.dosDate != 0) {
                setModificationTime(target, info.tmu_date);
            }
        }
        unzCloseCurrentFile(zip);
        if (!success)
            break;
    } while (unzGoToNextFile(zip) == UNZ_OK);

    unzClose(zip);
    return success;
}

bool SSZipArchive::entryNamesAtPath(const QString& path, QStringList& names, SSZipError* error) {
    names.clear();
    unzFile zip = unzOpen(QFile::encodeName(path).constData());
    if (!zip) {
        report(error, OpenFailed, QStringLiteral("failed to open zip file"));
        return false;
    }
    int status = unzGoToFirstFile(zip);
    if (status != UNZ_OK) {
        report(error, NoFirstEntry, QStringLiteral("failed to open first file in zip file"));
        unzClose(zip);
        return false;
    }
    bool ok = true;
    for (; status == UNZ_OK; status = unzGoToNextFile(zip)) {
        unz_file_info info;
        QString name = currentEntryName(zip, info, ok);
        if (!ok)
            break;
        names.append(name.replace(QLatin1Char('\\'), QLatin1Char('/')));
    }
    unzClose(zip);
    if (!ok || status != UNZ_END_OF_LIST_OF_FILE) {
        report(error, EntryReadFailed, QStringLiteral("failed to list the entries of the zip file"));
        return false;
    }
    return true;
}

bool SSZipArchive::unzipEntryAtPath(const QString& path, const QString& entryName, const QString& toFile,
                                    SSZipTally& tally, SSZipError* error, const SSZipLimits& limits) {
    unzFile zip = unzOpen(QFile::encodeName(path).constData());
    if (!zip) {
        report(error, OpenFailed, QStringLiteral("failed to open zip file"));
        return false;
    }
    bool found = false;
    unz_file_info info;
    for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
        bool ok = false;
        QString name = currentEntryName(zip, info, ok);
        found = ok && name.replace(QLatin1Char('\\'), QLatin1Char('/')) == entryName;
        if (found)
            break;
    }
    if (!found) {
        report(error, EntryMissing, QStringLiteral("no entry ") + entryName + QStringLiteral(" in zip file"));
        unzClose(zip);
        return false;
    }
    if ((info.flag & 1) != 0) {
        report(error, EntryEncrypted, QStringLiteral("zip entry is encrypted: ") + entryName);
        unzClose(zip);
        return false;
    }
    if (unzOpenCurrentFile(zip) != UNZ_OK) {
        report(error, EntryReadFailed, QStringLiteral("failed to read zip entry: ") + entryName);
        unzClose(zip);
        return false;
    }
    QDir().mkpath(QFileInfo(toFile).path());
    ZipInflateBudget budget(limits, tally, QFileInfo(path).size());
    budget.startEntry(qint64(info.compressed_size));
    const CopyOutcome outcome = copyEntryTo(zip, toFile, budget);
    // A damaged entry also shows as a checksum failure when it is closed.
    const bool crcOk = unzCloseCurrentFile(zip) == UNZ_OK;
    unzClose(zip);
    switch (outcome) {
    case CopyOutcome::Written:
        if (crcOk)
            return true;
        ::unlink(QFile::encodeName(toFile).constData());
        report(error, EntryReadFailed, QStringLiteral("zip entry is damaged: ") + entryName);
        return false;
    case CopyOutcome::OverBudget:
        report(error, SizeLimitExceeded,
               QStringLiteral("zip entry inflates beyond the size limit: ") + entryName);
        return false;
    case CopyOutcome::ReadFailed:
        report(error, EntryReadFailed, QStringLiteral("failed to read zip entry: ") + entryName);
        return false;
    case CopyOutcome::NotWritten: break;
    }
    report(error, EntryReadFailed, QStringLiteral("failed to write zip entry to ") + toFile);
    return false;
}

bool SSZipArchive::createZipFileAtPath(const QString& path, const QStringList& withFilesAtPaths) {
    SSZipArchive archive(path);
    if (!archive.open())
        return false;
    for (QString item : withFilesAtPaths) {
        if (item.endsWith(QLatin1Char('/')))
            item.chop(1);
        const int slash = item.lastIndexOf(QLatin1Char('/'));
        const QString base = slash < 0 ? QString() : item.left(slash);
        archive.writeFile(item.mid(slash + 1), base.isEmpty() && slash == 0 ? QStringLiteral("/") : base);
    }
    return archive.close();
}

bool SSZipArchive::createZipFileFromTemplate(const QString& path, const QString& templatePath,
                                             const QHash<QString, SSZipEntryContent>& generated,
                                             SSZipError* error) {
    unzFile source = unzOpen(QFile::encodeName(templatePath).constData());
    if (!source) {
        report(error, OpenFailed, QStringLiteral("failed to open zip file ") + templatePath);
        return false;
    }
    // Entry name (UTF-8, so the map's order is byte-wise) -> where the template stores it,
    // or none for a generated entry.
    QMap<QByteArray, std::optional<unz_file_pos>> entries;
    int status = unzGoToFirstFile(source);
    for (; status == UNZ_OK; status = unzGoToNextFile(source)) {
        unz_file_info info;
        bool ok = false;
        QString name = currentEntryName(source, info, ok);
        unz_file_pos at;
        if (!ok || (info.flag & 1) != 0 || unzGetFilePos(source, &at) != UNZ_OK)
            break;
        entries.insert(name.replace(QLatin1Char('\\'), QLatin1Char('/')).toUtf8(), at);
    }
    if (status != UNZ_OK && status != UNZ_END_OF_LIST_OF_FILE) {
        report(error, EntryReadFailed,
               QStringLiteral("failed to list the entries of the zip file ") + templatePath);
        unzClose(source);
        return false;
    }
    if (status == UNZ_OK) { // stopped at an entry that cannot be copied
        report(error, EntryReadFailed, QStringLiteral("failed to read zip entry of ") + templatePath);
        unzClose(source);
        return false;
    }
    for (auto it = generated.cbegin(); it != generated.cend(); ++it)
        entries.insert(it.key().toUtf8(), std::nullopt);
    // A folder entry only stands for an empty folder, as when a folder tree is packed.
    for (auto it = entries.begin(); it != entries.end();) {
        const auto next = std::next(it);
        if (it.key().endsWith('/') && next != entries.end() && next.key().startsWith(it.key()))
            it = entries.erase(it);
        else
            it = next;
    }

    SSZipArchive archive(path);
    if (!archive.open()) {
        unzClose(source);
        report(error, WriteFailed, archive.writeFailure());
        return false;
    }
    bool ok = true;
    for (auto it = entries.cbegin(); ok && it != entries.cend(); ++it) {
        const QString name = QString::fromUtf8(it.key());
        if (!it.value())
            ok = archive.addGeneratedEntry(name, generated.value(name));
        else if (it.key().endsWith('/'))
            ok = archive.addEmptyFolderEntry(name);
        else
            ok = archive.copyStoredEntry(source, *it.value(), it.key());
    }
    unzClose(source);
    archive.close();
    if (ok && archive.m_closedCleanly)
        return true;
    Show_NSLog_Message(QStringLiteral("Error: the archive %1 could not be written completely").arg(path));
    report(error, WriteFailed, archive.writeFailure());
    struct stat st;
    if (::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISREG(st.st_mode))
        ::unlink(QFile::encodeName(path).constData()); // never a device or what a link points to
    return false;
}

SSZipArchive::SSZipArchive(const QString& path) : _path(path) {}

SSZipArchive::~SSZipArchive() {
    if (_zip)
        zipClose(_zip, nullptr);
}

bool SSZipArchive::open() {
    if (_zip) {
        Show_NSLog_Message(QStringLiteral("Attempting open an archive which is already open"));
        return false;
    }
    m_io = std::make_unique<TracedIo>();
    const QByteArray native = QFile::encodeName(_path);
    _zip = zipOpen2_64(native.constData(), APPEND_STATUS_CREATE, nullptr, &m_io->traced);
    return _zip != nullptr;
}

QString SSZipArchive::writeFailure() const {
    return m_io && m_io->error != 0 ? systemError(m_io->error) : QStringLiteral("not written completely");
}

bool SSZipArchive::writeFile(const QString& relativeName, const QString& basePath) {
    if (!_zip) {
        Show_NSLog_Message(QStringLiteral("Attempting to write to an archive which was never opened"));
        return false;
    }
    const QString fullPath = basePath.isEmpty() ? relativeName : basePath + QLatin1Char('/') + relativeName;
    const QFileInfo info(fullPath);
    if (!info.isDir() || info.isSymLink())
        return addFileEntry(relativeName, fullPath);

    // Byte-wise name order, so packing the same tree twice gives the same archive.
    QStringList children = QDir(fullPath).entryList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Unsorted);
    std::sort(children.begin(), children.end(),
              [](const QString& a, const QString& b) { return a.toUtf8() < b.toUtf8(); });
    if (children.isEmpty())
        return addEmptyFolderEntry(relativeName + QLatin1Char('/'));
    for (const QString& child : children) {
        if (!writeFile(relativeName + QLatin1Char('/') + child, basePath))
            return false;
    }
    return true;
}

bool SSZipArchive::close() {
    if (!_zip) {
        Show_NSLog_Message(QStringLiteral("Attempting to close an archive which was never opened"));
        return true;
    }
    m_closedCleanly = zipClose(_zip, nullptr) == ZIP_OK && m_io->error == 0;
    _zip = nullptr;
    return true;
}

bool SSZipArchive::addEmptyFolderEntry(const QString& entryName) {
    const QByteArray name = entryName.toUtf8();
    if (zipOpenNewFileInZip(_zip, name.constData(), nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                            Z_DEFAULT_COMPRESSION) != ZIP_OK)
        return false;
    return zipCloseFileInZip(_zip) == ZIP_OK;
}

bool SSZipArchive::addFileEntry(const QString& entryName, const QString& fullPath) {
    QFile file(fullPath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray name = entryName.toUtf8();
    if (zipOpenNewFileInZip(_zip, name.constData(), nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                            Z_DEFAULT_COMPRESSION) != ZIP_OK)
        return false;
    bool ok = true;
    char buffer[kZipChunk];
    for (;;) {
        const qint64 got = file.read(buffer, kZipChunk);
        if (got < 0) {
            ok = false;
            break;
        }
        if (got == 0)
            break;
        if (zipWriteInFileInZip(_zip, buffer, unsigned(got)) != ZIP_OK) {
            ok = false;
            break;
        }
    }
    return zipCloseFileInZip(_zip) == ZIP_OK && ok;
}

bool SSZipArchive::copyStoredEntry(unzFile source, unz_file_pos at, const QByteArray& name) {
    unz_file_info info;
    int method = 0, level = 0;
    if (unzGoToFilePos(source, &at) != UNZ_OK ||
        unzGetCurrentFileInfo(source, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK ||
        unzOpenCurrentFile2(source, &method, &level, 1) != UNZ_OK)
        return false;
    // Raw: the stored bytes move over as they are, never inflated.
    bool ok = zipOpenNewFileInZip2(_zip, name.constData(), nullptr, nullptr, 0, nullptr, 0, nullptr, method,
                                   level, 1) == ZIP_OK;
    if (ok) {
        char buffer[kZipChunk];
        for (;;) {
            const int got = unzReadCurrentFile(source, buffer, kZipChunk);
            if (got <= 0) {
                ok = got == 0;
                break;
            }
            if (zipWriteInFileInZip(_zip, buffer, unsigned(got)) != ZIP_OK) {
                ok = false;
                break;
            }
        }
        ok = zipCloseFileInZipRaw(_zip, info.uncompressed_size, info.crc) == ZIP_OK && ok;
    }
    unzCloseCurrentFile(source);
    return ok;
}

bool SSZipArchive::addGeneratedEntry(const QString& entryName, const SSZipEntryContent& content) {
    const QByteArray name = entryName.toUtf8();
    if (zipOpenNewFileInZip(_zip, name.constData(), nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                            Z_BEST_SPEED) != ZIP_OK)
        return false;
    zipFile zip = _zip;
    const bool made =
        content([zip](const char* data, qsizetype size) { return writeToEntry(zip, data, size_t(size)); });
    return zipCloseFileInZip(_zip) == ZIP_OK && made;
}

void SSZipArchive::zipInfo(zip_fileinfo* info, const QDateTime& setDate) {
    if (!info)
        return;
    const QDateTime local = setDate.toLocalTime();
    info->tmz_date.tm_sec = uInt(local.time().second());
    info->tmz_date.tm_min = uInt(local.time().minute());
    info->tmz_date.tm_hour = uInt(local.time().hour());
    info->tmz_date.tm_mday = uInt(local.date().day());
    info->tmz_date.tm_mon = uInt(local.date().month() - 1);
    info->tmz_date.tm_year = uInt(local.date().year());
}

QDateTime SSZipArchive::_dateFor1980() { return QDateTime(QDate(1980, 1, 1), QTime(0, 0, 0), Qt::LocalTime); }
