#include "StatusExportOptionView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

StatusExportOptionView::StatusExportOptionView(Status_Export_Option& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Export which items?"), this));
    auto* all = new QRadioButton(QStringLiteral("All items"), this);
    auto* sent = new QRadioButton(QStringLiteral("Sent items only"), this);
    auto* notSent = new QRadioButton(QStringLiteral("Items not sent only"), this);
    all->setObjectName(QStringLiteral("_export_Al"));
    sent->setObjectName(QStringLiteral("_export_Sent"));
    notSent->setObjectName(QStringLiteral("_export_Not_Sent"));
    for (QRadioButton* r : {all, sent, notSent})
        layout->addWidget(r);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    auto sync = [this, all, sent, notSent] {
        all->setChecked(m_controller.choice() == 0);
        sent->setChecked(m_controller.choice() == 1);
        notSent->setChecked(m_controller.choice() == 2);
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(all, &QRadioButton::clicked, this, [this] { m_controller.Export_All_RD(); });
    connect(sent, &QRadioButton::clicked, this, [this] { m_controller.Export_Sent_RD(); });
    connect(notSent, &QRadioButton::clicked, this, [this] { m_controller.Export_Not_Sent_RD(); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
