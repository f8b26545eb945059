#include "DataFolder.h"

#include "AppState.h"
#include "FileUtils.h"
#include "Log.h"
#include "TroubleshootingLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <mutex>
#include <unistd.h>

#ifndef BULKSMS_INSTALLED_RESOURCES
#define BULKSMS_INSTALLED_RESOURCES ""
#endif
#ifndef BULKSMS_BUILD_RESOURCES
#define BULKSMS_BUILD_RESOURCES ""
#endif

QString Resource_Path;
QString Created_Resource_Path;
QString Bulk_SMS_Data_Folder_Path;
QString SentItem_File_Path;
QString SentItemAnd_File_Path;
QString Templates_File_Path;
QString AppExclusion_File_Path;
QString Exclusion_Folder_Path;
QString ExListIndex_File_Path;
QString Troubleshooting_Log_Path;

namespace {
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

void computeDataPaths() {
    Created_Resource_Path = QDir::cleanPath(dataHome() + QLatin1Char('/') + kApplicationName);
    Bulk_SMS_Data_Folder_Path = Created_Resource_Path + QStringLiteral("/BULK_SMS_DATA");
    SentItem_File_Path = Bulk_SMS_Data_Folder_Path + QStringLiteral("/SentItem.OSTREL");
    SentItemAnd_File_Path = Bulk_SMS_Data_Folder_Path + QStringLiteral("/SentItemAnd.OSTREL");
    Templates_File_Path = Bulk_SMS_Data_Folder_Path + QStringLiteral("/Templates.OSTREL");
    AppExclusion_File_Path = Bulk_SMS_Data_Folder_Path + QStringLiteral("/AppExclusion.OSTREL");
    Exclusion_Folder_Path = Bulk_SMS_Data_Folder_Path + QStringLiteral("/Exclusion");
    ExListIndex_File_Path = Exclusion_Folder_Path + QStringLiteral("/ExListIndex.OSTREL");
    Troubleshooting_Log_Path = Created_Resource_Path + QStringLiteral("/Troubleshooting_Log.txt");
}

bool Check_Path_And_Create_Files() {
    std::lock_guard lock(g_layoutMutex);
    // Each step runs only when its item is missing; the first failure stops the rest,
    // and the next call tries again.
    const bool complete = ensureFolder(Bulk_SMS_Data_Folder_Path) && ensureEmptyFile(SentItem_File_Path) &&
                          ensureEmptyFile(SentItemAnd_File_Path) && ensureEmptyFile(Templates_File_Path) &&
                          ensureEmptyFile(AppExclusion_File_Path) && ensureFolder(Exclusion_Folder_Path) &&
                          ensureEmptyFile(ExListIndex_File_Path);
    ensureTroubleshootingLog(); // kept as it is: it is bounded by its own cap
    return complete;
}
