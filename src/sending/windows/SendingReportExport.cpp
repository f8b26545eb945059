#include "SendingReportExport.h"

#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "stores/ExportFile.h"
#include "stores/windows/ExportDialogs.h"

void exportSendingReport(Operator& op, const QList<ReportItem>& items,
                         const std::function<void(bool)>& pleaseWait) {
    if (items.isEmpty()) {
        op.Show_MessageBox(QStringLiteral("Sent items list is empty."));
        return;
    }
    QStringList statuses;
    for (const ReportItem& item : items)
        statuses << item.status;
    const std::optional<StatusExportChoice> choice = askStatusExport(op, statuses);
    if (!choice)
        return;
    const ExportFormat format = choice->target.format;
    const QString& path = choice->target.path;
    QList<ReportItem> report;
    for (const ReportItem& item : items)
        if (statusPassesFilter(item.status, choice->group))
            report.append(item);
    pleaseWait(true);
    QString why;
    const bool written = Guard::run(
        "Export_Item_Function", [&] { return writeSendingReport(path, format, report, &why); }, false);
    pleaseWait(false);
    if (!written) {
        op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(op, path);
}
