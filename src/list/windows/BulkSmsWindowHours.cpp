// The quiet hours of a main window: the daily window, by each recipient's own clock, that its
// runs send in.
#include "BulkSmsWindow.h"

#include "core/Operator.h"
#include "text/SendWindow.h"

#include <QJsonObject>
#include <QTime>

namespace {
const QString kQuietHours = QStringLiteral("quietHours");
const QString kQuietFrom = QStringLiteral("quietFrom");
const QString kQuietTo = QStringLiteral("quietTo");

QString hhmm(int minute) { return QTime(minute / 60, minute % 60).toString(QStringLiteral("HH:mm")); }

// A minute of the day from "HH:mm" as kept; nothing for anything else (the file is untrusted).
std::optional<int> minuteOf(const QJsonValue& value) {
    const QTime time = QTime::fromString(value.toString(), QStringLiteral("HH:mm"));
    if (!time.isValid())
        return std::nullopt;
    return time.hour() * 60 + time.minute();
}

int clampedMinute(int minute) { return qBound(0, minute, 24 * 60 - 1); }
} // namespace

void BulkSmsWindow::restoreQuietHours(const QJsonObject& kept) {
    const std::optional<int> from = minuteOf(kept.value(kQuietFrom));
    const std::optional<int> to = minuteOf(kept.value(kQuietTo));
    if (from && to) {
        m_quietFrom = *from;
        m_quietTo = *to;
    }
    m_quietHours = kept.value(kQuietHours).toBool() && from && to;
}

void BulkSmsWindow::keepQuietHours(QJsonObject& options) const {
    options.insert(kQuietHours, m_quietHours);
    options.insert(kQuietFrom, hhmm(m_quietFrom));
    options.insert(kQuietTo, hhmm(m_quietTo));
}

void BulkSmsWindow::setQuietHours(bool on) {
    if (on == m_quietHours)
        return;
    m_quietHours = on;
    keepOptions();
    emit changed();
}

void BulkSmsWindow::setQuietFrom(int minuteOfDay) {
    if (clampedMinute(minuteOfDay) == m_quietFrom)
        return;
    m_quietFrom = clampedMinute(minuteOfDay);
    keepOptions();
    emit changed();
}

void BulkSmsWindow::setQuietTo(int minuteOfDay) {
    if (clampedMinute(minuteOfDay) == m_quietTo)
        return;
    m_quietTo = clampedMinute(minuteOfDay);
    keepOptions();
    emit changed();
}

QString BulkSmsWindow::sendWindow() const {
    if (!m_quietHours)
        return {};
    const std::optional<SendWindow> window = SendWindow::parse(hhmm(m_quietFrom) + '-' + hhmm(m_quietTo));
    return window ? window->text() : QString();
}

bool BulkSmsWindow::Check_Quiet_Hours() {
    if (!m_quietHours)
        return true;
    QString why;
    if (SendWindow::parse(hhmm(m_quietFrom) + '-' + hhmm(m_quietTo), &why))
        return true;
    op().Show_MessageBox(QStringLiteral("The hours of 'Only between' make no window: %1.\n\nChoose two "
                                        "different times, or clear the box to send at any hour.")
                             .arg(why));
    requestFocus(Focus::QuietHours);
    return false;
}
