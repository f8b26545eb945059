#include "ConnectionInfoView.h"

#include "UsbDebuggingPrompt.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ConnectionInfoView::ConnectionInfoView(Connection_Info& controller, QWidget* parent)
    : StepsDialog(controller.heading(), controller.steps(),
                  {[&controller] { controller.Back_Btn(); }, [&controller] { controller.Cancel_Btn(); },
                   [&controller] { controller.Continue_Btn(); }},
                  parent) {
    // The step buttons: each maker's help page, in the browser.
    extraArea()->addWidget(new QLabel(
        QStringLiteral("Your phone maker's help on the developer options (opens in the browser):"), this));
    auto* makers = new QHBoxLayout();
    const QList<Connection_Info::HelpPage>& pages = Connection_Info::helpPages();
    for (int i = 0; i < pages.size(); ++i) {
        auto* button = new QPushButton(pages.at(i).maker, this);
        button->setObjectName(QStringLiteral("helpPage%1").arg(i));
        button->setToolTip(pages.at(i).url);
        button->setAutoDefault(false);
        button->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed); // never cut
        connect(button, &QPushButton::clicked, this, [&controller, i] { controller.Open_Help_Page(i); });
        makers->addWidget(button);
    }
    makers->addStretch();
    extraArea()->addLayout(makers);

    // The phone's authorisation prompt, on request.
    auto* helpButton = new QPushButton(controller.authorisationHelpButtonText(), this);
    helpButton->setObjectName(QStringLiteral("authorisationHelp"));
    helpButton->setAutoDefault(false);
    auto* picture = new UsbDebuggingPrompt(Connection_Info::authorisationPrompt(), this);
    auto* help = new QLabel(controller.authorisationHelp(), this);
    help->setWordWrap(true);
    help->setTextFormat(Qt::PlainText);
    auto* shown = new QWidget(this);
    shown->setObjectName(QStringLiteral("authorisationPicture"));
    auto* shownLayout = new QHBoxLayout(shown);
    shownLayout->setContentsMargins(0, 0, 0, 0);
    shownLayout->addWidget(picture, 0, Qt::AlignTop);
    shownLayout->addWidget(help, 1, Qt::AlignVCenter);
    // The wrapped text beside it would let the layout squeeze the picture: it keeps its height.
    shown->setMinimumHeight(picture->sizeHint().height());
    extraArea()->addWidget(helpButton, 0, Qt::AlignLeft);
    extraArea()->addWidget(shown);

    const auto follow = [this, helpButton, shown, &controller] {
        helpButton->setText(controller.authorisationHelpButtonText());
        shown->setVisible(controller.authorisationHelpShown());
        // The window fits what it holds now; its wrapped texts need their height at its width.
        layout()->activate();
        adjustSize();
        const int needed = layout()->totalHeightForWidth(width());
        if (height() < needed)
            resize(width(), needed);
    };
    shown->setVisible(controller.authorisationHelpShown());
    connect(helpButton, &QPushButton::clicked, this, [&controller] { controller.Show_RSA_Help_Btn(); });
    connect(&controller, &DialogController::changed, this, follow);
}
