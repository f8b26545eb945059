#include "RunReport.h"

#include "ConsoleOutput.h"
#include "core/RecordTable.h"
#include "sending/windows/SMS_Sending.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

bool leftOutOnPurpose(const SendingItem& item) { return item.status == kSkipped || item.status == kExcluded; }

// The item's delivery as a script reads it: its state, "none" for a message that did not go
// out, or "not requested".
QString deliveryOf(const SendingItem& item, bool requested) {
    if (!requested)
        return QStringLiteral("not requested");
    return item.delivery.isEmpty() ? QStringLiteral("none") : item.delivery;
}

} // namespace

RunReport::RunReport(SMS_Sending& job, Format format, QObject* parent)
    : QObject(parent), m_job(job), m_format(format) {
    // The table changes on this thread as each item moves on; a final status is printed once.
    connect(&job.itemTable(), &RecordTable::rowChanged, this, [this](int row) { printItem(row); });
}

void RunReport::printItem(int index, bool runEnded) {
    if (m_printed.contains(index))
        return;
    const SendingItem item = m_job.items().at(index);
    // An item whose report was asked for is printed once the report came (or the run ended).
    if (item.status.isEmpty() || (item.delivery == kDeliveryPending && !runEnded))
        return;
    m_printed.insert(index);
    if (m_format == Format::Lines) {
        QString line = QStringLiteral("%1\t%2\t%3").arg(item.number, item.usePort, item.status);
        if (m_job.deliveryReportsRequested())
            line += QLatin1Char('\t') + item.delivery;
        printOut(line);
        return;
    }
    QJsonArray references;
    for (int reference : item.references)
        references.append(reference);
    const QJsonObject line{
        {"time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
        {"number", item.number},
        {"port", item.usePort},
        {"status", item.status},
        {"sent", item.delivered()},
        {"references", references},
        {"attempts", item.attempts},
        {"delivery", deliveryOf(item, m_job.deliveryReportsRequested())},
    };
    printOut(QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
}

void RunReport::finish() {
    const QList<SendingItem> items = m_job.items().all();
    for (int i = 0; i < items.size(); ++i)
        printItem(i, true);
    const QMap<QString, QString> ports = m_job.portStatuses();
    for (auto it = ports.cbegin(); it != ports.cend(); ++it)
        printErr(it.key() + QStringLiteral(": ") + it.value());
    if (m_format == Format::Json)
        return; // a script reads the lines; the summary would not be JSON
    int sendable = 0, sent = 0;
    for (const SendingItem& item : items) {
        sendable += !leftOutOnPurpose(item);
        sent += item.delivered();
    }
    if (!m_job.unicodeSummary().isEmpty())
        printOut(m_job.unicodeSummary());
    printOut(QStringLiteral("%1 of %2 recipients sent.").arg(sent).arg(sendable));
}

int RunReport::exitStatus() const {
    if (!m_job.dataFailure().isEmpty())
        return kExitDataNotWritten;
    int sendable = 0, sent = 0;
    for (const SendingItem& item : m_job.items().all()) {
        sendable += !leftOutOnPurpose(item);
        sent += item.delivered();
    }
    if (sent == sendable)
        return 0;
    return sent == 0 ? kNothingSent : kSomeFailed;
}
