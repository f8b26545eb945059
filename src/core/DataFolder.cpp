#include "DataFolder.h"

#include "AppState.h"
#include "FileUtils.h"
#include "Log.h"
#include "NoFollowPaths.h"
#include "TroubleshootingLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <mutex>
#include <unistd.h>
#include <utility>

#ifndef BULKSMS_INSTALLED_RESOURCES
#define BULKSMS_INSTALLED_RESOURCES ""
#endif
#ifndef BULKSMS_BUILD_RESOURCES
#define BULKSMS_BUILD_RESOURCES ""
#endif

namespace {
// Several threads may lay out the folder at once (run workers, loaders) and an item created
// by one between another's look and its creation would read as a failure: one layout at a time,
// for the process's changes to its data folder on disk.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
std::mutex g_layoutMutex;

QString dataHome() {
    QString override = qEnvironmentVariable("BULKSMS_DATA_HOME");
    if (!override.isEmpty())
        return override;
    QString xdg = qEnvironmentVariable("XDG_DATA_HOME");
    if (!xdg.isEmpty())
        return xdg;
    return QDir::homePath() + QStringLiteral("/.local/share");
}

// Items left by earlier versions (created open to all) are narrowed on the way; a symbolic
// link in an item's place is refused.
bool ensureFolder(const QString& path) { return ensurePrivateItem(path, PrivateItem::Folder); }

bool ensureEmptyFile(const QString& path) { return ensurePrivateItem(path, PrivateItem::EmptyFile); }

// The resource folder of an installed tree, under its prefix.
const QString kInstalledResources = QStringLiteral(BULKSMS_INSTALLED_RESOURCES_RELATIVE);
} // namespace

QString locateResourcePath() {
    QString override = qEnvironmentVariable("BULKSMS_RESOURCES");
    if (!override.isEmpty())
        return override;
    // An installed tree keeps its resources beside its programs, wherever it was unpacked.
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    const QString programFolder = QFileInfo(program).absolutePath();
    QString beside = QDir::cleanPath(programFolder + QStringLiteral("/../") + kInstalledResources);
    if (!program.isEmpty() && QFileInfo(beside).isDir())
        return beside;
    // A program of a build tree uses the folder that tree assembles; no other program does.
    const QString buildRoot =
        QFileInfo(QStringLiteral(BULKSMS_BUILD_ROOT)).canonicalFilePath() + QLatin1Char('/');
    if (program.isEmpty() || program.startsWith(buildRoot))
        return QStringLiteral(BULKSMS_BUILD_RESOURCES);
    return QStringLiteral(BULKSMS_INSTALLED_RESOURCES);
}

DataFolder::DataFolder(const QString& dataHome, QString resources)
    : m_resources(std::move(resources)),
      m_root(QDir::cleanPath(dataHome + QLatin1Char('/') + kApplicationName)),
      m_data(m_root + QStringLiteral("/BULK_SMS_DATA")) {}

DataFolder DataFolder::fromEnvironment() { return {dataHome(), locateResourcePath()}; }

QString DataFolder::SentItem_File_Path() const { return m_data + QStringLiteral("/SentItem.OSTREL"); }
QString DataFolder::SentItemAnd_File_Path() const { return m_data + QStringLiteral("/SentItemAnd.OSTREL"); }
QString DataFolder::Templates_File_Path() const { return m_data + QStringLiteral("/Templates.OSTREL"); }
QString DataFolder::AppExclusion_File_Path() const { return m_data + QStringLiteral("/AppExclusion.OSTREL"); }
QString DataFolder::Exclusion_Folder_Path() const { return m_data + QStringLiteral("/Exclusion"); }
QString DataFolder::ExListIndex_File_Path() const {
    return Exclusion_Folder_Path() + QStringLiteral("/ExListIndex.OSTREL");
}
QString DataFolder::Troubleshooting_Log_Path() const {
    return m_root + QStringLiteral("/Troubleshooting_Log.txt");
}

void DataFolder::adoptForProcess() const {
    setDataTreeRoot(m_root);
    setTroubleshootingLogPath(Troubleshooting_Log_Path());
}

bool DataFolder::Check_Path_And_Create_Files() const {
    std::lock_guard lock(g_layoutMutex);
    // Each step runs only when its item is missing; the first failure stops the rest,
    // and the next call tries again.
    const bool complete = ensureFolder(m_data) && ensureEmptyFile(SentItem_File_Path()) &&
                          ensureEmptyFile(SentItemAnd_File_Path()) &&
                          ensureEmptyFile(Templates_File_Path()) &&
                          ensureEmptyFile(AppExclusion_File_Path()) &&
                          ensureFolder(Exclusion_Folder_Path()) && ensureEmptyFile(ExListIndex_File_Path());
    ensureTroubleshootingLog(Troubleshooting_Log_Path()); // kept as it is: it is bounded by its own cap
    return complete;
}
