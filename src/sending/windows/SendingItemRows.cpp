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
