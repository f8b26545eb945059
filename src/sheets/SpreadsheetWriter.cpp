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

void (*SpreadsheetWriter::writeFailureBeep)() = nullptr;
std::atomic<bool> SpreadsheetWriter::s_streaming{false};

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

void reportUnwritablePart(const QString& location) {
    if (SpreadsheetWriter::writeFailureBeep)
        SpreadsheetWriter::writeFailureBeep();
    Show_NSLog_Message(QStringLiteral("Error when writing file %1").arg(location));
}

} // namespace

SpreadsheetWriter::SpreadsheetWriter() : m_workDir(QDir::tempPath() + QStringLiteral("/ziptmp-XXXXXX")) {
    // A private folder per process (created 0700), never a fixed shared name in /tmp.
    if (m_workDir.isValid())
        tmpDir = m_workDir.path();
    else
        Show_NSLog_Message(QStringLiteral("Error: cannot create the spreadsheet working folder: %1")
                               .arg(m_workDir.errorString()));
}

SpreadsheetWriter& SpreadsheetWriter::shared() {
    // Kept for the life of the process; destroyed at exit so the working folder, which holds
    // the operator's contacts, does not outlive it.
    static std::unique_ptr<SpreadsheetWriter> owner;
    if (!spreadsheet) {
        xmlInitParser();
        owner.reset(new SpreadsheetWriter);
        spreadsheet = owner.get();
    }
    return *spreadsheet;
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
    if (!only_col) {
        SpreadsheetWriter& self = shared();
        return self.ReadData(Excel_Sheet_Number);
    }
    if (s_streaming) { // a load is reading the prepared workbook on its thread
        Show_NSLog_Message(
            QStringLiteral("Error: a workbook is being read; %1 is not opened now").arg(location));
        return {};
    }
    Excel_Sheet_Columns = 1;
    SpreadsheetWriter& self = shared();
    self.sharedStrings.clear();
    self.Styles.clear();
    self.Styles_Fmt_Code.clear();
    self.date1904 = false;
    self.data.clear();
    self.m_prepared = false;
    self.readFailure.clear();
    // Parts an earlier workbook left behind must never be read as this one's.
    if (!self.clearWorkingFolder()) {
        self.readFailure = QStringLiteral("The working folder for workbooks cannot be used.");
        return self.data;
    }
    if (!self.m_package.open(location, self.tmpDir, self.readFailure)) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(self.readFailure, location));
        return self.data;
    }
    // The shared strings are read once, here, as they inflate; every later read uses them.
    if (std::unique_ptr<ZipEntryStream> strings = self.m_package.openSharedStrings()) {
        self.sharedStrings = readSharedStrings(*strings);
        if (strings->failed()) {
            self.sharedStrings.clear();
            self.readFailure =
                XlsxPackage::failureMessage(strings->error(), QStringLiteral("shared strings"));
            Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(self.readFailure, location));
            return self.data;
        }
    }
    self.m_prepared = true;
    if (!self.m_package.stylesFile().isEmpty())
        readStyles(self.m_package.stylesFile(), self.Styles, self.Styles_Fmt_Code);
    self.date1904 = readsDates1904(self.m_package.workbookFile());
    return self.data;
}

QStringList SpreadsheetWriter::Read_Sheet_Name() {
    SpreadsheetWriter& self = shared();
    return self.m_prepared ? self.m_package.sheetNames() : QStringList();
}

SpreadsheetData SpreadsheetWriter::ReadData_only_column() {
    SpreadsheetWriter& self = shared();
    self.data.clear();
    std::unique_ptr<ZipEntryStream> sheet = self.openSheet(Excel_Sheet_Number);
    if (!sheet)
        return self.data;
    const XlsxSheetReader reader(self.tables());
    self.data =
        reader.readHeader(*sheet, self.m_package.sheetPartName(Excel_Sheet_Number), Excel_Sheet_Columns);
    if (sheet->failed())
        self.readFailure =
            XlsxPackage::failureMessage(sheet->error(), self.m_package.sheetPartName(Excel_Sheet_Number));
    return self.data;
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
    SpreadsheetWriter& self = shared();
    s_streaming = true;
    const auto done = qScopeGuard([] { s_streaming = false; });
    const int number = Excel_Sheet_Number;
    const QString part = self.m_package.sheetPartName(number);
    QStringList merged;
    {
        // Merged blocks are listed after the rows; a scan of the bytes alone finds them first.
        std::unique_ptr<ZipEntryStream> scan = self.openSheet(number, true);
        if (!scan)
            return false;
        merged = XlsxSheetReader::scanMergedRanges(*scan);
        if (scan->failed()) { // a bomb or a damaged entry fails before any row is handed over
            self.readFailure = XlsxPackage::failureMessage(scan->error(), part);
            return false;
        }
    }
    std::unique_ptr<ZipEntryStream> sheet = self.openSheet(number);
    if (!sheet)
        return false;
    // The read keeps its own (shared, copy-on-write) tables: an export on the main thread
    // may rebuild the object's meanwhile.
    const QStringList strings = self.sharedStrings;
    const QStringList styles = self.Styles;
    const QList<QPair<QString, QString>> formatCodes = self.Styles_Fmt_Code;
    const XlsxSheetReader reader({strings, styles, formatCodes, self.date1904});
    QString failure;
    self.m_reading = sheet.get();
    const bool ok = reader.readRows(*sheet, part, Excel_Sheet_Columns, merged, sink, &failure);
    self.m_reading = nullptr;
    if (!ok)
        self.readFailure = sheet->failed() ? XlsxPackage::failureMessage(sheet->error(), part)
                                           : QStringLiteral("The sheet could not be read: %1.").arg(failure);
    return ok;
}

double SpreadsheetWriter::readFraction() {
    const ZipEntryStream* sheet = shared().m_reading;
    if (!sheet || sheet->declaredSize() <= 0)
        return 0;
    return std::clamp(double(sheet->inflatedBytes()) / double(sheet->declaredSize()), 0.0, 1.0);
}

void SpreadsheetWriter::releaseWorkbook() {
    SpreadsheetWriter& self = shared();
    self.sharedStrings = QStringList();
    self.Styles = QStringList();
    self.Styles_Fmt_Code.clear();
    self.data = SpreadsheetData();
    self.m_prepared = false;
    self.clearWorkingFolder();
}

QString SpreadsheetWriter::Get_Date_Time_Format_String(int numFmtId) const {
    const XlsxSheetReader reader(tables());
    return reader.datePatternFor(numFmtId);
}

SpreadsheetData SpreadsheetWriter::ReadODS(const QString& location) {
    SpreadsheetWriter& self = shared();
    self.m_prepared = false;
    if (!self.clearWorkingFolder())
        return {};
    // Only the content part is read, so only it is inflated.
    const QString content = self.tmpDir + QStringLiteral("/content.xml");
    SSZipTally tally;
    if (!SSZipArchive::unzipEntryAtPath(location, QStringLiteral("content.xml"), content, tally, nullptr))
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
    if (s_streaming) { // a load is reading a workbook on its thread through the same object
        Show_NSLog_Message(
            QStringLiteral("Error: a workbook is being read; %1 is not written now").arg(location));
        if (error)
            *error = location + QStringLiteral(": a workbook is being read");
        return false;
    }
    SpreadsheetWriter& self = shared();
    // The parts are made from the caller's table as they are packed; nothing of it, nor of
    // a workbook read before, is kept once the export is written.
    self.data = SpreadsheetData();
    self.sharedStrings = QStringList();
    self.m_prepared = false;
    self.clearWorkingFolder();

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
        reportUnwritablePart(location + QStringLiteral(" (") + stringsEntry + QLatin1Char(')'));
    if (!sheetOk)
        reportUnwritablePart(location + QStringLiteral(" (") + sheetEntry + QLatin1Char(')'));
    return written;
}