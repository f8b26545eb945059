#include "AndroidSendingProgressView.h"

#include "android/windows/AndroidSendingProgress.h"
#include "core/AppState.h"

#include <QFormLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

AndroidSendingProgressView::AndroidSendingProgressView(AndroidSendingProgress& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setObjectName(QStringLiteral("AndroidSendingProgress"));
    setWindowTitle(kApplicationName + QStringLiteral(" - Sending"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    m_status = new QLabel(this);
    layout->addWidget(m_status);
    auto* form = new QFormLayout();
    m_total = new QLabel(this);
    m_counter = new QLabel(this);
    m_current = new QLabel(this);
    form->addRow(QStringLiteral("Total messages:"), m_total);
    form->addRow(QStringLiteral("Progress:"), m_counter);
    form->addRow(QStringLiteral("Sending to:"), m_current);
    layout->addLayout(form);
    m_totalBar = new QProgressBar(this);
    m_busy = new QProgressBar(this);
    m_busy->setRange(0, 100);
    m_busy->setTextVisible(false);
    m_pause = new QLabel(this);
    layout->addWidget(m_totalBar);
    layout->addWidget(m_busy);
    layout->addWidget(m_pause);
    m_stop = new QPushButton(QStringLiteral("Stop"), this);
    layout->addWidget(m_stop, 0, Qt::AlignRight);
    resize(420, 240);
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_Btn(); });
    connect(&controller, &AndroidSendingProgress::changed, this, &AndroidSendingProgressView::refresh);
    refresh();
}

void AndroidSendingProgressView::refresh() {
    const AndroidSendingProgress::State& s = m_controller.state();
    m_status->setText(s.statusText);
    m_total->setText(s.totalText);
    m_counter->setText(s.counterText);
    m_current->setText(s.currentText);
    m_pause->setText(s.pauseText);
    m_pause->setVisible(!s.pauseText.isEmpty());
    m_totalBar->setVisible(!s.singleShot);
    m_totalBar->setRange(0, qMax(1, s.total));
    m_totalBar->setValue(s.done);
    m_busy->setValue(s.busy);
    m_stop->setEnabled(s.stopEnabled);
    m_stop->setVisible(!s.singleShot);
    if (s.visible && !isVisible())
        show();
    else if (!s.visible && isVisible())
        hide();
}
