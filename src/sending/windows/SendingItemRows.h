#pragma once
// A run's items as its windows show them, GSM or Android: a row of the item table, and the lines
// of the report its Export writes (itemReport, shared with the command line).
#include "core/Record.h"
#include "sending/ItemReport.h"
#include "sending/SendingItems.h"

Record itemRecord(const SendingItem& item);
