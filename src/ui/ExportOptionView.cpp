#include "ExportOptionView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

ExportOptionView::ExportOptionView(Export_Option& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Export as:"), this));
    auto* text = new QRadioButton(QStringLiteral("Text file (.txt)"), this);
    auto* html = new QRadioButton(QStringLiteral("Web page (.html)"), this);
    auto* xlsx = new QRadioButton(QStringLiteral("Excel workbook (.xlsx)"), this);
    text->setObjectName(QStringLiteral("_export_in_txt"));
    html->setObjectName(QStringLiteral("_export_in_html"));
    xlsx->setObjectName(QStringLiteral("_export_in_Xlsx"));
    for (QRadioButton* r : {text, html, xlsx})
        layout->addWidget(r);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    auto sync = [this, text, html, xlsx] {
        text->setChecked(m_controller.choice() == 0);
        html->setChecked(m_controller.choice() == 1);
        xlsx->setChecked(m_controller.choice() == 2);
    };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(text, &QRadioButton::clicked, this, [this] { m_controller.Export_In_Text_RD(); });
    connect(html, &QRadioButton::clicked, this, [this] { m_controller.Export_In_Html_RD(); });
    connect(xlsx, &QRadioButton::clicked, this, [this] { m_controller.Export_In_Xlsx_RD(); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
