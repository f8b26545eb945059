#include "ConnectionInfoView.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ConnectionInfoView::ConnectionInfoView(Connection_Info& controller, QWidget* parent)
    : StepsDialog(controller.heading(), controller.steps(),
                  {[&controller] { controller.Back_Btn(); }, [&controller] { controller.Cancel_Btn(); },
                   [&controller] { controller.Continue_Btn(); }},
                  parent) {
    auto* helpButton = new QPushButton(QStringLiteral("The phone does not ask for permission?"), this);
    auto* help = new QLabel(controller.authorisationHelp(), this);
    help->setWordWrap(true);
    help->setVisible(controller.authorisationHelpShown());
    extraArea()->addWidget(helpButton, 0, Qt::AlignLeft);
    extraArea()->addWidget(help);
    connect(helpButton, &QPushButton::clicked, this, [&controller] { controller.Show_RSA_Help_Btn(); });
    connect(&controller, &DialogController::changed, help,
            [help, &controller] { help->setVisible(controller.authorisationHelpShown()); });
}
