#pragma once
#include "stores/windows/Exclusion_Wizard.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QStackedWidget;
class QTableView;

// The exclusion wizard's three screens: the lists, a new list's name, a list's numbers.
class ExclusionWizardView : public QDialog {
    Q_OBJECT
public:
    ExclusionWizardView(Exclusion_Wizard& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    QWidget* buildStartPage();
    QWidget* buildNamePage();
    QWidget* buildNumbersPage();
    void refresh();
    void syncSelections();

    Exclusion_Wizard& m_controller;
    QStackedWidget* m_pages;
    QLabel* m_startText;
    QLabel* m_nameText;
    QLineEdit* m_name;
    QTableView* m_available;
    QTableView* m_applied;
    QTableView* m_numbers;
    QLabel* m_caption;
    QLabel* m_count;
    QLineEdit* m_number;
    QLineEdit* m_rename;
};
