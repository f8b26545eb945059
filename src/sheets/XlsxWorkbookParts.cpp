#include "XlsxWorkbookParts.h"

#include "XlsxText.h"
#include "XmlDocument.h"
#include "ZipXmlReader.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>

#include <cstring>

QStringList readSharedStrings(ZipEntryStream& input) {
    QStringList strings;
    ZipXmlReader reader(input);
    if (!reader.isValid())
        return strings;
    xmlTextReaderPtr r = reader.get();
    bool isTable = false;
    int status = xmlTextReaderRead(r);
    while (status == 1) {
        const int depth = xmlTextReaderDepth(r);
        if (xmlTextReaderNodeType(r) != XML_READER_TYPE_ELEMENT) {
            status = xmlTextReaderRead(r);
            continue;
        }
        const xmlChar* name = xmlTextReaderConstLocalName(r);
        const bool si = name && std::strcmp(reinterpret_cast<const char*>(name), "si") == 0;
        if (depth == 0) {
            isTable = name && std::strcmp(reinterpret_cast<const char*>(name), "sst") == 0;
            status = isTable ? xmlTextReaderRead(r) : xmlTextReaderNext(r);
            continue;
        }
        if (depth == 1 && isTable && si) {
            const xmlNode* item = xmlTextReaderExpand(r);
            if (!item || input.failed())
                break;
            strings.append(
                decodeXlsxEscapes(XmlDocument::wholeTextSkipping(item, "rPh"))); // no phonetic guides
        }
        status = xmlTextReaderNext(r);
    }
    if (status < 0 || input.failed())
        Show_NSLog_Message(
            QStringLiteral("Error: %1 (shared strings)")
                .arg(reader.failure().isEmpty() ? QStringLiteral("cannot parse") : reader.failure()));
    return strings;
}

void readStyles(const QString& location, QStringList& styles, QList<QPair<QString, QString>>& formatCodes) {
    styles.clear();
    formatCodes.clear();
    XmlDocument doc(location, XmlDocument::Names::Local);
    for (const xmlNode* table : doc.select("//cellXfs")) {
        for (const xmlNode* xf : XmlDocument::childElements(table))
            styles.append(XmlDocument::attribute(xf, "numFmtId"));
    }
    for (const xmlNode* table : doc.select("//numFmts")) {
        for (const xmlNode* format : XmlDocument::childElements(table))
            formatCodes.append(
                {XmlDocument::attribute(format, "numFmtId"), XmlDocument::attribute(format, "formatCode")});
    }
}

QStringList readSheetNames(const QString& workbookLocation) {
    QStringList names;
    XmlDocument doc(workbookLocation, XmlDocument::Names::Local);
    for (const xmlNode* sheet : doc.select("//sheet"))
        names.append(XmlDocument::attribute(sheet, "name"));
    return names;
}

bool readsDates1904(const QString& workbookLocation) {
    XmlDocument doc(workbookLocation, XmlDocument::Names::Local);
    for (const xmlNode* properties : doc.select("//workbookPr")) {
        const QString value = XmlDocument::attribute(properties, "date1904").trimmed().toLower();
        if (value == QLatin1String("1") || value == QLatin1String("true"))
            return true;
    }
    return false;
}
