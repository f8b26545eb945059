#pragma once
// Copies the composed message into all, the selected, or the blank records of a window's list.
#include "core/DialogController.h"

class BulkSmsWindow;

class Fill_Msg_In_List : public DialogController {
    Q_OBJECT
public:
    enum class Choice { All, Selected, Blank };

    explicit Fill_Msg_In_List(BulkSmsWindow& window, QObject* parent = nullptr);

    Choice choice() const { return m_choice; }
    void setChoice(Choice choice);

    void OKPressed();
    void CancelPressed();

private:
    void finishCopy();

    BulkSmsWindow& m_window;
    Choice m_choice = Choice::All;
};
