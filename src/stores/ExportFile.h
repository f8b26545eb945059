#pragma once
// The steps every export shares: the save dialog and the extension rule, replacing an
// existing file whole or not at all, and the open-after-export question.
#include "ExportFormats.h"

#include <QByteArray>
#include <QString>

class Operator;

// The save dialog limited to the format's type; the type is appended when the chosen name's
// extension (in lower case) differs. "" when cancelled.
QString chooseReportPath(Operator& op, ExportFormat format);

// The save dialog offering "xlsx" and "txt": a name ending in ".xlsx" (any case) is a
// workbook, anything else text, with ".txt" appended unless it already ends so. "" when
// cancelled.
QString chooseListPath(Operator& op, ExportFormat& format);

// The path with the extension rule above applied.
QString withExportExtension(const QString& path, const QString& extension);

// Replaces what stands at path by the bytes (or the workbook) through the durable writer.
// False on failure, with "<path>: <reason>" in error (may be null); a file already at path
// then stays exactly as it was.
bool writeExportBytes(const QString& path, const QByteArray& bytes, QString* error = nullptr);
bool writeExportWorkbook(const QString& path, const SpreadsheetData& rows, QString* error = nullptr);

// Runs the open-after-export dialog for the file just written at path; returns its end code.
int offerToOpenExport(Operator& op, const QString& path);

// The sending job's report in the format, written to path (which is used as given), as above.
bool writeSendingReport(const QString& path, ExportFormat format, const QList<ReportItem>& items,
                        QString* error = nullptr);

// The format a report file's extension asks for ("txt", "html", "xlsx", any case); false
// for any other extension.
bool reportFormatOf(const QString& path, ExportFormat& format);
