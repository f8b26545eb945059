#include "MainWindowView.h"

#include "core/MainWindowController.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

MainWindowView::MainWindowView(MainWindowController& controller, QWidget* parent)
    : QMainWindow(parent), m_controller(controller) {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    m_deviceBar = new QHBoxLayout();
    auto* deviceLabel = new QLabel(QStringLiteral("Device:"), central);
    m_caption = new QPushButton(central);
    m_caption->setFlat(true);
    m_caption->setObjectName(QStringLiteral("_Device_Name_Ticker"));
    QFont bold = m_caption->font();
    bold.setBold(true);
    m_caption->setFont(bold);
    m_noDeviceNotice = new QPushButton(QStringLiteral("Click here to connect a device"), central);
    m_noDeviceNotice->setObjectName(QStringLiteral("_NO_Device_Ticker"));
    m_noDeviceNotice->setFlat(true);
    m_noDeviceNotice->setStyleSheet(QStringLiteral("color: #b00020; text-decoration: underline;"));
    m_noDeviceNotice->setCursor(Qt::PointingHandCursor);
    m_devices = new QComboBox(central);
    m_devices->setObjectName(QStringLiteral("_cb_ports_ComboBox"));
    m_devices->setEditable(false);
    m_devices->setMinimumWidth(220);
    m_deviceBar->addWidget(deviceLabel);
    m_deviceBar->addWidget(m_caption);
    m_deviceBar->addWidget(m_noDeviceNotice);
    m_deviceBar->addStretch();
    m_deviceBar->addWidget(m_devices);
    layout->addLayout(m_deviceBar);

    auto* rule = new QFrame(central);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);
    layout->addWidget(rule);

    m_content = new QVBoxLayout();
    layout->addLayout(m_content, 1);

    m_bottomBar = new QHBoxLayout();
    m_bottomBar->addStretch();
    auto* exitButton = new QPushButton(QStringLiteral("Exit"), central);
    m_bottomBar->addWidget(exitButton);
    layout->addLayout(m_bottomBar);

    setCentralWidget(central);
    resize(960, 680);

    connect(m_noDeviceNotice, &QPushButton::clicked, this, [this] { m_controller.connectDevice(); });
    connect(m_devices, &QComboBox::currentIndexChanged, this,
            [this](int index) { m_controller.setDeviceChoiceIndex(index); });
    connect(exitButton, &QPushButton::clicked, this, [this] { m_controller.Exit_App(); });
    connect(&m_controller, &MainWindowController::changed, this, &MainWindowView::refresh);
    refresh();
}

void MainWindowView::refresh() {
    setWindowTitle(m_controller.title());
    m_caption->setText(m_controller.deviceCaption());
    m_noDeviceNotice->setVisible(m_controller.noDeviceNoticeVisible());
    {
        const QSignalBlocker block(m_devices);
        if (m_devices->count() != m_controller.deviceChoices().size() || [&] {
                for (int i = 0; i < m_devices->count(); ++i)
                    if (m_devices->itemText(i) != m_controller.deviceChoices().at(i))
                        return true;
                return false;
            }()) {
            m_devices->clear();
            m_devices->addItems(m_controller.deviceChoices());
        }
        m_devices->setCurrentIndex(m_controller.deviceChoiceIndex());
    }
    if (m_controller.isVisible() && !isVisible()) {
        show();
        raise();
        activateWindow();
    } else if (!m_controller.isVisible() && isVisible()) {
        hide();
    }
}

void MainWindowView::closeEvent(QCloseEvent* event) {
    // Closing is never final by itself: the exit question decides.
    event->ignore();
    m_controller.Exit_App();
}
