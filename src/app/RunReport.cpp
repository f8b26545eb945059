#include "RunReport.h"

#include "ConsoleOutput.h"
#include "core/Counted.h"
#include "core/RecordTable.h"
#include "core/WallClock.h"
#include "sending/SendingRun.h"
#include "services/CampaignRun.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// The item's delivery as a script reads it: its state, "none" for a message that did not go
// out, or "not requested".
QString deliveryOf(const SendingItem& item, bool requested) {
    if (!requested)
        return QStringLiteral("not requested");
    return item.delivery.isEmpty() ? QStringLiteral("none") : item.delivery;
}

} // namespace

RunReport::RunReport(SendingRun& run, Format format, Scope scope, QObject* parent)
    : QObject(parent), m_run(run), m_format(format), m_scope(scope) {
    // Each item's changes reach this thread as it moves on; a final status is printed once.
    connect(&run, &SendingRun::itemChanged, this, [this](int index) {
        m_seen.insert(index);
        printItem(index);
    });
    connect(&run, &SendingRun::deviceNote, this,
            [this](const QString& device, const QString& note) { m_deviceNotes.insert(device, note); });
    connect(&run, &SendingRun::recipientsWaiting, this, [this](const QString& note) {
        if (note != std::exchange(m_waitNote, note) && !note.isEmpty())
            printErr(note[0].toUpper() + note.mid(1) + QLatin1Char('.'));
    });
    // Said at once: the run goes on, and a script's operator learns why no replies come.
    connect(&run, &SendingRun::deviceNotice, this, [](const QString& device, const QString& notice) {
        printErr(device + QStringLiteral(": ") + notice);
    });
}

void RunReport::printItem(int index, bool runEnded) {
    if (m_printed.contains(index))
        return;
    const SendingItem item = m_run.record().at(index);
    // An item whose report was asked for is printed once the report came (or the run ended).
    if (item.status.isEmpty() || (item.delivery == kDeliveryPending && !runEnded))
        return;
    m_printed.insert(index);
    if (m_format == Format::Lines) {
        QString line = QStringLiteral("%1\t%2\t%3").arg(item.number, item.usePort, item.status);
        if (m_run.settings().deliveryReports)
            line += QLatin1Char('\t') + item.delivery;
        printOut(line);
        return;
    }
    QJsonArray references;
    for (int reference : item.references)
        references.append(reference);
    const QJsonObject line{
        {"time", Clock::now().toString(Qt::ISODateWithMs)},
        {"number", item.number},
        {"port", item.usePort},
        {"status", item.status},
        {"sent", item.delivered()},
        {"references", references},
        {"attempts", item.attempts},
        {"delivery", deliveryOf(item, m_run.settings().deliveryReports)},
    };
    printOut(QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
}

QList<SendingItem> RunReport::reported() const {
    if (m_scope == Scope::Whole)
        return m_run.record().all();
    QList<SendingItem> items;
    for (int index : m_seen)
        items << m_run.record().at(index);
    return items;
}

void RunReport::finish() {
    const QList<SendingItem> items = reported();
    if (m_scope == Scope::Whole)
        for (int i = 0; i < items.size(); ++i)
            printItem(i, true);
    else
        for (int index : m_seen)
            printItem(index, true);
    for (auto it = m_deviceNotes.cbegin(); it != m_deviceNotes.cend(); ++it)
        printErr(it.key() + QStringLiteral(": ") + it.value());
    if (m_format == Format::Json)
        return; // a script reads the lines; the summary would not be JSON
    int sendable = 0, sent = 0;
    for (const SendingItem& item : items) {
        sendable += !leftOutOnPurpose(item.status);
        sent += item.delivered();
    }
    if (const QString unicode = unicodeSummary(m_run.sentAsUnicode()); !unicode.isEmpty())
        printOut(unicode);
    printOut(QStringLiteral("%1 of %2 sent.")
                 .arg(localNumber(sent),
                      counted(sendable, QStringLiteral("recipient"), QStringLiteral("recipients"))));
}

int RunReport::exitStatus() const {
    if (!m_run.dataFailure().isEmpty())
        return kExitDataNotWritten;
    int sendable = 0, sent = 0;
    for (const SendingItem& item : reported()) {
        sendable += !leftOutOnPurpose(item.status);
        sent += item.delivered();
    }
    if (sent == sendable)
        return 0;
    return sent == 0 ? kNothingSent : kSomeFailed;
}
