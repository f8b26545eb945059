#include "UpdateTempView.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QTextCursor>
#include <QVBoxLayout>

UpdateTempView::UpdateTempView(UpdateTemp& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    auto* layout = new QVBoxLayout(this);
    m_text = new QPlainTextEdit(this);
    m_counter = new QLabel(this);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_counter, 0, Qt::AlignRight);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    resize(520, 300);
    connect(m_text, &QPlainTextEdit::textChanged, this,
            [this] { m_controller.setText(m_text->toPlainText()); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
    connect(&controller, &DialogController::changed, this, &UpdateTempView::refresh);
    refresh();
}

void UpdateTempView::refresh() {
    setWindowTitle(m_controller.title());
    m_counter->setText(m_controller.counterText());
    if (m_text->toPlainText() != m_controller.text()) {
        const QSignalBlocker block(m_text);
        const int position = m_text->textCursor().position();
        m_text->setPlainText(m_controller.text());
        QTextCursor cursor = m_text->textCursor();
        cursor.setPosition(qMin(position, int(m_controller.text().size())));
        m_text->setTextCursor(cursor);
    }
    if (m_controller.historyCleared())
        m_text->document()->clearUndoRedoStacks();
}
