#include "ManuallyAddNumView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

ManuallyAddNumView::ManuallyAddNumView(Manually_Add_Num& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller), m_clearGeneration(controller.clearGeneration()) {
    setWindowTitle(kApplicationName);
    resize(420, 420);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(
        new QLabel(QStringLiteral("Paste or type phone numbers, one per line (tab-separated cells are "
                                  "read one by one):"),
                   this));
    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(QStringLiteral("_pasteEdit"));
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    layout->addWidget(m_text, 1);
    auto* bottom = new QHBoxLayout();
    m_lines = new QLabel(this);
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    bottom->addWidget(new QLabel(QStringLiteral("Lines:"), this));
    bottom->addWidget(m_lines);
    bottom->addWidget(m_wait);
    bottom->addStretch();
    bottom->addWidget(buttons);
    layout->addLayout(bottom);

    connect(m_text, &QPlainTextEdit::textChanged, this,
            [this] { m_controller.setText(m_text->toPlainText()); });
    connect(&controller, &DialogController::changed, this, &ManuallyAddNumView::refresh);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
    refresh();
}

void ManuallyAddNumView::refresh() {
    m_lines->setText(m_controller.lineCounter());
    m_wait->setVisible(m_controller.pleaseWaitVisible());
    if (m_controller.clearGeneration() != m_clearGeneration) {
        m_clearGeneration = m_controller.clearGeneration();
        const QSignalBlocker block(m_text);
        m_text->setPlainText(QString()); // also drops the undo history
    }
}
