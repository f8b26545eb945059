#include "Manually_Add_Num.h"

#include <utility>

#include "BulkSmsWindow.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "list/ListLoad.h"
#include "list/LoadCounters.h"
#include "list/NumberCandidates.h"
#include "list/NumberLoader.h"
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
    const QString message = m_window.composerText().left(kMaxMessageLength);
    const bool replace = std::exchange(m_window.replaceListOnNextLoad, false);
    BulkSmsWindow* window = &m_window;
    // The block is cut and filtered on the window's loading thread, like a file: a pasted
    // million lines shows its progress and can be cancelled, leaving the list as it was.
    ListLoad::of(m_window).start(
        [text, message](ListLoad& load) {
            int ignored = 0;
            const QStringList candidates = NumberCandidates::fromPaste(text, &ignored);
            load.counters().ignoredCells += ignored;
            qint64 done = 0;
            for (const QString& candidate : candidates) {
                load.accept(candidate, message);
                if (++done % 1024 == 0) {
                    load.setProgress(done, double(done) / double(candidates.size()));
                    if (load.cancelled())
                        break;
                }
            }
            load.setProgress(done, 1);
            return true;
        },
        [window](bool committed, const LoadCounters& counts) {
            if (committed && (window->list().isEmpty() || window->list().size() == window->prev_list_item))
                window->op().Show_MessageBox(counts.summary());
        },
        replace);
    clearText();
    endModal(1);
}

void Manually_Add_Num::CancelPressed() {
    clearText();
    endModal(0);
}
