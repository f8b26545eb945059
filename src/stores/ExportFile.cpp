#include "ExportFile.h"

#include "core/FileUtils.h"
#include "core/Operator.h"
#include "sheets/SpreadsheetWriter.h"
#include "stores/windows/ExportDialogs.h"

#include <QFileInfo>

QString withExportExtension(const QString& path, const QString& extension) {
    if (QFileInfo(path).suffix().toLower() == extension)
        return path;
    return path + QLatin1Char('.') + extension;
}

QString chooseReportPath(Operator& op, ExportFormat format) {
    const QString extension = exportExtension(format);
    const QString chosen = op.chooseFileToSave({extension});
    if (chosen.isEmpty())
        return {};
    return withExportExtension(chosen, extension);
}

QString chooseListPath(Operator& op, ExportFormat& format) {
    const QString chosen = op.chooseFileToSave({QStringLiteral("xlsx"), QStringLiteral("txt")});
    if (chosen.isEmpty())
        return {};
    const bool workbook = QFileInfo(chosen).suffix().toLower() == QLatin1String("xlsx");
    format = workbook ? ExportFormat::Xlsx : ExportFormat::Text;
    return withExportExtension(chosen, exportExtension(format));
}

bool writeExportBytes(const QString& path, const QByteArray& bytes, QString* error) {
    return writeFileAtomically(path, bytes, error);
}

bool writeExportWorkbook(const QString& path, const SpreadsheetData& rows, QString* error) {
    return SpreadsheetWriter::WriteWorkbook(path, rows, false, error);
}

int offerToOpenExport(Operator& op, const QString& path) {
    Open_Export_Log dialog(op, path);
    return op.runModal(dialog);
}

bool writeSendingReport(const QString& path, ExportFormat format, const QList<ReportItem>& items,
                        QString* error) {
    switch (format) {
    case ExportFormat::Html: return writeExportBytes(path, sendingReportHtml(items), error);
    case ExportFormat::Xlsx: return writeExportWorkbook(path, sendingReportRows(items), error);
    case ExportFormat::Text: break;
    }
    return writeExportBytes(path, sendingReportText(items), error);
}

bool reportFormatOf(const QString& path, ExportFormat& format) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (ExportFormat f : {ExportFormat::Text, ExportFormat::Html, ExportFormat::Xlsx})
        if (suffix == exportExtension(f)) {
            format = f;
            return true;
        }
    return false;
}
