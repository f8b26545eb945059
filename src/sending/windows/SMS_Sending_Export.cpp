// The Export button of a finished run: the report of its items as text, HTML or workbook.
#include "SMS_Sending.h"

#include "SendingReportExport.h"
#include "core/MainThread.h"

void SMS_Sending::Export_Btn() {
    MainThread::post([this] { Export_Item_Function(); });
}

void SMS_Sending::Export_Item_Function() {
    QList<ReportItem> report;
    for (const SendingItem& item : items())
        report.append({item.number, item.message, item.currentStatus, item.status});
    exportSendingReport(m_op, report, [this](bool shown) {
        m_pleaseWait = shown;
        emit changed();
    });
}
