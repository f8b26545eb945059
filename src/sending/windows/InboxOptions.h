#pragma once
// The inbox's "Options..." dialog: how replies are read (the window in days, the operator's own
// stop words, one a line), the desktop notification, and the opt-out footer. OK checks them and
// keeps them in the settings file; a value it cannot keep, or a file it cannot write, is told
// and the dialog stays open with what the operator typed.
#include "core/DataFolder.h"
#include "core/DialogController.h"
#include "core/ReplyOptions.h"

class Operator;

class InboxOptions : public DialogController {
    Q_OBJECT
public:
    InboxOptions(Operator& op, DataFolder folder, QObject* parent = nullptr);

    // Fills the fields from the settings file.
    void load();

    int windowDays = ReplyOptions::kDefaultWindowDays;
    QString stopWordsText; // one a line
    bool notify = false;
    bool footer = false;
    QString footerText;

    void OKPressed();
    void CancelPressed();

    // The fields as options, and whether they can be kept as typed (why not: the message).
    ReplyOptions options() const;
    QString problem() const;

private:
    Operator& m_op;
    const DataFolder m_folder;
};
