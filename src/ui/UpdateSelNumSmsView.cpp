#include "UpdateSelNumSmsView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStringListModel>
#include <QVBoxLayout>

UpdateSelNumSmsView::UpdateSelNumSmsView(Update_Sel_Num_SMS& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    auto* total = new QLabel(this);
    auto* numbersModel = new QStringListModel(this);
    auto* numbers = new QListView(this);
    numbers->setModel(numbersModel);
    numbers->setUniformItemSizes(true);
    numbers->setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto* message = new QPlainTextEdit(this);
    message->setPlaceholderText(QStringLiteral("New message for the selected numbers"));
    auto* counter = new QLabel(this);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* apply = buttons->addButton(QStringLiteral("Apply"), QDialogButtonBox::AcceptRole);
    QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    layout->addWidget(total);
    layout->addWidget(numbers, 1);
    layout->addWidget(message, 1);
    layout->addWidget(counter);
    layout->addWidget(buttons);
    resize(420, 480);

    auto sync = [=, this] {
        total->setText(m_controller.totalLabel());
        if (numbersModel->rowCount() != m_controller.numbers().size())
            numbersModel->setStringList(m_controller.numbers());
        if (message->toPlainText() != m_controller.message()) {
            const QSignalBlocker block(message);
            message->setPlainText(m_controller.message()); // also drops the undo history
        }
        counter->setText(m_controller.characterCounterText() + QStringLiteral("  (") +
                         m_controller.messageCostText() + QLatin1Char(')'));
        apply->setEnabled(m_controller.buttonsEnabled());
        cancel->setEnabled(m_controller.buttonsEnabled());
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(message, &QPlainTextEdit::textChanged, this,
            [this, message] { m_controller.setMessage(message->toPlainText()); });
    connect(apply, &QPushButton::clicked, this, [this] { m_controller.ApplyPressed(); });
    connect(cancel, &QPushButton::clicked, this, [this] { m_controller.CancelPressed(); });
}

void UpdateSelNumSmsView::reject() {
    if (m_controller.buttonsEnabled())
        m_controller.CancelPressed();
}
