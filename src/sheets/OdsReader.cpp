#include "OdsReader.h"

#include "XmlDocument.h"
#include "core/Log.h"

#include <algorithm>

SpreadsheetData OdsReader::readContent(const QString& contentLocation) {
    SpreadsheetData rows;
    XmlDocument doc(contentLocation, XmlDocument::Names::Prefixed);
    doc.registerNamespace("office", "urn:oasis:names:tc:opendocument:xmlns:office:1.0");
    doc.registerNamespace("table", "urn:oasis:names:tc:opendocument:xmlns:table:1.0");
    qint64 total = 0;
    for (const xmlNode* row : doc.select("/office:document-content[1]/office:body[1]/office:spreadsheet[1]"
                                         "/table:table[1]/table:table-row")) {
        QStringList values;
        for (const xmlNode* cell : XmlDocument::childElements(row)) {
            const QString text = XmlDocument::wholeText(cell);
            qint64 times = 1;
            if (XmlDocument::hasAttribute(cell, "number-columns-repeated"))
                times = XmlDocument::attribute(cell, "number-columns-repeated").trimmed().toLongLong();
            times = std::clamp<qint64>(times, 0, kMaxRowCells - values.size());
            total += times;
            if (total > kMaxCells) {
                Show_NSLog_Message(
                    QStringLiteral("Error: more than %1 cells in %2").arg(kMaxCells).arg(contentLocation));
                return {};
            }
            for (qint64 i = 0; i < times; ++i)
                values.append(text);
        }
        rows.append(values);
    }
    return rows;
}
