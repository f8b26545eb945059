#include "XlsxPackage.h"

#include "XmlDocument.h"
#include "core/Log.h"

#include <QFileInfo>

namespace {

// A relationship target resolved against the folder of its source part: "worksheets/a.xml"
// from "xl/workbook.xml" is "xl/worksheets/a.xml", "/xl/b.xml" is "xl/b.xml". "" when the
// target climbs above the package root or is external.
QString resolveTarget(const QString& sourcePart, QString target) {
    if (target.contains(QLatin1String("://")))
        return {};
    target.replace(QLatin1Char('\\'), QLatin1Char('/'));
    QStringList parts;
    if (!target.startsWith(QLatin1Char('/'))) {
        parts = sourcePart.split(QLatin1Char('/'));
        parts.removeLast();
    }
    for (const QString& segment : target.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (segment == QLatin1String("."))
            continue;
        if (segment == QLatin1String("..")) {
            if (parts.isEmpty())
                return {};
            parts.removeLast();
            continue;
        }
        parts.append(segment);
    }
    return parts.join(QLatin1Char('/'));
}

// "xl/workbook.xml" has its relationships in "xl/_rels/workbook.xml.rels".
QString relationshipsPartOf(const QString& part) {
    const qsizetype slash = part.lastIndexOf(QLatin1Char('/'));
    return part.left(slash + 1) + QStringLiteral("_rels/") + part.mid(slash + 1) + QStringLiteral(".rels");
}

} // namespace

QString XlsxPackage::notAWorkbookMessage() {
    return QStringLiteral("This file is not a workbook (or it is damaged or password-protected).");
}

QString XlsxPackage::failureMessage(const SSZipError& error, const QString& entry) {
    return error.code == SSZipArchive::SizeLimitExceeded
               ? QStringLiteral("This workbook unpacks to far more data than its size allows (part %1), "
                                "so it is not read.")
                     .arg(entry)
               : notAWorkbookMessage();
}

QString XlsxPackage::entryFor(const QString& partName) const {
    // Part names are case-insensitive in a package.
    return m_entries.value(partName.toLower());
}

QString XlsxPackage::inflate(const QString& partName, QString& failure) {
    const QString entry = entryFor(partName);
    if (entry.isEmpty())
        return {};
    const auto done = m_inflated.constFind(entry);
    if (done != m_inflated.constEnd())
        return *done;
    // Private numbered files: an entry's name never decides where anything is written.
    QString local = m_workDir + QStringLiteral("/part%1.xml").arg(m_inflated.size() + 1);
    SSZipError error;
    if (!SSZipArchive::unzipEntryAtPath(m_archive, entry, local, m_tally, &error, m_limits)) {
        failure = failureMessage(error, entry);
        return {};
    }
    m_inflated.insert(entry, local);
    return local;
}

QHash<QString, QString> XlsxPackage::relationshipTargets(const QString& sourcePart, const QString& typeSuffix,
                                                         QStringList* inOrder) {
    QHash<QString, QString> targets;
    QString ignored;
    const QString rels = inflate(relationshipsPartOf(sourcePart), ignored);
    if (rels.isEmpty())
        return targets;
    XmlDocument doc(rels, XmlDocument::Names::Local);
    for (const xmlNode* rel : doc.select("//Relationship")) {
        if (!typeSuffix.isEmpty() && !XmlDocument::attribute(rel, "Type").endsWith(typeSuffix))
            continue;
        if (XmlDocument::attribute(rel, "TargetMode")
                .compare(QLatin1String("External"), Qt::CaseInsensitive) == 0)
            continue;
        const QString target = resolveTarget(sourcePart, XmlDocument::attribute(rel, "Target"));
        if (target.isEmpty())
            continue;
        targets.insert(XmlDocument::attribute(rel, "Id"), target);
        if (inOrder)
            inOrder->append(target);
    }
    return targets;
}

bool XlsxPackage::open(const QString& archive, const QString& workDir, QString& failure,
                       const SSZipLimits& limits) {
    m_archive = archive;
    m_limits = limits;
    m_workDir = workDir;
    m_tally = {};
    m_entries.clear();
    m_inflated.clear();
    m_workbookPart.clear();
    m_workbookFile.clear();
    m_sharedStringsPart.clear();
    m_stylesFile.clear();
    m_sheetNames.clear();
    m_sheetParts.clear();

    QStringList names;
    if (!SSZipArchive::entryNamesAtPath(archive, names, nullptr)) {
        failure = notAWorkbookMessage();
        return false;
    }
    for (const QString& name : names)
        m_entries.insert(name.toLower(), name);

    // The package's relationships name the workbook part; most packages use the usual name.
    QStringList workbooks;
    relationshipTargets(QString(), QStringLiteral("/officeDocument"), &workbooks);
    m_workbookPart = QStringLiteral("xl/workbook.xml");
    for (const QString& part : workbooks) {
        if (!entryFor(part).isEmpty()) {
            m_workbookPart = part;
            break;
        }
    }
    failure.clear();
    m_workbookFile = inflate(m_workbookPart, failure);
    if (m_workbookFile.isEmpty()) {
        if (failure.isEmpty())
            failure = notAWorkbookMessage();
        return false;
    }

    const QHash<QString, QString> targets = relationshipTargets(m_workbookPart, QString());
    const QString folder = m_workbookPart.left(m_workbookPart.lastIndexOf(QLatin1Char('/')) + 1);
    QStringList sharedStrings, styles;
    relationshipTargets(m_workbookPart, QStringLiteral("/sharedStrings"), &sharedStrings);
    relationshipTargets(m_workbookPart, QStringLiteral("/styles"), &styles);
    sharedStrings.append(folder + QStringLiteral("sharedStrings.xml"));
    styles.append(folder + QStringLiteral("styles.xml"));
    for (const QString& part : sharedStrings) {
        if (!entryFor(part).isEmpty()) {
            m_sharedStringsPart = entryFor(part);
            break;
        }
    }
    for (const QString& part : styles) {
        if (!entryFor(part).isEmpty()) {
            m_stylesFile = inflate(part, failure);
            if (m_stylesFile.isEmpty())
                return false;
            break;
        }
    }

    XmlDocument workbook(m_workbookFile, XmlDocument::Names::Local);
    const QList<xmlNodePtr> sheets = workbook.select("//sheet");
    for (qsizetype i = 0; i < sheets.size(); ++i) {
        m_sheetNames.append(XmlDocument::attribute(sheets.at(i), "name"));
        // The relationship decides; the numbered name only serves packages without one.
        const QString id = XmlDocument::attribute(sheets.at(i), "id");
        QString part = targets.value(id);
        if (id.isEmpty() || !targets.contains(id))
            part = folder + QStringLiteral("worksheets/sheet%1.xml").arg(i + 1);
        m_sheetParts.append(entryFor(part).isEmpty() ? QString() : part);
    }
    return true;
}

QString XlsxPackage::sheetPartName(int sheetNumber) const {
    if (sheetNumber < 1 || sheetNumber > m_sheetParts.size())
        return {};
    return m_sheetParts.at(sheetNumber - 1);
}

std::unique_ptr<ZipEntryStream> XlsxPackage::openSharedStrings() {
    if (m_sharedStringsPart.isEmpty())
        return nullptr;
    return std::make_unique<ZipEntryStream>(m_archive, m_sharedStringsPart, m_tally, m_limits);
}

std::unique_ptr<ZipEntryStream> XlsxPackage::openSheet(int sheetNumber, QString& failure, bool forScan) {
    failure.clear();
    const QString part = sheetPartName(sheetNumber);
    if (part.isEmpty()) {
        failure = QStringLiteral("The workbook has no data for this sheet.");
        return nullptr;
    }
    m_scanTally = m_tally;
    auto stream = std::make_unique<ZipEntryStream>(m_archive, entryFor(part), forScan ? m_scanTally : m_tally,
                                                   m_limits);
    if (!stream->isOpen()) {
        failure = notAWorkbookMessage();
        return nullptr;
    }
    return stream;
}
