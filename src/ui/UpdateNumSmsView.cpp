#include "UpdateNumSmsView.h"

#include "core/AppState.h"
#include "text/NumberRules.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

UpdateNumSmsView::UpdateNumSmsView(Update_Num_SMS& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout();
    auto* number = new QLineEdit(this);
    number->setMaxLength(kMaxNumberLength);
    auto* message = new QPlainTextEdit(this);
    auto* counter = new QLabel(this);
    form->addRow(QStringLiteral("Number:"), number);
    form->addRow(QStringLiteral("Message:"), message);
    form->addRow(QString(), counter);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    resize(460, 320);

    auto sync = [=, this] {
        if (number->text() != m_controller.number()) {
            const QSignalBlocker block(number);
            number->setText(m_controller.number());
        }
        if (message->toPlainText() != m_controller.message()) {
            const QSignalBlocker block(message);
            message->setPlainText(m_controller.message());
        }
        counter->setText(m_controller.characterCounterText() + QStringLiteral("  (") +
                         m_controller.messageCostText() + QLatin1Char(')'));
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(number, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_controller.setNumber(text); });
    connect(message, &QPlainTextEdit::textChanged, this,
            [this, message] { m_controller.setMessage(message->toPlainText()); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
