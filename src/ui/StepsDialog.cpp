#include "StepsDialog.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

StepsDialog::StepsDialog(const QString& heading, const QStringList& steps, Actions actions, QWidget* parent)
    : QDialog(parent), m_actions(std::move(actions)) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);

    auto* title = new QLabel(heading, this);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);

    for (int i = 0; i < steps.size(); ++i) {
        auto* step = new QLabel(QStringLiteral("%1.  %2").arg(i + 1).arg(steps.at(i)), this);
        step->setWordWrap(true);
        layout->addWidget(step);
    }
    m_extraArea = new QVBoxLayout();
    layout->addLayout(m_extraArea);
    layout->addStretch();

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* back = buttons->addButton(QStringLiteral("Back"), QDialogButtonBox::ResetRole);
    QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    QPushButton* proceed = buttons->addButton(QStringLiteral("Continue"), QDialogButtonBox::AcceptRole);
    proceed->setDefault(true);
    connect(back, &QPushButton::clicked, this, [this] { m_actions.back(); });
    connect(cancel, &QPushButton::clicked, this, [this] { m_actions.cancel(); });
    connect(proceed, &QPushButton::clicked, this, [this] { m_actions.proceed(); });
    layout->addWidget(buttons);
    setMinimumWidth(520);
}

void StepsDialog::reject() { m_actions.back(); }
