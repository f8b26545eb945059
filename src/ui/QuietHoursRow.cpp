#include "QuietHoursRow.h"

#include "list/windows/BulkSmsWindow.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QTime>
#include <QTimeEdit>

namespace {
QTimeEdit* hourEdit(QWidget* parent, const QString& name) {
    auto* edit = new QTimeEdit(parent);
    edit->setObjectName(name);
    edit->setDisplayFormat(QStringLiteral("HH:mm")); // 24-hour, whatever the locale says
    return edit;
}

int minuteOf(const QTime& time) { return time.hour() * 60 + time.minute(); }
QTime timeOf(int minute) { return QTime(minute / 60, minute % 60); }
} // namespace

QuietHoursRow::QuietHoursRow(BulkSmsWindow& window, QWidget* parent) : QWidget(parent), m_window(window) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_on = new QCheckBox(QStringLiteral("Only between"), this);
    m_on->setObjectName(QStringLiteral("quietHoursCheck"));
    m_on->setToolTip(QStringLiteral("Messages go only while it is between these hours where each recipient "
                                    "is (by the number's country and area); the others wait for their "
                                    "morning while the run goes on."));
    m_from = hourEdit(this, QStringLiteral("quietFromEdit"));
    m_to = hourEdit(this, QStringLiteral("quietToEdit"));
    layout->addWidget(m_on);
    layout->addWidget(m_from);
    layout->addWidget(new QLabel(QStringLiteral("and"), this));
    layout->addWidget(m_to);
    layout->addWidget(new QLabel(QStringLiteral("of each recipient's clock"), this), 1);

    connect(m_on, &QCheckBox::toggled, this, [this](bool on) { m_window.setQuietHours(on); });
    connect(m_from, &QTimeEdit::timeChanged, this, [this](QTime t) { m_window.setQuietFrom(minuteOf(t)); });
    connect(m_to, &QTimeEdit::timeChanged, this, [this](QTime t) { m_window.setQuietTo(minuteOf(t)); });
    connect(&m_window, &MainWindowController::changed, this, &QuietHoursRow::refresh);
    refresh();
}

void QuietHoursRow::focusHours() {
    (m_window.quietHours() ? m_from : static_cast<QWidget*>(m_on))->setFocus();
}

void QuietHoursRow::refresh() {
    const QSignalBlocker b1(m_on), b2(m_from), b3(m_to);
    m_on->setChecked(m_window.quietHours());
    m_from->setTime(timeOf(m_window.quietFrom()));
    m_to->setTime(timeOf(m_window.quietTo()));
    m_from->setEnabled(m_window.quietHours());
    m_to->setEnabled(m_window.quietHours());
}
