#include "XlsxWorkbookParts.h"

#include "XlsxText.h"
#include "XmlDocument.h"

#include <QDir>
#include <QFileInfo>

QStringList readSharedStrings(const QString& location) {
    QStringList strings;
    XmlDocument doc(location, XmlDocument::Names::Local);
    const QList<xmlNodePtr> items = doc.select("/sst[1]/si");
    strings.reserve(items.size());
    for (const xmlNode* si : items)
        strings.append(decodeXlsxEscapes(XmlDocument::wholeTextSkipping(si, "rPh"))); // no phonetic guides
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
