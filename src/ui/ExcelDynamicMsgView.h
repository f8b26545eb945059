#pragma once
#include "sheets/windows/Excel_Dynamic_Msg.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QStackedWidget;
class QTableView;

class ExcelDynamicMsgView : public QDialog {
    Q_OBJECT
public:
    ExcelDynamicMsgView(Excel_Dynamic_Msg& controller, QWidget* parent);

protected:
    void reject() override;

private:
    QWidget* buildModePage();
    QWidget* buildFilePage();
    QWidget* buildTemplatePage();
    void refresh();
    void useColumn(bool byDoubleClick);
    static void fillCombo(QComboBox* box, const QStringList& items, int current);

    Excel_Dynamic_Msg& m_controller;
    QStackedWidget* m_pages = nullptr;
    QRadioButton* m_perRow = nullptr;
    QRadioButton* m_dynamic = nullptr;
    QLabel* m_fileText = nullptr;
    QLineEdit* m_path = nullptr;
    QLabel* m_sheetLabel = nullptr;
    QComboBox* m_sheets = nullptr;
    QWidget* m_perRowColumns = nullptr;
    QComboBox* m_numberColumn = nullptr;
    QComboBox* m_messageColumn = nullptr;
    QWidget* m_tickColumns = nullptr;
    QTableView* m_placeholders = nullptr;
    QPlainTextEdit* m_template = nullptr;
    QLabel* m_wait = nullptr;
    QPushButton* m_left = nullptr;
    QPushButton* m_right = nullptr;
};
