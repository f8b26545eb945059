#pragma once
// The two main windows of one program (the Android one and the GSM one) and which of them is
// in front: the shared dialogs act on the front one. Created by the program's start and
// handed to who brings a window forward or acts on the front one.
#include "MainWindowController.h"

#include <atomic>

class MainWindows {
public:
    MainWindows(MainWindowController& android, MainWindowController& gsm);
    MainWindows(const MainWindows&) = delete;
    MainWindows& operator=(const MainWindows&) = delete;

    MainWindowController& android() const { return m_android; }
    MainWindowController& gsm() const { return m_gsm; }
    MainWindowController& of(MainWindowController::Kind kind) const;

    // Read from worker threads (a loading list asks which window it fills): atomic.
    MainWindowController::Kind frontKind() const { return m_front; }
    MainWindowController& front() const { return of(m_front); }
    // The shared dialogs act on this kind's window from now on (the windows' own visibility is
    // theirs to change).
    void setFront(MainWindowController::Kind kind) { m_front = kind; }

private:
    MainWindowController& m_android;
    MainWindowController& m_gsm;
    std::atomic<MainWindowController::Kind> m_front{MainWindowController::Kind::Gsm};
};
