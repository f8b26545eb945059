#include "UpdateExNumView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

UpdateExNumView::UpdateExNumView(Update_Ex_Num& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Update Exclusion Number"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Phone number:"), this));
    auto* number = new QLineEdit(controller.number(), this);
    number->setMaxLength(20);
    layout->addWidget(number);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(number, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_controller.setNumber(text); });
    connect(number, &QLineEdit::returnPressed, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
