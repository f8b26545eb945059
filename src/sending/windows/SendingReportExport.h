#pragma once
// The export of a sending report, as the finished job and the campaigns window offer it: which
// items (by status), which format, where; then the file is written and offered to open.
#include "stores/ExportFormats.h"

#include <QList>

#include <functional>

class Operator;

// pleaseWait(true) while the file is written, pleaseWait(false) after.
void exportSendingReport(Operator& op, const QList<ReportItem>& items,
                         const std::function<void(bool)>& pleaseWait);
