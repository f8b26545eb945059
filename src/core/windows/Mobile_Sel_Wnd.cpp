#include "Mobile_Sel_Wnd.h"

#include "core/MainWindows.h"

#include <QPointer>

Mobile_Sel_Wnd::Mobile_Sel_Wnd(MainWindows& windows, QObject* parent)
    : DialogController(parent), m_windows(windows) {}

void Mobile_Sel_Wnd::GSM_Btn() { choose(m_windows.gsm(), m_windows.android()); }

void Mobile_Sel_Wnd::Android_Btn() { choose(m_windows.android(), m_windows.gsm()); }

void Mobile_Sel_Wnd::Cancel_Btn() {
    setPanelVisible(false);
    endModal(0);
}

void Mobile_Sel_Wnd::choose(MainWindowController& chosen, MainWindowController& other) {
    m_windows.setFront(chosen.kind());
    chosen.bringToFront();
    other.hide();
    setPanelVisible(false);

    const int code = chosen.runConnectionSteps();
    if (code == 0) {
        endModal(0);
        return;
    }
    if (code != 1) {
        setPanelVisible(true); // back: choose again
        return;
    }
    chosen.searchForDevices([dialog = QPointer(this)](bool success) {
        if (dialog == nullptr)
            return;
        if (success)
            dialog->endModal(1);
        else
            dialog->setPanelVisible(true); // a search that did not succeed: choose again
    });
}

void Mobile_Sel_Wnd::setPanelVisible(bool visible) {
    m_panelVisible = visible;
    emit changed();
}
