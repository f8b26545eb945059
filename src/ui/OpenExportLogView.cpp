#include "OpenExportLogView.h"

#include "core/AppState.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

OpenExportLogView::OpenExportLogView(Open_Export_Log& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(
        QStringLiteral("The file has been exported:\n%1").arg(controller.Export_File_Path()), this);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(label);
    auto* open = new QCheckBox(QStringLiteral("Open the exported file"), this);
    open->setObjectName(QStringLiteral("_open_log_chk"));
    layout->addWidget(open);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    auto sync = [this, open] { open->setChecked(m_controller.openLog()); };
    sync();
    connect(&controller, &DialogController::changed, this, sync);
    connect(open, &QCheckBox::toggled, this, [this](bool on) { m_controller.setOpenLog(on); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
}
