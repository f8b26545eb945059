#include "MainWindows.h"

MainWindows::MainWindows(MainWindowController& android, MainWindowController& gsm)
    : m_android(android), m_gsm(gsm) {
    android.setMainWindows(this);
    gsm.setMainWindows(this);
}

MainWindowController& MainWindows::of(MainWindowController::Kind kind) const {
    return kind == MainWindowController::Kind::Android ? m_android : m_gsm;
}
