#pragma once
#include "sheets/windows/Import_Excel.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

class ImportExcelView : public QDialog {
    Q_OBJECT
public:
    ImportExcelView(Import_Excel& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    void refresh();

    Import_Excel& m_controller;
    QLineEdit* m_path = nullptr;
    QComboBox* m_sheets = nullptr;
    QCheckBox* m_header = nullptr;
    QLabel* m_wait = nullptr;
};
