#pragma once
// A campaign's items as its sending report shows them, read from the store.
#include "stores/ExportFormats.h"

#include <QList>

#include <optional>

class CampaignStore;

// Each item as a run's report has it (number, message, statuses, device, attempts, references,
// delivery), in the list's order; nothing (and error) when the store refused the read.
std::optional<QList<ReportItem>> campaignItems(CampaignStore& store, qint64 id, QString* error = nullptr);
