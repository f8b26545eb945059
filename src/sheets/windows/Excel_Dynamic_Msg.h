#pragma once
// The wizard behind "messages from a spreadsheet". Per-row mode (0): one column gives the
// number, another the message of each row. Dynamic mode (1): the ticked columns give the
// numbers and one template with <COL-n> placeholders gives each row its own message.
// Steps: 0 mode choice, 1 file and sheet, 2 template (dynamic mode only).
#include "ColumnChoice.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "sheets/DynamicMessages.h"
#include "sheets/SpreadsheetData.h"

#include <QString>
#include <QStringList>

class BulkSmsWindow;
class SpreadsheetWriter;

// The keys of a placeholder record, one per column of the sheet in the message step: the
// column's number, its name and the placeholder that stands for it in the message.
inline const QString kPlaceholderColumnNumberKey = QStringLiteral("Number");
inline const QString kPlaceholderColumnNameKey = QStringLiteral("Message");
inline const QString kPlaceholderTextKey = QStringLiteral("Date"); // "<COL-n>"

class Excel_Dynamic_Msg : public DialogController {
    Q_OBJECT
public:
    // spreadsheet reads the workbook; the insertion goes on reading it after the wizard has
    // ended, so it must outlive the load.
    Excel_Dynamic_Msg(BulkSmsWindow& window, SpreadsheetWriter& spreadsheet, QObject* parent = nullptr);

    // ---- state shown by the view ----
    int EXEL_OR_DYN_SMS() const { return m_mode; }
    void setMode(int mode);
    int next_counter() const { return m_step; }
    QString leftButtonTitle() const;
    QString rightButtonTitle() const;
    QString fileStepText() const;
    QString sheetLabel() const;
    QString file_path() const { return m_path; }
    QStringList sheetNames() const { return m_sheets; }
    int sheetIndex() const { return m_sheetIndex; }
    QStringList columnNames() const { return m_header; } // both column drop-downs
    int number_col() const { return m_numberCol; }
    int msg_col() const { return m_msgCol; }
    RecordTable& ListData() { return m_columns; }            // column choice records
    RecordTable& DynSMSListData() { return m_placeholders; } // placeholder records
    QString templateText() const { return m_template; }
    bool pleaseWaitVisible() const { return m_pleaseWait; }

    // ---- operations ----
    void leftButtonPressed();  // "Close" on the mode choice, else "Back"
    void rightButtonPressed(); // "Continue", "Next" or "Finish"
    void Browse();
    void Sheet_ComboBox_changed(int index);
    void Number_ComboBox_changed(int index);
    void Message_ComboBox_changed(int index);
    void setColumnTicked(int column, bool ticked);
    void setTemplateText(const QString& text);
    // Inserts the placeholder of the one selected placeholder row at the cursor, replacing
    // the selection [selectionStart, selectionEnd). Returns the cursor position after the
    // insertion, or -1 when a message was shown instead.
    int Use_Column(const QList<int>& selectedRows, int selectionStart, int selectionEnd,
                   bool byDoubleClick = false);
    void Preview();
    void Example();

    // What the operator is told when rows past the limit were left out.
    static QString droppedRowsMessage(qsizetype dropped);

private:
    void finish();
    bool fileStepChecks(const QString& noColumnMessage);
    // Starts the insertion on the window's loading thread (it goes on after the wizard ends).
    void insertRows();
    // True when the first row holds no digit in the number column(s): a header.
    static bool startsWithHeader(const QStringList& first, const QList<int>& numberColumns);
    void resetForm();
    void clearWorkbook();
    void setPleaseWait(bool visible);

    BulkSmsWindow& m_window;
    SpreadsheetWriter& m_spreadsheet;
    int m_mode = 0;
    int m_step = 0;
    QString m_path;
    QStringList m_sheets;
    int m_sheetIndex = -1;
    QStringList m_header;
    int m_numberCol = -1;
    int m_msgCol = -1;
    RecordTable m_columns;
    RecordTable m_placeholders;
    QString m_template;
    bool m_pleaseWait = false;
};
