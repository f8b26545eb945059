#include "InboxOptionsView.h"

#include "core/AppState.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QVBoxLayout>

InboxOptionsView::InboxOptionsView(InboxOptions& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Reply options - %1").arg(kApplicationName));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout();
    auto* days = new QSpinBox(this);
    days->setObjectName(QStringLiteral("windowDays"));
    days->setRange(1, ReplyOptions::kMaxWindowDays);
    days->setSuffix(QStringLiteral(" days"));
    days->setValue(controller.windowDays);
    days->setToolTip(
        QStringLiteral("A reply answers the latest campaign that texted its sender this long before."));
    form->addRow(QStringLiteral("A reply answers a campaign for:"), days);
    auto* words = new QPlainTextEdit(controller.stopWordsText, this);
    words->setObjectName(QStringLiteral("stopWords"));
    words->setTabChangesFocus(true);
    words->setPlaceholderText(
        QStringLiteral("One a line; STOP, UNSUBSCRIBE, START... are always understood"));
    form->addRow(QStringLiteral("Your own stop words:"), words);
    layout->addLayout(form);
    auto* notify = new QCheckBox(QStringLiteral("Show a desktop notification for each new reply"), this);
    notify->setChecked(controller.notify);
    layout->addWidget(notify);
    auto* footer = new QCheckBox(QStringLiteral("Add this footer to every message:"), this);
    footer->setChecked(controller.footer);
    auto* footerText = new QLineEdit(controller.footerText, this);
    footerText->setObjectName(QStringLiteral("footerText"));
    footerText->setMaxLength(ReplyOptions::kMaxFooterLength);
    footerText->setEnabled(controller.footer);
    layout->addWidget(footer);
    layout->addWidget(footerText);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    resize(520, 360);

    InboxOptions& c = m_controller;
    connect(days, &QSpinBox::valueChanged, this, [&c](int value) { c.windowDays = value; });
    connect(words, &QPlainTextEdit::textChanged, this,
            [&c, words] { c.stopWordsText = words->toPlainText(); });
    connect(notify, &QCheckBox::toggled, this, [&c](bool on) { c.notify = on; });
    connect(footer, &QCheckBox::toggled, this, [&c, footerText](bool on) {
        c.footer = on;
        footerText->setEnabled(on);
    });
    connect(footerText, &QLineEdit::textEdited, this, [&c](const QString& text) { c.footerText = text; });
    connect(buttons, &QDialogButtonBox::accepted, this, [&c] { c.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [&c] { c.CancelPressed(); });
}
