#pragma once
// The "Send later..." dialog, and "Change time..." of a scheduled campaign: a date and time in
// the computer's zone, when the campaign is to be sent. A time already past is refused.
#include "core/DialogController.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <utility>

class Operator;

class SendLater : public DialogController {
    Q_OBJECT
public:
    // startAt: the time shown first (ms since the epoch); 0: the next full hour from now.
    SendLater(Operator& op, QString title, qint64 startAt = 0, QObject* parent = nullptr);

    QString title() const { return m_title; }
    // The chosen time, local.
    QDateTime startAt() const { return m_startAt; }
    qint64 startAtMs() const { return m_startAt.toMSecsSinceEpoch(); }
    void setStartAt(const QDateTime& local);

    // Ends with 1 once the time is later than now; a past one is told and the dialog stays.
    void OKPressed();
    void CancelPressed() { endModal(0); }

    // The full hour after nowMs, local.
    static QDateTime nextFullHour(qint64 nowMs);
    // How the windows write a scheduled time: local, to the minute.
    static QString timeText(qint64 msSinceEpoch);

private:
    Operator& m_op;
    const QString m_title;
    QDateTime m_startAt;
};

class DataFolder;
struct RunSettings;

// Send later of a main window whose checks passed: asks the time (SendLater), then keeps the
// rows (number, message) and the settings as a campaign of the folder's store that waits for
// it, and tells the operator. Its id; 0 when the operator cancelled or the store refused (told).
qint64 scheduleCampaign(Operator& op, const DataFolder& folder, const RunSettings& settings,
                        const QList<std::pair<QString, QString>>& rows);
