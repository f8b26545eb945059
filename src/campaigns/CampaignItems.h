#pragma once
// A campaign's items as its sending report shows them, read from the store.
#include "stores/ExportFormats.h"

#include <QList>

#include <optional>

class CampaignStore;

// Number, message, current status and status of each item, in the list's order; nothing (and
// error) when the store refused the read.
std::optional<QList<ReportItem>> campaignItems(CampaignStore& store, qint64 id, QString* error = nullptr);
