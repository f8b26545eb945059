#include "SendLaterButton.h"

#include "list/NumberLoader.h"
#include "list/windows/BulkSmsWindow.h"
#include "sending/windows/ScheduledSend.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

void addSendLater(QHBoxLayout* bar, int at, QWidget* owner, BulkSmsWindow& window, ScheduledSend& schedule,
                  const std::function<void()>& pressed) {
    auto* later = new QPushButton(QStringLiteral("Send later..."), owner);
    later->setObjectName(QStringLiteral("Send_Later_Btn"));
    bar->insertWidget(at, later);
    QObject::connect(later, &QPushButton::clicked, owner, pressed);
    QObject::connect(&NumberLoader::of(window), &NumberLoader::loadingChanged, later,
                     &QPushButton::setDisabled);
    auto* status = new QLabel(owner);
    status->setObjectName(QStringLiteral("scheduledStatus"));
    bar->insertWidget(at + 1, status);
    const auto show = [status, &schedule] {
        status->setText(schedule.statusLine());
        status->setVisible(!status->text().isEmpty());
    };
    QObject::connect(&schedule, &ScheduledSend::changed, status, show);
    show();
}
