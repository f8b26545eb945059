#include "SendLaterView.h"

#include "core/AppState.h"

#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QTimeZone>
#include <QVBoxLayout>

SendLaterView::SendLaterView(SendLater& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("%1 - %2").arg(controller.title(), kApplicationName));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Send the messages on (this computer's time, %1):")
                                     .arg(QTimeZone::systemTimeZone().displayName(controller.startAt())),
                                 this));
    auto* when = new QDateTimeEdit(this);
    when->setObjectName(QStringLiteral("startAt"));
    when->setCalendarPopup(true);
    when->setDisplayFormat(QStringLiteral("yyyy-MM-dd HH:mm"));
    layout->addWidget(when);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    const auto sync = [this, when] {
        if (when->dateTime() != m_controller.startAt()) {
            const QSignalBlocker block(when);
            when->setDateTime(m_controller.startAt());
        }
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(when, &QDateTimeEdit::dateTimeChanged, this,
            [this](const QDateTime& chosen) { m_controller.setStartAt(chosen); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
