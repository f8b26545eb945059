#include "MobileSelView.h"

#include "UiHelpers.h"
#include "core/AppState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
QPushButton* choiceButton(const QString& title, const QString& detail, QWidget* parent) {
    auto* button = new QPushButton(title + QStringLiteral("\n") + detail, parent);
    button->setMinimumSize(220, 90);
    QFont font = button->font();
    font.setPointSizeF(font.pointSizeF() * 1.15);
    button->setFont(font);
    return button;
}
} // namespace

MobileSelView::MobileSelView(Mobile_Sel_Wnd& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    auto* question =
        new QLabel(QStringLiteral("Which kind of device do you want to send messages with?"), this);
    QFont font = question->font();
    font.setBold(true);
    question->setFont(font);
    layout->addWidget(question);

    auto* choices = new QHBoxLayout();
    QPushButton* gsm = choiceButton(QStringLiteral("GSM Modem"),
                                    QStringLiteral("USB modem or phone with AT commands"), this);
    QPushButton* android =
        choiceButton(QStringLiteral("Android Phone"), QStringLiteral("phone with USB debugging"), this);
    choices->addWidget(gsm);
    choices->addWidget(android);
    layout->addLayout(choices);

    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    layout->addWidget(cancel, 0, Qt::AlignRight);

    connect(gsm, &QPushButton::clicked, this, [this] { m_controller.GSM_Btn(); });
    connect(android, &QPushButton::clicked, this, [this] { m_controller.Android_Btn(); });
    connect(cancel, &QPushButton::clicked, this, [this] { m_controller.Cancel_Btn(); });
    // Once a kind is chosen the chooser gives way to that window and its search, and comes
    // back only when the operator is to choose again.
    connect(&m_controller, &Mobile_Sel_Wnd::changed, this, [this] {
        const bool aside = !m_controller.panelVisible();
        setProperty(kSteppedAside, aside);
        if (aside && isVisible()) {
            setProperty(kTimesSteppedAside, property(kTimesSteppedAside).toInt() + 1);
            hide();
        }
    });
}

void MobileSelView::reject() { m_controller.Cancel_Btn(); }
