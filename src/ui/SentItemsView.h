#pragma once
#include "stores/windows/Sent_Items.h"

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTableView;

// The sent-items window: the records, the selected one's details, and its buttons.
class SentItemsView : public QDialog {
    Q_OBJECT
public:
    SentItemsView(Sent_Items& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    void refresh();

    Sent_Items& m_controller;
    QTableView* m_table;
    QPlainTextEdit* m_details;
    QLabel* m_count;
    QLabel* m_wait;
    QList<QPushButton*> m_buttons;
};
