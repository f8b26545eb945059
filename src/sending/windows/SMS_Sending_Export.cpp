// The Export button of a finished run: the report of its items as text, HTML or workbook.
#include "SMS_Sending.h"

#include "core/FileUtils.h"

#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "stores/ExportFile.h"
#include "stores/windows/ExportDialogs.h"

void SMS_Sending::Export_Btn() {
    MainThread::post([this] { Export_Item_Function(); });
}

void SMS_Sending::Export_Item_Function() {
    const QList<SendingItem> all = items();
    if (all.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Sent items list is empty."));
        return;
    }
    Status_Export_Option filter(m_op, [&all] {
        QStringList statuses;
        for (const SendingItem& item : all)
            statuses << item.status;
        return statuses;
    });
    if (m_op.runModal(filter) == 0 || filter.Status_EXPORT_MODE() == 3)
        return;
    Export_Option format;
    if (m_op.runModal(format) == 0)
        return;
    const auto chosen = static_cast<ExportFormat>(format.SENT_EXPORT_MODE());
    const QString path = chooseReportPath(m_op, chosen);
    if (path.isEmpty())
        return;
    const int group = filter.Status_EXPORT_MODE();
    QList<ReportItem> report;
    for (const SendingItem& item : all)
        if (statusPassesFilter(item.status, group))
            report.append({item.number, item.message, item.currentStatus, item.status});
    m_pleaseWait = true;
    emit changed();
    QString why;
    const bool written = Guard::run(
        "Export_Item_Function", [&] { return writeSendingReport(path, chosen, report, &why); }, false);
    m_pleaseWait = false;
    emit changed();
    if (!written) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(m_op, path);
}
