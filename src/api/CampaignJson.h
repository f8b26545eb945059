#pragma once
// Campaigns and their items as the API shows them, and the items read a page at a time.
#include "campaigns/ItemFate.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

class CampaignStore;
struct CampaignSummary;

QJsonObject campaignJson(const CampaignSummary& c);

bool isApiItemState(const QString& state);

struct ItemPage {
    QJsonArray items;
    qint64 next = 0; // the cursor ("after") of the next page; 0 when this was the last
};
// The items after position `after` in the list's order, at most limit, only those in state
// when it is not "". A page may be short (even empty) and still have a next one when few items
// match: it stops after reading a bounded number of items.
std::optional<ItemPage> itemPage(CampaignStore& store, qint64 campaign, const QString& state, qint64 after,
                                 int limit, QString* error);
