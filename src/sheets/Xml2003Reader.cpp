#include "Xml2003Reader.h"

#include "XmlDocument.h"

SpreadsheetData Xml2003Reader::read(const QString& location) {
    SpreadsheetData rows;
    XmlDocument doc(location, XmlDocument::Names::Local);
    for (const xmlNode* row : doc.select("/Workbook[1]/Worksheet[1]/Table[1]/Row")) {
        QStringList values;
        for (const xmlNode* cell : XmlDocument::childElements(row))
            values.append(XmlDocument::wholeText(cell->children));
        rows.append(values);
    }
    return rows;
}
