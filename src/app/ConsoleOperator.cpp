#include "ConsoleOperator.h"

#include "ConsoleOutput.h"
#include "core/DialogController.h"
#include "core/TextUtils.h"

void ConsoleOperator::showAlert(const QString& fullText) { printErr(Trim_Str(fullText)); }

bool ConsoleOperator::askYesNo(const QString& text) {
    printErr(Trim_Str(text) +
             (m_answerYes ? QStringLiteral(" [yes: --yes]") : QStringLiteral(" [no: pass --yes to agree]")));
    return m_answerYes;
}

int ConsoleOperator::showModal(DialogController& dialog) {
    printErr(QStringLiteral("(a window that needs a person: %1)")
                 .arg(QLatin1String(dialog.metaObject()->className())));
    return 0;
}
