#include "CopyFailureViews.h"

#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "core/AppState.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
// The dialog's title in bold and its text, as plain text whatever it holds.
QVBoxLayout* addTitleAndText(QDialog& dialog, const QString& title, const QString& text) {
    dialog.setWindowTitle(kApplicationName);
    auto* layout = new QVBoxLayout(&dialog);
    auto* heading = new QLabel(title, &dialog);
    QFont font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    auto* body = new QLabel(text, &dialog);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    layout->addWidget(heading);
    layout->addWidget(body);
    dialog.setMinimumWidth(460);
    return layout;
}
} // namespace

SingleShotCopyFailureView::SingleShotCopyFailureView(SingleShotCopyFailure& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    QVBoxLayout* layout = addTitleAndText(*this, controller.title(), controller.text());
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    QPushButton* anyway = buttons->addButton(QStringLiteral("Continue anyway"), QDialogButtonBox::ApplyRole);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, [&controller] { controller.OK_Btn(); });
    connect(cancel, &QPushButton::clicked, this, [&controller] { controller.Cancel_Btn(); });
    connect(anyway, &QPushButton::clicked, this, [&controller] { controller.Continue_Anyway_Btn(); });
    layout->addWidget(buttons);
}

void SingleShotCopyFailureView::reject() { m_controller.Cancel_Btn(); }

OneByOneCopyFailureView::OneByOneCopyFailureView(OneByOneCopyFailure& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    QVBoxLayout* layout = addTitleAndText(*this, controller.title(), controller.text());
    auto* forAll = new QCheckBox(controller.forAllText(), this);
    forAll->setObjectName(QStringLiteral("forAll"));
    forAll->setChecked(controller.forAll());
    layout->addWidget(forAll);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    ok->setDefault(true);
    connect(forAll, &QCheckBox::toggled, this, [&controller](bool on) { controller.setForAll(on); });
    connect(ok, &QPushButton::clicked, this, [&controller] { controller.OK_Btn(); });
    connect(cancel, &QPushButton::clicked, this, [&controller] { controller.Cancel_Btn(); });
    layout->addWidget(buttons);
}

void OneByOneCopyFailureView::reject() { m_controller.Cancel_Btn(); }
