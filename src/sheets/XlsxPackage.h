#pragma once
// An XLSX package as the reader uses it: the workbook part found through the package's
// relationships, each sheet's part found through the workbook's relationships (the part's
// file name is only a fallback when those are missing). The small workbook-wide parts are
// inflated, each into a private file of the working folder; the shared strings and the
// sheets, which grow with the data, are read as they inflate and never land on disk. One
// inflate budget covers the whole workbook.
#include "SSZipArchive.h"
#include "ZipEntryStream.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>

class XlsxPackage {
public:
    // What the operator is told when the file cannot be opened as a workbook at all.
    static QString notAWorkbookMessage();
    // What the operator is told when a part of the workbook breaks off while it inflates.
    static QString failureMessage(const SSZipError& error, const QString& entry);

    // Lists the archive and inflates the workbook part, its relationships, the shared strings
    // and the styles into workDir (which must be empty); every part of it is held to limits.
    // False with a reason to show when the file is no readable workbook.
    bool open(const QString& archive, const QString& workDir, QString& failure,
              const SSZipLimits& limits = {});

    QString workbookFile() const { return m_workbookFile; }
    // The shared strings, read as they inflate; null when the package has none.
    std::unique_ptr<ZipEntryStream> openSharedStrings();
    QString stylesFile() const { return m_stylesFile; } // "" when the package has none
    QStringList sheetNames() const { return m_sheetNames; }

    // The part of sheet number (1-based), ready to read as it inflates; null with a reason
    // to show when there is no such sheet or its entry cannot be opened.
    // A scan inflates the bytes a read will count again: it is held to the same caps
    // without adding to the workbook's tally.
    std::unique_ptr<ZipEntryStream> openSheet(int sheetNumber, QString& failure, bool forScan = false);
    QString sheetPartName(int sheetNumber) const;

    // The part (package name) of each sheet, in workbook order; "" for a sheet without one.
    QStringList sheetParts() const { return m_sheetParts; }

private:
    QString entryFor(const QString& partName) const;
    QString inflate(const QString& partName, QString& failure);
    // Targets of a part's relationships whose type ends with typeSuffix (any type when empty),
    // keyed by relationship id, resolved to package part names.
    QHash<QString, QString> relationshipTargets(const QString& sourcePart, const QString& typeSuffix,
                                                QStringList* inOrder = nullptr);

    QString m_archive;
    QString m_workDir;
    QHash<QString, QString> m_entries;  // lower-case part name -> entry name in the archive
    QHash<QString, QString> m_inflated; // entry name -> local file
    SSZipLimits m_limits;
    SSZipTally m_tally;
    SSZipTally m_scanTally;
    QString m_workbookPart;
    QString m_workbookFile;
    QString m_sharedStringsPart; // entry name, "" when none
    QString m_stylesFile;
    QStringList m_sheetNames;
    QStringList m_sheetParts;
};
