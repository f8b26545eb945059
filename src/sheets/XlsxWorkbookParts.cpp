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
        strings.append(decodeXlsxEscapes(XmlDocument::wholeText(si)));
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

namespace {

QString relationshipTarget(const QString& root, int sheetNumber) {
    QString relationshipId;
    {
        XmlDocument workbook(root + QStringLiteral("/xl/workbook.xml"), XmlDocument::Names::Local);
        const QList<xmlNodePtr> sheets = workbook.select("//sheet");
        if (sheetNumber < 1 || sheetNumber > sheets.size())
            return {};
        relationshipId = XmlDocument::attribute(sheets.at(sheetNumber - 1), "id");
    }
    if (relationshipId.isEmpty())
        return {};
    XmlDocument rels(root + QStringLiteral("/xl/_rels/workbook.xml.rels"), XmlDocument::Names::Local);
    for (const xmlNode* rel : rels.select("//Relationship")) {
        if (XmlDocument::attribute(rel, "Id") == relationshipId)
            return XmlDocument::attribute(rel, "Target");
    }
    return {};
}

} // namespace

QString locateSheetPart(const QString& root, int sheetNumber) {
    QString conventional = root + QStringLiteral("/xl/worksheets/sheet%1.xml").arg(sheetNumber);
    if (QFileInfo::exists(conventional))
        return conventional;
    const QString target = relationshipTarget(root, sheetNumber);
    if (target.isEmpty())
        return conventional;
    // Targets are relative to the workbook part's folder, or absolute within the package.
    QString resolved = QDir::cleanPath(
        target.startsWith(QLatin1Char('/')) ? root + target : root + QStringLiteral("/xl/") + target);
    if (!resolved.startsWith(QDir::cleanPath(root) + QLatin1Char('/')))
        return conventional;
    return resolved;
}
