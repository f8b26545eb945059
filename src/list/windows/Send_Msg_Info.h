#pragma once
// Asked before sending when the composer holds a text not yet applied to the list:
// copy it to all or to the blank records (OK, code 1), send as the list is (Continue,
// code 0), or abandon the send (Cancel).
#include "core/DialogController.h"

class BulkSmsWindow;

class Send_Msg_Info : public DialogController {
    Q_OBJECT
public:
    enum class Choice { All, Blank };

    explicit Send_Msg_Info(BulkSmsWindow& window, QObject* parent = nullptr);

    Choice choice() const { return m_choice; }
    void setChoice(Choice choice);

    void OKPressed();
    void ContinuePressed() { endModal(0); }
    void CancelPressed() { endModal(NoCode); }

private:
    BulkSmsWindow& m_window;
    Choice m_choice = Choice::All;
};
