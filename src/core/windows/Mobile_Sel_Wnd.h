#pragma once
// The device-kind dialog shown at launch: GSM modem or Android phone, or cancel.
// A choice brings that kind's window to the front, runs its connection steps and device
// search, and either closes this dialog or shows it again.
#include "core/DialogController.h"

class MainWindowController;
class MainWindows;

class Mobile_Sel_Wnd : public DialogController {
    Q_OBJECT
public:
    explicit Mobile_Sel_Wnd(MainWindows& windows, QObject* parent = nullptr);

    void GSM_Btn();
    void Android_Btn();
    void Cancel_Btn();

    // False while a choice runs its dialogs (the panel is hidden behind them).
    bool panelVisible() const { return m_panelVisible; }

private:
    void choose(MainWindowController& chosen, MainWindowController& other);
    void setPanelVisible(bool visible);

    MainWindows& m_windows;
    bool m_panelVisible = true;
};
