#pragma once
// A run's items as its report tells them, whoever writes it: the finished job's Export, the
// campaigns window and the command line.
#include "SendingItems.h"
#include "stores/ExportFormats.h"

#include <QList>

ReportItem reportItemOf(const SendingItem& item);
QList<ReportItem> itemReport(const QList<SendingItem>& items);
