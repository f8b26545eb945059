#include "FillMsgInListView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

FillMsgInListView::FillMsgInListView(Fill_Msg_In_List& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    using Choice = Fill_Msg_In_List::Choice;
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Apply the composed message to:"), this));
    auto* all = new QRadioButton(QStringLiteral("All numbers in the list"), this);
    auto* selected = new QRadioButton(QStringLiteral("Selected numbers only"), this);
    auto* blank = new QRadioButton(QStringLiteral("Numbers without a message"), this);
    for (QRadioButton* r : {all, selected, blank})
        layout->addWidget(r);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    auto sync = [this, all, selected, blank] {
        all->setChecked(m_controller.choice() == Choice::All);
        selected->setChecked(m_controller.choice() == Choice::Selected);
        blank->setChecked(m_controller.choice() == Choice::Blank);
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(all, &QRadioButton::clicked, this, [this] { m_controller.setChoice(Choice::All); });
    connect(selected, &QRadioButton::clicked, this, [this] { m_controller.setChoice(Choice::Selected); });
    connect(blank, &QRadioButton::clicked, this, [this] { m_controller.setChoice(Choice::Blank); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
