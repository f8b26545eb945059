#include "SpreadsheetWriter.h"

#include "ColumnNames.h"
#include "OdsReader.h"
#include "SSZipArchive.h"
#include "XlsxPartsWriter.h"
#include "XlsxSheetReader.h"
#include "XlsxWorkbookParts.h"
#include "Xml2003Reader.h"
#include "core/DataFolder.h"
#include "core/DurableFile.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QScopeGuard>

#include <libxml/parser.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

QString templatePackage() {
    const QString resources = locateResourcePath();
    return resources + QStringLiteral("/Template.xlsx");
}

// Writes one part to a file of its own.
bool writePartFile(const QString& location, const std::function<bool(const XmlPartWriter::Sink&)>& content) {
    DurableFile file(location);
    const bool made = content([&file](const char* bytes, qsizetype size) { return file.write(bytes, size); });
    return made && file.commit();
}

void logUnwritablePart(const QString& location) {
    Show_NSLog_Message(QStringLiteral("Error when writing file %1").arg(location));
}

} // namespace

SpreadsheetWriter::SpreadsheetWriter() : m_workDir(QDir::tempPath() + QStringLiteral("/ziptmp-XXXXXX")) {
    xmlInitParser();
    // A private folder per reader (created 0700), never a fixed shared name in /tmp; it goes
    // with the reader, so the operator's contacts unpacked there do not outlive it.
    if (m_workDir.isValid())
        tmpDir = m_workDir.path();
    else
        Show_NSLog_Message(QStringLiteral("Error: cannot create the spreadsheet working folder: %1")
                               .arg(m_workDir.errorString()));
}

void SpreadsheetWriter::reportUnwritablePart(const QString& location) const {
    if (writeFailureBeep)
        writeFailureBeep();
    logUnwritablePart(location);
}

bool SpreadsheetWriter::clearWorkingFolder() const {
    if (tmpDir.isEmpty())
        return false;
    QDir folder(tmpDir);
    bool ok = true;
    for (const QFileInfo& item :
         folder.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)) {
        if (item.isDir() && !item.isSymLink())
            ok = QDir(item.filePath()).removeRecursively() && ok;
        else
            ok = folder.remove(item.fileName()) && ok;
    }
    return ok;
}

std::unique_ptr<ZipEntryStream> SpreadsheetWriter::openSheet(int sheetNumber, bool forScan) {
    if (!m_prepared) {
        if (readFailure.isEmpty())
            readFailure = XlsxPackage::notAWorkbookMessage();
        return nullptr;
    }
    QString failure;
    std::unique_ptr<ZipEntryStream> sheet = m_package.openSheet(sheetNumber, failure, forScan);
    if (!sheet)
        readFailure = failure;
    return sheet;
}

// ---- reading ----

SpreadsheetData SpreadsheetWriter::ReadWorkbook(const QString& location, bool only_col) {
    if (!only_col)
        return ReadData(Excel_Sheet_Number);
    if (m_streaming) { // a load is reading the prepared workbook on its thread
        Show_NSLog_Message(
            QStringLiteral("Error: a workbook is being read; %1 is not opened now").arg(location));
        return {};
    }
    Excel_Sheet_Columns = 1;
    sharedStrings.clear();
    Styles.clear();
    Styles_Fmt_Code.clear();
    date1904 = false;
    data.clear();
    m_prepared = false;
    readFailure.clear();
    // Parts an earlier workbook left behind must never be read as this one's.
    if (!clearWorkingFolder()) {
        readFailure = QStringLiteral("The working folder for workbooks cannot be used.");
        return data;
    }
    if (!m_package.open(location, tmpDir, readFailure, zipLimits)) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(readFailure, location));
        return data;
    }
    // The shared strings are read once, here, as they inflate; every later read uses them.
    if (std::unique_ptr<ZipEntryStream> strings = m_package.openSharedStrings()) {
        sharedStrings = readSharedStrings(*strings);
        if (strings->failed()) {
            sharedStrings.clear();
            readFailure = XlsxPackage::failureMessage(strings->error(), QStringLiteral("shared strings"));
            Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(readFailure, location));
            return data;
        }
    }
    m_prepared = true;
    if (!m_package.stylesFile().isEmpty())
        readStyles(m_package.stylesFile(), Styles, Styles_Fmt_Code);
    date1904 = readsDates1904(m_package.workbookFile());
    return data;
}

QStringList SpreadsheetWriter::Read_Sheet_Name() const {
    return m_prepared ? m_package.sheetNames() : QStringList();
}

SpreadsheetData SpreadsheetWriter::ReadData_only_column() {
    data.clear();
    std::unique_ptr<ZipEntryStream> sheet = openSheet(Excel_Sheet_Number);
    if (!sheet)
        return data;
    const XlsxSheetReader reader(tables());
    data = reader.readHeader(*sheet, m_package.sheetPartName(Excel_Sheet_Number), Excel_Sheet_Columns);
    if (sheet->failed())
        readFailure =
            XlsxPackage::failureMessage(sheet->error(), m_package.sheetPartName(Excel_Sheet_Number));
    return data;
}

SpreadsheetData SpreadsheetWriter::ReadData(int sheetNumber) {
    data.clear();
    std::unique_ptr<ZipEntryStream> sheet = openSheet(sheetNumber);
    if (!sheet)
        return data;
    const XlsxSheetReader reader(tables());
    QString failure;
    data = reader.readAll(*sheet, m_package.sheetPartName(sheetNumber), Excel_Sheet_Columns, &failure);
    if (!failure.isEmpty())
        readFailure = sheet->failed()
                          ? XlsxPackage::failureMessage(sheet->error(), m_package.sheetPartName(sheetNumber))
                          : QStringLiteral("The sheet could not be read: %1.").arg(failure);
    return data;
}

bool SpreadsheetWriter::ReadRows(const RowSink& sink) {
    m_streaming = true;
    const auto done = qScopeGuard([this] { m_streaming = false; });
    const int number = Excel_Sheet_Number;
    const QString part = m_package.sheetPartName(number);
    QStringList merged;
    {
        // Merged blocks are listed after the rows; a scan of the bytes alone finds them first.
        std::unique_ptr<ZipEntryStream> scan = openSheet(number, true);
        if (!scan)
            return false;
        merged = XlsxSheetReader::scanMergedRanges(*scan);
        if (scan->failed()) { // a bomb or a damaged entry fails before any row is handed over
            readFailure = XlsxPackage::failureMessage(scan->error(), part);
            return false;
        }
    }
    std::unique_ptr<ZipEntryStream> sheet = openSheet(number);
    if (!sheet)
        return false;
    // The read keeps its own (shared, copy-on-write) tables: the main thread may drop the
    // object's meanwhile.
    const QStringList strings = sharedStrings;
    const QStringList styles = Styles;
    const QList<QPair<QString, QString>> formatCodes = Styles_Fmt_Code;
    const XlsxSheetReader reader({strings, styles, formatCodes, date1904});
    QString failure;
    m_reading = sheet.get();
    const bool ok = reader.readRows(*sheet, part, Excel_Sheet_Columns, merged, sink, &failure);
    m_reading = nullptr;
    if (!ok)
        readFailure = sheet->failed() ? XlsxPackage::failureMessage(sheet->error(), part)
                                      : QStringLiteral("The sheet could not be read: %1.").arg(failure);
    return ok;
}

double SpreadsheetWriter::readFraction() const {
    const ZipEntryStream* sheet = m_reading;
    if (!sheet || sheet->declaredSize() <= 0)
        return 0;
    return std::clamp(double(sheet->inflatedBytes()) / double(sheet->declaredSize()), 0.0, 1.0);
}

void SpreadsheetWriter::releaseWorkbook() {
    sharedStrings = QStringList();
    Styles = QStringList();
    Styles_Fmt_Code.clear();
    data = SpreadsheetData();
    m_prepared = false;
    clearWorkingFolder();
}

QString SpreadsheetWriter::Get_Date_Time_Format_String(int numFmtId) const {
    const XlsxSheetReader reader(tables());
    return reader.datePatternFor(numFmtId);
}

SpreadsheetData SpreadsheetWriter::ReadODS(const QString& location) {
    m_prepared = false;
    if (!clearWorkingFolder())
        return {};
    // Only the content part is read, so only it is inflated.
    const QString content = tmpDir + QStringLiteral("/content.xml");
    SSZipTally tally;
    if (!SSZipArchive::unzipEntryAtPath(location, QStringLiteral("content.xml"), content, tally, nullptr,
                                        zipLimits))
        return {};
    return OdsReader::readContent(content);
}

SpreadsheetData SpreadsheetWriter::ReadWorksheetXML2004(const QString& location) {
    return Xml2003Reader::read(location);
}

// ---- writing ----

QString SpreadsheetWriter::ColumnIndexToName(int column) { return columnLettersFromNumber(column); }

bool SpreadsheetWriter::WriteWorksheetData(const QString& location) {
    sharedStrings.clear();
    const XlsxTextCells cells(data);
    qsizetype cell = 0;
    for (const QStringList& row : data) {
        for (const QString& value : row) {
            if (cells.isText(cell++))
                sharedStrings.append(value);
        }
    }
    if (writePartFile(location,
                      [&](const XmlPartWriter::Sink& sink) { return writeWorksheetPart(sink, data, cells); }))
        return true;
    reportUnwritablePart(location);
    return false;
}

bool SpreadsheetWriter::WriteSharedStringsXML(const QString& location) {
    if (writePartFile(location, [&](const XmlPartWriter::Sink& sink) {
            return writeSharedStringsPart(sink, sharedStrings);
        }))
        return true;
    reportUnwritablePart(location);
    return false;
}

bool SpreadsheetWriter::WriteWorkbook(const QString& location, const SpreadsheetData& withData,
                                      bool hasTitleRow, QString* error) {
    Q_UNUSED(hasTitleRow)
    // The archive is the template's with its worksheet and shared strings replaced. Both go
    // straight into the archive, and the template's other parts are copied over as stored:
    // nothing is unpacked to the working folder and read back.
    const QString sheetEntry = QStringLiteral("xl/worksheets/sheet1.xml");
    const QString stringsEntry = QStringLiteral("xl/sharedStrings.xml");
    // Text or number is decided once per cell: the shared strings precede the worksheet in
    // the archive, yet the worksheet numbers them.
    const XlsxTextCells cells(withData);
    bool sheetOk = true, stringsOk = true;
    const QHash<QString, SSZipEntryContent> generated = {
        {sheetEntry,
         [&](const SSZipEntrySink& sink) { return sheetOk = writeWorksheetPart(sink, withData, cells); }},
        {stringsEntry,
         [&](const SSZipEntrySink& sink) {
             return stringsOk = writeSharedStringsPart(sink, withData, cells);
         }},
    };
    // Packed under a temporary name beside the target and renamed over it only when whole:
    // an old workbook of that name stays as it was if this one cannot be written.
    const bool written = replaceFileDurably(
        location,
        [&](const QString& temporaryPath, QString& reason) {
            SSZipError zipError;
            if (SSZipArchive::createZipFileFromTemplate(temporaryPath, templatePackage(), generated,
                                                        &zipError))
                return true;
            reason = zipError.description;
            return false;
        },
        error);
    if (!stringsOk)
        logUnwritablePart(location + QStringLiteral(" (") + stringsEntry + QLatin1Char(')'));
    if (!sheetOk)
        logUnwritablePart(location + QStringLiteral(" (") + sheetEntry + QLatin1Char(')'));
    return written;
}