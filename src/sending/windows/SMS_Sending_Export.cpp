// The Export button of a finished run: the report of its items as text, HTML or workbook.
#include "SMS_Sending.h"

#include "SendingItemRows.h"
#include "SendingReportExport.h"
#include "core/MainThread.h"

void SMS_Sending::Export_Btn() {
    MainThread::post([this] { Export_Item_Function(); });
}

void SMS_Sending::Export_Item_Function() {
    exportSendingReport(m_op, itemReport(items()), [this](bool shown) {
        m_pleaseWait = shown;
        emit changed();
    });
}
