#pragma once
// Streams the rows of a worksheet part ("/worksheet[1]/sheetData[1]/row", names matched by
// local name) one at a time, parsed by libxml2's SAX interface straight from the zip entry
// as it inflates: no element tree is built, and a sheet of any length costs the memory of
// one row. Each row arrives as the raw texts of its cells, in buffers reused for the next.
#include <QString>
#include <QStringList>

#include <functional>
#include <string>
#include <vector>

class ZipEntryStream;

// One "c" element: its attributes and its stored text, as UTF-8.
struct SheetCell {
    std::string reference; // "r"
    std::string type;      // "t"
    std::string style;     // "s"
    // The text of its first "v" child, or for an inline string ("t" is "inlineStr") the
    // text of its first "is" child without phonetic runs ("rPh").
    std::string value;
    std::string inlineText;
    bool hasReference = false;
    bool hasStyle = false;
};

struct SheetRow {
    std::string number; // "r"
    std::vector<SheetCell> cells;
};

class SheetRowStream {
public:
    // Called per row in document order; return false to stop.
    using RowVisitor = std::function<bool(const SheetRow& row)>;

    // Reads the part leniently (no network, no DTD, no entity substitution). False when the
    // part could not be read at all or its entry broke off (a damaged or over-budget zip
    // entry), with the reason in failure and the log. Markup that breaks off midway keeps
    // the rows before the break (the reason is logged). mergedRanges, when given, receives
    // the "ref" of every merged range ("C2:C4").
    static bool read(ZipEntryStream& input, const QString& partName, const RowVisitor& visitor,
                     QString* failure = nullptr, QStringList* mergedRanges = nullptr);
};
