#include "sheets/SSZipArchive.h"

#include "ZipTestSupport.h"
#include "core/Log.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <unzip.h>

#include <sys/stat.h>

namespace {

QStringList filesUnder(const QString& root) {
    QStringList found;
    const QDir base(root);
    QDir dir(root);
    const auto walk = [&](auto&& self, const QString& path) -> void {
        const QFileInfoList items =
            QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo& item : items) {
            found << base.relativeFilePath(item.filePath()) + (item.isDir() ? "/" : "");
            if (item.isDir())
                self(self, item.filePath());
        }
    };
    walk(walk, root);
    return found;
}

TEST(SSZipArchivePacking, EntriesMirrorTheTreeRelativeToEachItemsParent) {
    QTemporaryDir dir;
    const QString src = dir.path() + "/src";
    writeFileBytes(src + "/one/a.txt", "A");
    writeFileBytes(src + "/one/sub/b.txt", "B");
    QDir().mkpath(src + "/one/empty");
    writeFileBytes(src + "/two/c.txt", "C");
    writeFileBytes(src + "/top.txt", "T");
    const QString zip = dir.path() + "/out.zip";

    ASSERT_TRUE(SSZipArchive::createZipFileAtPath(zip, {src + "/one/", src + "/two", src + "/top.txt"}));

    // A non-empty folder has no entry of its own; an empty one is "name/" without data.
    EXPECT_EQ(zipEntryNames(zip),
              (QStringList{"one/a.txt", "one/empty/", "one/sub/b.txt", "two/c.txt", "top.txt"}));
    EXPECT_EQ(zipEntryData(zip, "one/empty/"), QByteArray());
    EXPECT_EQ(zipEntryData(zip, "one/sub/b.txt"), "B");
}

TEST(SSZipArchivePacking, RoundTripKeepsBytesAndPackingTwiceGivesTheSameArchive) {
    QTemporaryDir dir;
    QByteArray binary;
    for (int i = 0; i < 70000; ++i)
        binary.append(char(i * 7 % 251));
    writeFileBytes(dir.path() + "/tree/bin.dat", binary);
    writeFileBytes(dir.path() + "/tree/z/y.txt", "text\n");
    const QString first = dir.path() + "/1.zip", second = dir.path() + "/2.zip";
    ASSERT_TRUE(SSZipArchive::createZipFileAtPath(first, {dir.path() + "/tree"}));
    ASSERT_TRUE(SSZipArchive::createZipFileAtPath(second, {dir.path() + "/tree"}));
    EXPECT_EQ(readFileBytes(first), readFileBytes(second));

    ASSERT_TRUE(SSZipArchive::unzipFileAtPath(first, dir.path() + "/out"));
    EXPECT_EQ(readFileBytes(dir.path() + "/out/tree/bin.dat"), binary);
    EXPECT_EQ(readFileBytes(dir.path() + "/out/tree/z/y.txt"), "text\n");
}

// Archives and what comes out of them hold the operator's data: private to the user whatever
// the umask, a replaced archive included.
TEST(SSZipArchivePacking, ArchivesAndUnpackedFilesArePrivateToTheUser) {
    QTemporaryDir dir;
    writeFileBytes(dir.path() + "/tree/a.txt", "A");
    const QString zip = dir.path() + "/out.zip";
    writeFileBytes(zip, "old");
    ASSERT_EQ(::chmod(QFile::encodeName(zip).constData(), 0666), 0);
    const mode_t before = ::umask(0);
    const bool packed = SSZipArchive::createZipFileAtPath(zip, {dir.path() + "/tree"});
    const bool unpacked = packed && SSZipArchive::unzipFileAtPath(zip, dir.path() + "/out");
    ::umask(before);
    ASSERT_TRUE(packed && unpacked);
    for (const QString& file : {zip, dir.path() + "/out/tree/a.txt"}) {
        struct stat st {};
        ASSERT_EQ(::stat(QFile::encodeName(file).constData(), &st), 0) << file.toStdString();
        EXPECT_EQ(st.st_mode & 07777, 0600u) << file.toStdString();
    }
}

TEST(SSZipArchivePacking, UnwritableArchiveOrMissingInputs) {
    QTemporaryDir dir;
    EXPECT_FALSE(SSZipArchive::createZipFileAtPath(dir.path() + "/no/such/folder/x.zip", {dir.path()}));
    // A missing input is skipped; the archive is still made.
    EXPECT_TRUE(SSZipArchive::createZipFileAtPath(dir.path() + "/x.zip", {dir.path() + "/missing"}));
    EXPECT_TRUE(zipEntryNames(dir.path() + "/x.zip").isEmpty());
}

TEST(SSZipArchiveWriter, PreconditionsAreLoggedAndRefused) {
    QTemporaryDir dir;
    LogCapture log;
    SSZipArchive never(dir.path() + "/a.zip");
    EXPECT_FALSE(never.writeFile("x", dir.path()));
    EXPECT_TRUE(never.close());
    SSZipArchive twice(dir.path() + "/b.zip");
    ASSERT_TRUE(twice.open());
    EXPECT_FALSE(twice.open());
    EXPECT_TRUE(twice.close());
    for (const char* text : {"Attempting to write to an archive which was never opened",
                             "Attempting to close an archive which was never opened",
                             "Attempting open an archive which is already open"})
        EXPECT_TRUE(log.contains(text)) << text;
}

TEST(SSZipArchiveWriter, ZipInfoFillsTheDosDateFields) {
    zip_fileinfo info{};
    SSZipArchive::zipInfo(&info, QDateTime(QDate(2021, 3, 9), QTime(14, 5, 59), Qt::LocalTime));
    EXPECT_EQ(info.tmz_date.tm_year, 2021u);
    EXPECT_EQ(info.tmz_date.tm_mon, 2u); // counted from 0
    EXPECT_EQ(info.tmz_date.tm_mday, 9u);
    EXPECT_EQ(info.tmz_date.tm_hour, 14u);
    EXPECT_EQ(info.tmz_date.tm_min, 5u);
    EXPECT_EQ(info.tmz_date.tm_sec, 59u);
    EXPECT_EQ(SSZipArchive::_dateFor1980().date(), QDate(1980, 1, 1));
    EXPECT_EQ(SSZipArchive::_dateFor1980().time(), QTime(0, 0));
}

TEST(SSZipArchiveUnpacking, BackslashNamesNestLikeSlashNames) {
    QTemporaryDir dir;
    const QString slash = dir.path() + "/s.zip", back = dir.path() + "/b.zip";
    ASSERT_TRUE(buildZip(slash, {{"xl/", ""}, {"xl/worksheets/sheet1.xml", "S"}, {"a/b/c.txt", "C"}}));
    ASSERT_TRUE(buildZip(back, {{"xl\\", ""}, {"xl\\worksheets\\sheet1.xml", "S"}, {"a\\b\\c.txt", "C"}}));
    ASSERT_TRUE(SSZipArchive::unzipFileAtPath(slash, dir.path() + "/s"));
    ASSERT_TRUE(SSZipArchive::unzipFileAtPath(back, dir.path() + "/b"));
    EXPECT_EQ(filesUnder(dir.path() + "/s"), filesUnder(dir.path() + "/b"));
    EXPECT_EQ(readFileBytes(dir.path() + "/b/xl/worksheets/sheet1.xml"), "S");
}

TEST(SSZipArchiveUnpacking, OverwriteFlagDecidesWhetherExistingFilesChange) {
    struct Case {
        bool overwrite;
        QByteArray expected;
    };
    for (const Case& c : {Case{true, "new"}, Case{false, "old"}}) {
        QTemporaryDir dir;
        const QString zip = dir.path() + "/x.zip";
        ASSERT_TRUE(buildZip(zip, {{"f.txt", "new"}, {"g.txt", "G"}}));
        writeFileBytes(dir.path() + "/out/f.txt", "old");
        EXPECT_TRUE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/out", c.overwrite, {}, nullptr));
        EXPECT_EQ(readFileBytes(dir.path() + "/out/f.txt"), c.expected) << c.overwrite;
        EXPECT_EQ(readFileBytes(dir.path() + "/out/g.txt"), "G"); // a new file is always written
    }
}

TEST(SSZipArchiveUnpacking, EntryDateBecomesModificationTimeWhenSet) {
    QTemporaryDir dir;
    const QDateTime when(QDate(2019, 7, 14), QTime(9, 30, 20), Qt::LocalTime);
    ASSERT_TRUE(buildZip(dir.path() + "/x.zip", {{"dated.txt", "d", when}, {"plain.txt", "p"}}));
    ASSERT_TRUE(SSZipArchive::unzipFileAtPath(dir.path() + "/x.zip", dir.path() + "/out"));
    EXPECT_EQ(QFileInfo(dir.path() + "/out/dated.txt").lastModified(), when);
    EXPECT_GT(QFileInfo(dir.path() + "/out/plain.txt").lastModified().date().year(), 2020);
}

// The system's minizip is built without decryption, so a protected entry never opens:
// without a password as the format requires, and with one because nothing can decrypt it.
TEST(SSZipArchiveUnpacking, PasswordProtectedEntryStopsTheWalk) {
    QTemporaryDir dir;
    const QString zip = dir.path() + "/x.zip";
    ASSERT_TRUE(buildZip(zip, {{"open.txt", "O"}, {"secret.txt", "S", {}, "pw"}, {"after.txt", "A"}}));

    // No password: the walk stops at the protected entry; what came before stays.
    EXPECT_FALSE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/none", true, {}, nullptr));
    EXPECT_EQ(readFileBytes(dir.path() + "/none/open.txt"), "O");
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/none/after.txt"));

    EXPECT_FALSE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/with", true, "pw", nullptr));
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/with/secret.txt"));
}

TEST(SSZipArchiveUnpacking, UnreadableArchivesReportCodeAndText) {
    QTemporaryDir dir;
    // A directory whose first header is damaged: the archive opens, its first entry does not.
    ASSERT_TRUE(buildZip(dir.path() + "/x.zip", {{"a.txt", "A"}}));
    QByteArray headless = readFileBytes(dir.path() + "/x.zip");
    headless.replace(QByteArray("PK\x01\x02", 4), QByteArray("XX\x01\x02", 4));
    writeFileBytes(dir.path() + "/headless.zip", headless);
    writeFileBytes(dir.path() + "/not.zip", "this is plain text, not an archive");
    writeFileBytes(dir.path() + "/zero.zip", "");
    struct Case {
        QString file;
        int code;
        QString text;
    } cases[] = {
        {"/missing.zip", -1, "failed to open zip file"},
        {"/not.zip", -1, "failed to open zip file"},
        {"/zero.zip", -1, "failed to open zip file"},
        {"", -1, "failed to open zip file"}, // a folder
        {"/headless.zip", -2, "failed to open first file in zip file"},
    };
    for (const Case& c : cases) {
        SSZipError error;
        EXPECT_FALSE(
            SSZipArchive::unzipFileAtPath(dir.path() + c.file, dir.path() + "/out", true, {}, &error));
        EXPECT_EQ(error.domain, "SSZipArchiveErrorDomain");
        EXPECT_EQ(error.code, c.code) << c.file.toStdString();
        EXPECT_EQ(error.description, c.text);
    }
}

TEST(SSZipArchiveUnpacking, TruncatedOrCorruptedArchivesFailWithoutCrashing) {
    QTemporaryDir dir;
    QByteArray noisy;
    for (int i = 0; i < 200000; ++i)
        noisy.append(char((i * 2654435761u) >> 24));
    const QString zip = dir.path() + "/x.zip";
    ASSERT_TRUE(buildZip(zip, {{"a.bin", noisy}, {"b.txt", "B"}}));
    const QByteArray whole = readFileBytes(zip);

    for (qsizetype cut : {qsizetype(30), whole.size() / 2, whole.size() - 10}) {
        writeFileBytes(dir.path() + "/cut.zip", whole.left(cut));
        EXPECT_FALSE(SSZipArchive::unzipFileAtPath(dir.path() + "/cut.zip", dir.path() + "/cut")) << cut;
    }
    // Damaged compressed data behind an intact directory: the entry fails to inflate.
    QByteArray damaged = whole;
    for (qsizetype i = 1000; i < 1400; ++i)
        damaged[i] = char(damaged[i] ^ 0x5a);
    writeFileBytes(dir.path() + "/bad.zip", damaged);
    SSZipError error;
    EXPECT_FALSE(
        SSZipArchive::unzipFileAtPath(dir.path() + "/bad.zip", dir.path() + "/bad", true, {}, &error));
    EXPECT_EQ(error.code, SSZipArchive::EntryReadFailed);
}

TEST(SSZipArchiveUnpacking, EntriesNamingPlacesOutsideTheDestinationAreRefused) {
    const QStringList hostile = {
        "../x", "/etc/x", "a/../../x", "..\\x", "a\\..\\..\\x", "ok/..", QString("..") + QChar(0) + "y"};
    for (const QString& name : hostile) {
        QTemporaryDir dir;
        const QString zip = dir.path() + "/x.zip";
        ASSERT_TRUE(buildZip(zip, {{"fine.txt", "F"}, {name, "evil"}}));
        const QStringList before = filesUnder(dir.path());
        SSZipError error;
        EXPECT_FALSE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/dest/inner", true, {}, &error))
            << name.toStdString();
        EXPECT_EQ(error.code, SSZipArchive::UnsafeEntryName);
        QStringList after = filesUnder(dir.path());
        after.removeAll("dest/");
        after.removeAll("dest/inner/");
        after.removeAll("dest/inner/fine.txt");
        EXPECT_EQ(after, before) << name.toStdString();
    }
}

TEST(SSZipArchiveUnpacking, ZipBombStopsAtTheRatioCapWithDefaults) {
    QTemporaryDir dir;
    const QString zip = dir.path() + "/bomb.zip";
    // 64 MiB of zeros squeeze into about 64 KiB: far past any real part's ratio.
    ASSERT_TRUE(buildZip(zip, {{"xl/styles.xml", "<styleSheet/>"},
                               {"xl/worksheets/sheet1.xml", QByteArray(1 << 20, '\0'), {}, {}, 64}}));
    SSZipError error;
    EXPECT_FALSE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/out", true, {}, &error));
    EXPECT_EQ(error.code, SSZipArchive::SizeLimitExceeded);
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/out/xl/worksheets/sheet1.xml")); // partial file removed
    EXPECT_TRUE(QFileInfo::exists(dir.path() + "/out/xl/styles.xml"));
}

TEST(SSZipArchiveUnpacking, PerEntryAndTotalCapsCountInflatedBytes) {
    QByteArray incompressible;
    for (int i = 0; i < 10000; ++i)
        incompressible.append(char((i * 2654435761u) >> 24));
    struct Case {
        const char* what;
        qint64 entryCap, totalCap;
        bool ok;
    } cases[] = {
        {"both within", 10000, 30000, true},
        {"entry over by one byte", 9999, 30000, false},
        {"total over", 10000, 29999, false},
    };
    for (const Case& c : cases) {
        QTemporaryDir dir;
        SSZipLimits limits;
        limits.maxEntryBytes = c.entryCap;
        limits.maxTotalBytes = c.totalCap;
        const QString zip = dir.path() + "/x.zip";
        ASSERT_TRUE(buildZip(zip, {{"a", incompressible}, {"b", incompressible}, {"c", incompressible}}));
        EXPECT_EQ(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/out", true, {}, nullptr, limits), c.ok)
            << c.what;
    }
}

qint64 folderBytes(const QString& folder) {
    qint64 total = 0;
    for (QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
        total += QFileInfo(it.next()).size();
    return total;
}

TEST(SSZipArchiveUnpacking, ManyEntriesJustUnderTheFloorStopAtTheArchiveRatio) {
    // Scaled down: 70 entries just under a 1 MiB floor each, zeros that squeeze a
    // thousandfold. Entry by entry each passes; together they break the archive's ratio.
    SSZipLimits limits;
    limits.ratioCheckFromBytes = qint64(1) << 20;
    QTemporaryDir dir;
    const QString zip = dir.path() + "/many.zip";
    std::vector<ZipEntrySpec> entries;
    for (int i = 1; i <= 70; ++i)
        entries.push_back({QString("part%1.xml").arg(i), QByteArray((1 << 20) - 1, '\0')});
    ASSERT_TRUE(buildZip(zip, entries));

    SSZipError error;
    EXPECT_FALSE(SSZipArchive::unzipFileAtPath(zip, dir.path() + "/out", true, {}, &error, limits));
    EXPECT_EQ(error.code, SSZipArchive::SizeLimitExceeded);
    const qint64 archive = QFileInfo(zip).size();
    EXPECT_LE(folderBytes(dir.path() + "/out"), limits.maxTotalRatio * archive + (1 << 20));

    // Part by part under one tally: the same cap across separate extractions.
    SSZipTally tally;
    int extracted = 0;
    for (int i = 1; i <= 70; ++i) {
        if (!SSZipArchive::unzipEntryAtPath(zip, QString("part%1.xml").arg(i), dir.path() + "/one.xml", tally,
                                            &error, limits))
            break;
        ++extracted;
    }
    EXPECT_EQ(error.code, SSZipArchive::SizeLimitExceeded);
    EXPECT_LT(extracted, 70);
    EXPECT_LE(tally.inflated, limits.maxTotalRatio * archive + (1 << 20));
}

TEST(SSZipArchiveUnpacking, OneEntryIsFoundByItsNameOrReportedMissingOrEncrypted) {
    QTemporaryDir dir;
    const QString zip = dir.path() + "/x.zip";
    ASSERT_TRUE(buildZip(zip, {{"a.xml", "first"}, {"dir\\b.xml", "second"}, {"c.xml", "secret", {}, "pw"}}));
    SSZipTally tally;
    SSZipError error;
    EXPECT_TRUE(SSZipArchive::unzipEntryAtPath(zip, "dir/b.xml", dir.path() + "/b", tally, &error));
    EXPECT_EQ(readFileBytes(dir.path() + "/b"), "second");
    EXPECT_FALSE(SSZipArchive::unzipEntryAtPath(zip, "missing.xml", dir.path() + "/m", tally, &error));
    EXPECT_EQ(error.code, SSZipArchive::EntryMissing);
    EXPECT_FALSE(SSZipArchive::unzipEntryAtPath(zip, "c.xml", dir.path() + "/c", tally, &error));
    EXPECT_EQ(error.code, SSZipArchive::EntryEncrypted);
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/c"));
    QStringList names;
    EXPECT_TRUE(SSZipArchive::entryNamesAtPath(zip, names, nullptr));
    EXPECT_EQ(names, (QStringList{"a.xml", "dir/b.xml", "c.xml"}));
}

} // namespace
