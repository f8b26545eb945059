#pragma once
// The Android device search window: three status lines while searching, then the phone's
// properties (or, with several phones attached, the phones to tick); Search, Stop, Select and
// the way back to the device kind.
#include "android/windows/Android_Ph_List_Wnd.h"

#include <QDialog>

#include <array>

class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QTableView;

class AndroidPhListView : public QDialog {
    Q_OBJECT
public:
    explicit AndroidPhListView(Android_Ph_List_Wnd& controller, QWidget* parent = nullptr);

protected:
    void reject() override; // the close button and Escape

private:
    void refresh();
    void showAttachedPhones();

    Android_Ph_List_Wnd& m_controller;
    QLabel* m_info = nullptr;
    std::array<QLabel*, 3> m_lines{};
    QLabel* m_hint = nullptr;
    QLabel* m_wait = nullptr;
    QTableView* m_table = nullptr;
    QListWidget* m_phones = nullptr; // several phones attached: tick those to send through
    QProgressBar* m_busy = nullptr;
    QPushButton* m_search = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_select = nullptr;
    QWidget* m_testRow = nullptr;
    QLineEdit* m_testNumber = nullptr;
    QPushButton* m_sendTest = nullptr;
};

// The connection error box of the search.
class AndConnErrView : public QDialog {
    Q_OBJECT
public:
    explicit AndConnErrView(class And_Conn_Err& controller, QWidget* parent = nullptr);
};
