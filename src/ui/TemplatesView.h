#pragma once
#include "stores/windows/Templates.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTableView;

// The templates window: the stored texts and their buttons.
class TemplatesView : public QDialog {
    Q_OBJECT
public:
    TemplatesView(Templates& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    void refresh();

    Templates& m_controller;
    QTableView* m_table;
    QLabel* m_count;
    QLabel* m_wait;
    QList<QPushButton*> m_buttons;
};
