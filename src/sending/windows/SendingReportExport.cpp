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
    Status_Export_Option filter(op, [&items] {
        QStringList statuses;
        for (const ReportItem& item : items)
            statuses << item.status;
        return statuses;
    });
    if (op.runModal(filter) == 0 || filter.Status_EXPORT_MODE() == 3)
        return;
    Export_Option format;
    if (op.runModal(format) == 0)
        return;
    const auto chosen = static_cast<ExportFormat>(format.SENT_EXPORT_MODE());
    const QString path = chooseReportPath(op, chosen);
    if (path.isEmpty())
        return;
    const int group = filter.Status_EXPORT_MODE();
    QList<ReportItem> report;
    for (const ReportItem& item : items)
        if (statusPassesFilter(item.status, group))
            report.append(item);
    pleaseWait(true);
    QString why;
    const bool written = Guard::run(
        "Export_Item_Function", [&] { return writeSendingReport(path, chosen, report, &why); }, false);
    pleaseWait(false);
    if (!written) {
        op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(op, path);
}
