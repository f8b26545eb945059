#pragma once
// The Operator of the command-line tool: messages go to standard error, questions are
// answered by the --yes flag, and a window that needs a person is named and left closed.
#include "core/Operator.h"

#include <QTextStream>

class ConsoleOperator : public Operator {
public:
    explicit ConsoleOperator(bool answerYes) : m_answerYes(answerYes) {}

protected:
    void showAlert(const QString& fullText) override;
    bool askYesNo(const QString& text) override;
    int showModal(DialogController& dialog) override;
    QString openFileDialog(const QStringList&) override { return {}; }
    QString saveFileDialog(const QStringList&) override { return {}; }
    void openFile(const QString&) override {}
    void openUrl(const QString&) override {}
    void quit() override {}

private:
    bool m_answerYes;
};
