#pragma once
// The column import: values of the ticked columns of one sheet of a workbook, row by row,
// go to a recipient list ("AND": Android window, "GSM": GSM window), the exclusion list
// being edited ("EX") or the template store ("TEMP").
#include "ColumnChoice.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"

#include <QString>
#include <QStringList>

class BulkSmsWindow;
class ExclusionImportTarget;
class MainWindows;
class Operator;
class SpreadsheetWriter;
class TemplateImportTarget;

class Import_Excel : public DialogController {
    Q_OBJECT
public:
    // spreadsheet reads the workbook; an import into a list goes on reading it after the
    // window has ended, so it must outlive the load. windows: the main windows an "AND" or
    // "GSM" import fills (none for "EX" and "TEMP").
    Import_Excel(Operator& op, SpreadsheetWriter& spreadsheet, const MainWindows* windows = nullptr,
                 QObject* parent = nullptr);

    void setExclusionTarget(ExclusionImportTarget* target) { m_exclusionTarget = target; }
    void setTemplateTarget(TemplateImportTarget* target) { m_templateTarget = target; }

    // Prepares the workbook and runs the window; returns its end code. A file that is no
    // readable workbook gets the reason in a message box and code 0. An import into a
    // window's list goes on after the window has ended, on that window's loading thread.
    int Open_excel_Wnd(const QString& path, const QString& mode);
    // The opening without running the window: mode, path, sheets, first sheet's columns.
    void prepareWindow(const QString& path, const QString& mode);

    QString Load_Mode_str() const { return m_mode; }
    QString file_path() const { return m_path; }
    bool contains_header() const { return m_containsHeader; }
    void setContainsHeader(bool on);
    QStringList sheetNames() const { return m_sheets; }
    int sheetIndex() const { return m_sheetIndex; }
    void Sheet_ComboBox_changed(int index);
    bool pleaseWaitVisible() const { return m_pleaseWait; }

    // One row per column: "State" ("1" ticked, "0" not) and "Extension" (the column name).
    RecordTable& ListData() { return m_columns; }
    bool Get_Selection_State(int column) const;
    bool Check_For_One_Extension_Selection() const;
    void Create_List(const QString& name, bool state);
    void setColumnTicked(int column, bool ticked);
    void Select_All();
    void Clear_All();

    void OKPressed();
    void CancelPressed();

private:
    void setPleaseWait(bool visible);
    void rebuildColumns(bool ticked);
    void importRows();
    // The import into a window's list, on that window's loading thread.
    void importIntoList(BulkSmsWindow& window);
    // A value of the exclusion or template import to its target.
    void passValue(const QString& value);
    // The main window an "AND" or "GSM" import fills; null for the others.
    BulkSmsWindow* windowOfMode(const QString& mode) const;

    Operator& m_op;
    SpreadsheetWriter& m_spreadsheet;
    const MainWindows* m_windows;
    QString m_mode;
    QString m_path;
    QString m_openFailure; // why the workbook could not be opened, "" when it could
    bool m_containsHeader = true;
    QStringList m_sheets;
    int m_sheetIndex = -1;
    bool m_pleaseWait = false;
    RecordTable m_columns;
    ExclusionImportTarget* m_exclusionTarget = nullptr;
    TemplateImportTarget* m_templateTarget = nullptr;
};
