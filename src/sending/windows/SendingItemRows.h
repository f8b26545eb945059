#pragma once
// A run's items as its windows show them, GSM or Android: a row of the item table, and the lines
// of the report its Export writes.
#include "core/Record.h"
#include "sending/SendingItems.h"
#include "stores/ExportFormats.h"

Record itemRecord(const SendingItem& item);
QList<ReportItem> itemReport(const QList<SendingItem>& items);
