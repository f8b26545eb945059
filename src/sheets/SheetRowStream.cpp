#include "SheetRowStream.h"

#include "ZipXmlReader.h"
#include "core/Log.h"

#include <cstring>

namespace {

bool named(const xmlChar* name, const char* expected) {
    return name && std::strcmp(reinterpret_cast<const char*>(name), expected) == 0;
}

void collectMerges(xmlTextReaderPtr r, QStringList& mergedRanges) {
    const xmlNode* merges = xmlTextReaderExpand(r);
    for (const xmlNode* m = merges ? merges->children : nullptr; m; m = m->next) {
        if (m->type != XML_ELEMENT_NODE || !named(m->name, "mergeCell"))
            continue;
        xmlChar* ref = xmlGetProp(m, reinterpret_cast<const xmlChar*>("ref"));
        if (ref)
            mergedRanges.append(QString::fromUtf8(reinterpret_cast<const char*>(ref)));
        xmlFree(ref);
    }
}

} // namespace

bool SheetRowStream::read(ZipEntryStream& input, const QString& partName, const RowVisitor& visitor,
                          QString* failure, QStringList* mergedRanges) {
    ZipXmlReader reader(input);
    const auto fail = [&](const QString& reason) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(reason, partName));
        if (failure)
            *failure = reason;
        return false;
    };
    if (!reader.isValid())
        return fail(reader.failure().isEmpty() ? QStringLiteral("cannot open the part") : reader.failure());

    xmlTextReaderPtr r = reader.get();
    bool isWorksheet = false, inSheetData = false, sheetDataDone = false, anyNode = false;
    int status = xmlTextReaderRead(r);
    while (status == 1) {
        anyNode = true;
        const int type = xmlTextReaderNodeType(r);
        const int depth = xmlTextReaderDepth(r);
        const xmlChar* name = xmlTextReaderConstLocalName(r);
        if (type == XML_READER_TYPE_ELEMENT) {
            if (depth == 0) {
                isWorksheet = named(name, "worksheet");
            } else if (depth == 1) {
                if (mergedRanges && isWorksheet && named(name, "mergeCells")) {
                    collectMerges(r, *mergedRanges);
                } else if (isWorksheet && !sheetDataDone && named(name, "sheetData")) {
                    inSheetData = !xmlTextReaderIsEmptyElement(r);
                    sheetDataDone = !inSheetData;
                    status = xmlTextReaderRead(r);
                    continue;
                }
                status = xmlTextReaderNext(r); // nothing else at this level is needed
                continue;
            } else if (depth == 2 && inSheetData && named(name, "row")) {
                const xmlNode* row = xmlTextReaderExpand(r);
                if (input.failed())
                    break;
                if (row && !visitor(row))
                    return true;
                status = xmlTextReaderNext(r);
                continue;
            } else {
                status = xmlTextReaderNext(r);
                continue;
            }
        } else if (type == XML_READER_TYPE_END_ELEMENT && depth == 1 && inSheetData) {
            inSheetData = false;
            sheetDataDone = true;
        }
        status = xmlTextReaderRead(r);
    }
    // Whatever follows the markup is read too, so that a damaged entry shows by its checksum.
    char rest[4096];
    while (!input.failed() && input.read(rest, sizeof rest) > 0) {
    }
    // An entry that broke off (damaged, over its budget) is no sheet: nothing of it counts.
    if (input.failed())
        return fail(input.error().description);
    if (status < 0 || !anyNode) {
        const QString reason = reader.failure().isEmpty() ? QStringLiteral("cannot parse") : reader.failure();
        if (!anyNode)
            return fail(reason);
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(reason, partName));
    }
    return true;
}
