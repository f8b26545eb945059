#pragma once
// "Only between [09:00] and [20:00] of each recipient's clock": a main window's quiet hours,
// shown and set through its controller.
#include <QWidget>

class BulkSmsWindow;
class QCheckBox;
class QTimeEdit;

class QuietHoursRow : public QWidget {
    Q_OBJECT
public:
    QuietHoursRow(BulkSmsWindow& window, QWidget* parent = nullptr);
    void focusHours();

private:
    void refresh();

    BulkSmsWindow& m_window;
    QCheckBox* m_on = nullptr;
    QTimeEdit* m_from = nullptr;
    QTimeEdit* m_to = nullptr;
};
