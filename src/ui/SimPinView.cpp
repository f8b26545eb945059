#include "SimPinView.h"

#include "core/AppState.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

SimPinView::SimPinView(SimPinDialog& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    setMinimumWidth(400);
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(controller.heading(), this);
    heading->setWordWrap(true);
    layout->addWidget(heading);
    m_reason = new QLabel(this);
    m_reason->setObjectName(QStringLiteral("_simPinReason"));
    m_reason->setWordWrap(true);
    m_reason->setStyleSheet(QStringLiteral("color: #b00020;"));
    layout->addWidget(m_reason);
    m_pin = new QLineEdit(this);
    m_pin->setObjectName(QStringLiteral("_simPinEdit"));
    m_pin->setEchoMode(QLineEdit::Password); // over a shoulder, a PIN is as good as the SIM
    m_pin->setMaxLength(8);
    m_pin->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{0,8}")), m_pin));
    m_pin->setPlaceholderText(QStringLiteral("PIN (4 to 8 digits)"));
    layout->addWidget(m_pin);
    m_remember = new QCheckBox(QStringLiteral("Remember this PIN"), this);
    m_remember->setObjectName(QStringLiteral("_simPinRemember"));
    m_remember->setToolTip(
        QStringLiteral("Kept in the desktop's keyring for this SIM and tried without asking."));
    layout->addWidget(m_remember);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    connect(m_pin, &QLineEdit::textChanged, this, [this](const QString& text) { m_controller.setPin(text); });
    connect(m_remember, &QCheckBox::toggled, this, [this](bool on) { m_controller.setRemember(on); });
    connect(&controller, &DialogController::changed, this, &SimPinView::refresh);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
    refresh();
}

void SimPinView::refresh() {
    m_reason->setText(m_controller.reason());
    m_reason->setVisible(!m_controller.reason().isEmpty());
    m_remember->setChecked(m_controller.remember());
}
