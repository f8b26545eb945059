#include "SendMsgInfoView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

SendMsgInfoView::SendMsgInfoView(Send_Msg_Info& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    using Choice = Send_Msg_Info::Choice;
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    auto* question =
        new QLabel(QStringLiteral("The message in the composer has not been applied to the list.\n"
                                  "Apply it before sending?"),
                   this);
    layout->addWidget(question);
    auto* all = new QRadioButton(QStringLiteral("Apply to all numbers"), this);
    auto* blank = new QRadioButton(QStringLiteral("Apply to numbers without a message"), this);
    layout->addWidget(all);
    layout->addWidget(blank);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    QPushButton* proceed = buttons->addButton(QStringLiteral("Continue"), QDialogButtonBox::ActionRole);
    QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    proceed->setToolTip(QStringLiteral("Send the list as it is"));
    ok->setDefault(true);
    layout->addWidget(buttons);

    auto sync = [this, all, blank] {
        all->setChecked(m_controller.choice() == Choice::All);
        blank->setChecked(m_controller.choice() == Choice::Blank);
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(all, &QRadioButton::clicked, this, [this] { m_controller.setChoice(Choice::All); });
    connect(blank, &QRadioButton::clicked, this, [this] { m_controller.setChoice(Choice::Blank); });
    connect(ok, &QPushButton::clicked, this, [this] { m_controller.OKPressed(); });
    connect(proceed, &QPushButton::clicked, this, [this] { m_controller.ContinuePressed(); });
    connect(cancel, &QPushButton::clicked, this, [this] { m_controller.CancelPressed(); });
}
