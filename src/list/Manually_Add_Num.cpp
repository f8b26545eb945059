#include "Manually_Add_Num.h"

#include <utility>

#include "BulkSmsWindow.h"
#include "LoadCounters.h"
#include "NumberCandidates.h"
#include "NumberLoader.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

namespace {
// Lone surrogates cannot be written as UTF-8: such text did not come from a real source.
bool encodableAsUtf8(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate()) {
            if (i + 1 >= text.size() || !text.at(i + 1).isLowSurrogate())
                return false;
            ++i;
        } else if (c.isLowSurrogate()) {
            return false;
        }
    }
    return true;
}
} // namespace

Manually_Add_Num::Manually_Add_Num(BulkSmsWindow& window, QObject* parent)
    : DialogController(parent), m_window(window) {}

void Manually_Add_Num::setText(const QString& text) {
    m_text = text;
    m_lineCounter = QString::number(text.count(QLatin1Char('\n')) + 1);
    emit changed();
}

void Manually_Add_Num::clearText() {
    m_text.clear();
    m_lineCounter = QStringLiteral("1");
    ++m_clearGeneration;
    emit changed();
}

void Manually_Add_Num::OKPressed() {
    const QString text = Trim_Str(m_text);
    if (text.isEmpty()) {
        m_window.op().Show_MessageBox(QStringLiteral("No item to insert in list."));
        return;
    }
    if (!encodableAsUtf8(text)) {
        m_window.op().Show_MessageBox(NumberLoader::corruptedFileMessage());
        return;
    }
    assign_format_skip_exclude_var();
    m_pleaseWait = true;
    emit changed();
    Guard::run("Inserting pasted numbers failed", [&] {
        const QString message = m_window.composerText().left(kMaxMessageLength);
        int ignored = 0;
        const QStringList candidates = NumberCandidates::fromPaste(text, &ignored);
        ignoredCells += ignored;
        if (std::exchange(m_window.replaceListOnNextLoad, false)) { // the operator chose to replace it
            m_window.list().clear();
            m_window.setSelectedRows({});
        }
        BulkSmsWindow::BatchInsert batch(m_window);
        for (const QString& candidate : candidates) {
            const QString number = m_window.Num_Able_To_insert(candidate);
            if (!number.isEmpty())
                m_window.Create_Num_Msg_List(number, message);
        }
    });
    m_pleaseWait = false;
    clearText();
    endModal(1);
}

void Manually_Add_Num::CancelPressed() {
    clearText();
    endModal(0);
}
