#include "SendingItemRows.h"

#include "list/NumberList.h"

#include <algorithm>

Record itemRecord(const SendingItem& item) {
    return Record{{kNumberKey, item.number},
                  {kMessageKey, item.message},
                  {kItemPortKey, item.usePort},
                  {kItemUseStatusKey, useStatusText(item.useStatus)},
                  {kItemCurrentStatusKey, item.currentStatus},
                  {kItemStatusKey, item.status},
                  {kItemRetriesKey, QString::number(std::max(0, item.attempts - 1))},
                  {kItemDeliveryKey, item.delivery},
                  {kItemSentItemKey, "0"}};
}

QList<ReportItem> itemReport(const QList<SendingItem>& items) {
    QList<ReportItem> report;
    report.reserve(items.size());
    for (const SendingItem& item : items)
        report.append({item.number, item.message, item.currentStatus, item.status});
    return report;
}
