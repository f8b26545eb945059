#include "LoadNumInfoView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

LoadNumInfoView::LoadNumInfoView(Load_Num_Info& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(controller.questionText(), this));
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* yes = buttons->addButton(QDialogButtonBox::Yes);
    QPushButton* no = buttons->addButton(QDialogButtonBox::No);
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    yes->setDefault(true);
    layout->addWidget(buttons);
    connect(yes, &QPushButton::clicked, this, [this] { m_controller.YesPressed(); });
    connect(no, &QPushButton::clicked, this, [this] { m_controller.NoPressed(); });
    connect(cancel, &QPushButton::clicked, this, [this] { m_controller.CancelPressed(); });
}
