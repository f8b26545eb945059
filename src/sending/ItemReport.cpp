#include "ItemReport.h"

ReportItem reportItemOf(const SendingItem& item) {
    return {item.number,  item.message,  item.currentStatus, item.status,
            item.usePort, item.attempts, item.references,    item.delivery};
}

QList<ReportItem> itemReport(const QList<SendingItem>& items) {
    QList<ReportItem> report;
    report.reserve(items.size());
    for (const SendingItem& item : items)
        report.append(reportItemOf(item));
    return report;
}
