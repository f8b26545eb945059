#pragma once
// The workbook-wide parts of an unpacked XLSX package: shared strings, cell formats,
// sheet names and the date system.
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

class ZipEntryStream;

// Text of every "si" in order, rich-text runs merged, "_xHHHH_" escapes decoded; read as
// the part inflates, one item at a time. A part that breaks off keeps what came before.
QStringList readSharedStrings(ZipEntryStream& input);

// numFmtId of every cell format, and (numFmtId, formatCode) of every custom format.
void readStyles(const QString& location, QStringList& styles, QList<QPair<QString, QString>>& formatCodes);

// Sheet names from the workbook part, in workbook order.
QStringList readSheetNames(const QString& workbookLocation);

// True when the workbook counts dates from 1904 ("date1904" is "1" or "true").
bool readsDates1904(const QString& workbookLocation);
