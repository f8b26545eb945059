#include "ConsoleOperator.h"

#include "ConsoleOutput.h"
#include "android/windows/And_Conn_Err.h"
#include "core/TextUtils.h"

void ConsoleOperator::showAlert(const QString& fullText) { printErr(Trim_Str(fullText)); }

bool ConsoleOperator::askYesNo(const QString& text) {
    printErr(Trim_Str(text) +
             (m_answerYes ? QStringLiteral(" [yes: --yes]") : QStringLiteral(" [no: pass --yes to agree]")));
    return m_answerYes;
}

int ConsoleOperator::showModal(DialogController& dialog) {
    if (auto* box = qobject_cast<And_Conn_Err*>(&dialog)) {
        printErr(box->title() + QStringLiteral(": ") + box->text());
        return 1;
    }
    printErr(QStringLiteral("(a window that needs a person: %1)")
                 .arg(QLatin1String(dialog.metaObject()->className())));
    return 0;
}
