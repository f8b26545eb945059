#pragma once
// Streams the rows of a worksheet part ("/worksheet[1]/sheetData[1]/row", names matched by
// local name) one at a time, straight from the zip entry as it inflates, so a sheet of any
// length costs the memory of one row. Each row arrives as a small element tree; it is freed
// as soon as the next one is read.
#include <QString>
#include <QStringList>

#include <libxml/tree.h>

#include <functional>
#include <optional>

class ZipEntryStream;

class SheetRowStream {
public:
    // Called per row in document order; return false to stop.
    using RowVisitor = std::function<bool(const xmlNode* row)>;

    // Reads the part leniently (no network, no DTD, no entity substitution). False when the
    // part could not be read at all or its entry broke off (a damaged or over-budget zip
    // entry), with the reason in failure and the log. Markup that breaks off midway keeps
    // the rows before the break (the reason is logged). mergedRanges, when given, receives
    // the "ref" of every merged range ("C2:C4").
    static bool read(ZipEntryStream& input, const QString& partName, const RowVisitor& visitor,
                     QString* failure = nullptr, QStringList* mergedRanges = nullptr);
};
