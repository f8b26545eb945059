#include "SendLater.h"

#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "core/FileUtils.h"
#include "core/Operator.h"
#include "core/WallClock.h"
#include "sending/SendingRun.h"

SendLater::SendLater(Operator& op, QString title, qint64 startAt, QObject* parent)
    : DialogController(parent), m_op(op), m_title(std::move(title)),
      m_startAt(startAt > 0 ? QDateTime::fromMSecsSinceEpoch(startAt).toLocalTime()
                            : nextFullHour(Clock::nowMs())) {}

void SendLater::setStartAt(const QDateTime& local) {
    // Minutes are what the dialog shows: seconds left over would move the time unseen.
    const QDateTime toMinute = local.toLocalTime();
    m_startAt = QDateTime(toMinute.date(), QTime(toMinute.time().hour(), toMinute.time().minute()));
    emit changed();
}

void SendLater::OKPressed() {
    if (!m_startAt.isValid() || m_startAt.toMSecsSinceEpoch() <= Clock::nowMs()) {
        m_op.Show_MessageBox(QStringLiteral("%1 has already passed. Please choose a later time.")
                                 .arg(timeText(m_startAt.toMSecsSinceEpoch())));
        return;
    }
    endModal(1);
}

QDateTime SendLater::nextFullHour(qint64 nowMs) {
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(nowMs).toLocalTime();
    return QDateTime(now.date(), QTime(now.time().hour(), 0)).addSecs(3600);
}

QString SendLater::timeText(qint64 msSinceEpoch) {
    return QDateTime::fromMSecsSinceEpoch(msSinceEpoch)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

qint64 scheduleCampaign(Operator& op, const DataFolder& folder, const RunSettings& settings,
                        const QList<std::pair<QString, QString>>& rows) {
    SendLater dialog(op, QStringLiteral("Send later"));
    if (op.runModal(dialog) != 1)
        return 0;
    // Those the options leave out (excluded, duplicates) are finished now, as a Send would.
    const QList<SendingItem> items = loadItems(rows, settings, {});
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    const qint64 id =
        store ? createCampaign(*store,
                               {CampaignStore::folderKey(folder), settings.road, optionsOf(settings),
                                QStringLiteral("queued"), 0, dialog.startAtMs()},
                               items, &why)
              : 0;
    if (id == 0) {
        op.Show_MessageBox(errorInFileAccessing(why));
        return 0;
    }
    op.Show_MessageBox(
        QStringLiteral("Campaign %1 is scheduled for %2. This window sends it then through the "
                       "devices selected here while the program is open; a running bulksms "
                       "worker sends it too.")
            .arg(id)
            .arg(SendLater::timeText(dialog.startAtMs())));
    return id;
}
