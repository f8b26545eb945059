#pragma once
// The two generated parts of an exported workbook: the worksheet and its shared strings,
// streamed block by block to wherever they go (a zip entry, a file).
#include "SpreadsheetData.h"
#include "XmlPartWriter.h"

#include <QStringList>

#include <vector>

// Which cells of a table are texts: each becomes its own shared string, in row order (equal
// texts again, not shared); the others are plain numbers (isPlainNumber). Decided once, so
// the two parts agree whichever of them is written first.
class XlsxTextCells {
public:
    explicit XlsxTextCells(const SpreadsheetData& data);
    // Cells are counted row by row over the rows as they are (ragged rows included).
    bool isText(qsizetype cell) const { return m_text[size_t(cell)]; }
    qsizetype count() const { return m_count; }

private:
    std::vector<bool> m_text;
    qsizetype m_count = 0;
};

// The worksheet of data; a text cell refers to its shared string by index.
bool writeWorksheetPart(const XmlPartWriter::Sink& sink, const SpreadsheetData& data,
                        const XlsxTextCells& cells);

// The shared strings of data: its text cells in row order.
bool writeSharedStringsPart(const XmlPartWriter::Sink& sink, const SpreadsheetData& data,
                            const XlsxTextCells& cells);

// A shared-strings part listing strings in order.
bool writeSharedStringsPart(const XmlPartWriter::Sink& sink, const QStringList& strings);
