#pragma once
// The paste dialog: a block of numbers, one per line or separated by tabs, goes through
// the window's insert filter with the composer text as message.
#include "core/DialogController.h"

#include <QString>

class BulkSmsWindow;

class Manually_Add_Num : public DialogController {
    Q_OBJECT
public:
    explicit Manually_Add_Num(BulkSmsWindow& window, QObject* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);
    // The line counter beside the text box: the number of lines, at least "1".
    QString lineCounter() const { return m_lineCounter; }
    // Bumped whenever the text box is emptied by the dialog, so the view drops its undo history.
    int clearGeneration() const { return m_clearGeneration; }
    bool pleaseWaitVisible() const { return m_pleaseWait; }

    void OKPressed();
    void CancelPressed();

private:
    void clearText();

    BulkSmsWindow& m_window;
    QString m_text;
    QString m_lineCounter = QStringLiteral("1");
    int m_clearGeneration = 0;
    bool m_pleaseWait = false;
};
