#include "Excel_Dynamic_Msg.h"
#include "Excel_SMS_Example.h"

#include "WorkbookPreparation.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "list/ListLoad.h"
#include "list/windows/BulkSmsWindow.h"
#include "sheets/SpreadsheetWriter.h"
#include "text/NumberRules.h"

#include <QRegularExpression>

#include <memory>
#include <utility>

namespace {
const QString kBlankTemplate = QStringLiteral("Please enter some text message.");
const QString kNotes =
    QStringLiteral("\n\nNote:\n1. Maximum of 50,000 records in a single sheet are supported at a "
                   "time.\n2. Each message may be of maximum 1600 characters.");

QString placeholder(int column) { return QStringLiteral("<COL-%1>").arg(column); }
} // namespace

Excel_Dynamic_Msg::Excel_Dynamic_Msg(BulkSmsWindow& window, SpreadsheetWriter& spreadsheet, QObject* parent)
    : DialogController(parent), m_window(window), m_spreadsheet(spreadsheet),
      m_columns({kColumnTickedKey, kColumnNameKey}),
      m_placeholders({kPlaceholderColumnNumberKey, kPlaceholderColumnNameKey, kPlaceholderTextKey}) {}

void Excel_Dynamic_Msg::setMode(int mode) {
    if (m_step != 0)
        return;
    m_mode = mode == 1 ? 1 : 0;
    emit changed();
}

QString Excel_Dynamic_Msg::leftButtonTitle() const {
    return m_step == 0 ? QStringLiteral("Close") : QStringLiteral("Back");
}

QString Excel_Dynamic_Msg::rightButtonTitle() const {
    if (m_step == 0)
        return QStringLiteral("Continue");
    if (m_step == 1 && m_mode == 1)
        return QStringLiteral("Next");
    return QStringLiteral("Finish");
}

QString Excel_Dynamic_Msg::fileStepText() const {
    return m_mode == 0
               ? QStringLiteral("Browse the location of Excel file to import contact numbers and their "
                                "respective SMS texts.") +
                     kNotes
               : QStringLiteral(
                     "Browse the location of Excel file which you want to create dynamic and "
                     "personalized message for each contact by using data of its various columns.") +
                     kNotes;
}

QString Excel_Dynamic_Msg::sheetLabel() const {
    return m_mode == 0
               ? QStringLiteral("Please select the sheet containing phone numbers and messages :")
               : QStringLiteral(
                     "Select the sheet containing phone numbers and data to create dynamic messages :");
}

void Excel_Dynamic_Msg::setPleaseWait(bool visible) {
    m_pleaseWait = visible;
    emit changed();
}

void Excel_Dynamic_Msg::leftButtonPressed() {
    if (m_step == 0) {
        resetForm();
        endModal(0);
        return;
    }
    --m_step;
    emit changed();
}

void Excel_Dynamic_Msg::rightButtonPressed() {
    if (m_step == 0) {
        m_step = 1;
        emit changed();
        return;
    }
    if (m_step == 1 && m_mode == 0) {
        if (!fileStepChecks(QStringLiteral("Please select a valid sheet there is no column.")))
            return;
        if (m_numberCol < 0) {
            m_window.op().Show_MessageBox(QStringLiteral("Please select a column for Mobile number."));
            return;
        }
        if (m_msgCol < 0) {
            m_window.op().Show_MessageBox(QStringLiteral("Please select a column for Message."));
            return;
        }
        finish();
        return;
    }
    if (m_step == 1) {
        if (!fileStepChecks(QStringLiteral("There is no column.")))
            return;
        bool anyTicked = false;
        for (const Record& r : m_columns.records())
            anyTicked = anyTicked || r.value(kColumnTickedKey) == QLatin1String("1");
        if (!anyTicked) {
            m_window.op().Show_MessageBox(QStringLiteral("No column is selected."));
            return;
        }
        // One placeholder per column, numbered by its position in the sheet.
        RecordList rows;
        int number = 0;
        for (const QString& name : m_header) {
            ++number;
            rows << Record{{kPlaceholderColumnNumberKey, QString::number(number)},
                           {kPlaceholderColumnNameKey, name},
                           {kPlaceholderTextKey, placeholder(number)}};
        }
        m_placeholders.setRecords(rows);
        m_step = 2;
        emit changed();
        return;
    }
    if (m_template.trimmed().isEmpty()) {
        m_window.op().Show_MessageBox(kBlankTemplate);
        return;
    }
    finish();
}

bool Excel_Dynamic_Msg::fileStepChecks(const QString& noColumnMessage) {
    QString message;
    if (m_path.trimmed().isEmpty())
        message = QStringLiteral("Please select a valid file path.");
    else if (m_sheets.isEmpty())
        message = QStringLiteral("Please select a valid excel file there is no sheet.");
    else if (m_sheetIndex < 0)
        message = QStringLiteral("Please select a sheet.");
    else if (m_header.isEmpty())
        message = noColumnMessage;
    if (message.isEmpty())
        return true;
    m_window.op().Show_MessageBox(message);
    return false;
}

void Excel_Dynamic_Msg::clearWorkbook() {
    m_sheets.clear();
    m_sheetIndex = -1;
    m_header.clear();
    m_numberCol = -1;
    m_msgCol = -1;
    m_columns.clear();
    m_placeholders.clear();
    m_template.clear();
}

void Excel_Dynamic_Msg::Browse() {
    const QString path = m_window.op().chooseFileToOpen({QStringLiteral("xlsx"), QStringLiteral("XLSX")});
    if (path.isEmpty())
        return;
    m_path = path;
    clearWorkbook();
    setPleaseWait(true);
    QString failure;
    m_sheets = WorkbookPreparation::prepareAndListSheets(m_spreadsheet, path, &failure);
    setPleaseWait(false);
    if (!failure.isEmpty())
        m_window.op().Show_MessageBox(failure);
}

void Excel_Dynamic_Msg::Sheet_ComboBox_changed(int index) {
    if (index < 0 || index >= m_sheets.size())
        return;
    m_sheetIndex = index;
    m_header = WorkbookPreparation::headerOfSheet(m_spreadsheet, index);
    m_numberCol = -1;
    m_msgCol = -1;
    // Blank names are already "Untitled Column <n>": entry i is always column i.
    RecordList columns;
    for (const QString& name : m_header)
        columns << Record{{kColumnTickedKey, QStringLiteral("0")}, {kColumnNameKey, name}};
    m_columns.setRecords(columns);
    emit changed();
}

void Excel_Dynamic_Msg::Number_ComboBox_changed(int index) {
    m_numberCol = index < m_header.size() ? index : -1;
    emit changed();
}

void Excel_Dynamic_Msg::Message_ComboBox_changed(int index) {
    m_msgCol = index < m_header.size() ? index : -1;
    emit changed();
}

void Excel_Dynamic_Msg::setColumnTicked(int column, bool ticked) {
    if (column < 0 || column >= m_columns.size())
        return;
    Record r = m_columns.at(column);
    r.insert(kColumnTickedKey, ticked ? QStringLiteral("1") : QStringLiteral("0"));
    m_columns.replace(column, r);
}

void Excel_Dynamic_Msg::setTemplateText(const QString& text) {
    if (text == m_template)
        return;
    m_template = text;
    emit changed();
}

int Excel_Dynamic_Msg::Use_Column(const QList<int>& selectedRows, int selectionStart, int selectionEnd,
                                  bool byDoubleClick) {
    Operator& op = m_window.op();
    if (m_placeholders.isEmpty()) {
        op.Show_MessageBox(QStringLiteral("Column list is empty."));
        return -1;
    }
    if (selectedRows.isEmpty()) {
        op.Show_MessageBox(
            QStringLiteral("Please select at least one record from the column list to continue."));
        return -1;
    }
    if (selectedRows.size() > 1) {
        op.Show_MessageBox(byDoubleClick ? QStringLiteral("Please select only one record to update.")
                                         : QStringLiteral("Please select only one record to continue."));
        return -1;
    }
    const int row = selectedRows.first();
    if (row < 0 || row >= m_placeholders.size())
        return -1;
    const QString text = m_placeholders.at(row).value(kPlaceholderTextKey);
    const int start = qBound(0, qMin(selectionStart, selectionEnd), int(m_template.size()));
    const int end = qBound(start, qMax(selectionStart, selectionEnd), int(m_template.size()));
    m_template.replace(start, end - start, text);
    emit changed();
    return start + int(text.size());
}

void Excel_Dynamic_Msg::Preview() {
    if (m_template.trimmed().isEmpty()) {
        m_window.op().Show_MessageBox(kBlankTemplate);
        return;
    }
    m_window.op().Show_MessageBox(fillTemplate(m_template, m_header));
}

void Excel_Dynamic_Msg::Example() {
    Excel_SMS_Example example;
    m_window.op().runModal(example);
}

void Excel_Dynamic_Msg::finish() {
    insertRows();
    resetForm();
    endModal(1);
}

void Excel_Dynamic_Msg::insertRows() {
    const bool replace = std::exchange(m_window.replaceListOnNextLoad, false);
    m_window.prev_list_item = replace ? 0 : m_window.list().size();
    QList<int> ticked;
    for (int i = 0; i < m_columns.size(); ++i)
        if (m_columns.at(i).value(kColumnTickedKey) == QLatin1String("1"))
            ticked << i;
    const QList<int> numberColumns = m_mode == 0 ? QList<int>{m_numberCol} : ticked;
    struct Outcome {
        bool sheetHadRows = false;
        QString readFailure;
        qsizetype dropped = 0;
    };
    auto outcome = std::make_shared<Outcome>();
    const int mode = m_mode;
    const int numberCol = m_numberCol;
    const int msgCol = m_msgCol;
    const QString templ = m_template;
    BulkSmsWindow* window = &m_window;
    SpreadsheetWriter* spreadsheet = &m_spreadsheet; // the windows' owner's: it outlives the load
    // One pass over the sheet on the window's loading thread; rows past the limit are only
    // counted. The accepted rows go in when the sheet is done, unless the load is cancelled.
    ListLoad::of(m_window).start(
        [=](ListLoad& load) {
            qsizetype limit = kMaxDynamicRows;
            qsizetype taken = 0;
            const bool read = spreadsheet->ReadRows([&](QStringList& row) {
                if (!outcome->sheetHadRows && startsWithHeader(row, numberColumns))
                    ++limit; // a header row does not count toward the limit
                outcome->sheetHadRows = true;
                if (taken % 512 == 0)
                    load.setProgress(taken, spreadsheet->readFraction());
                if (taken++ >= limit) {
                    ++outcome->dropped;
                    return !load.cancelled();
                }
                if (mode == 0) {
                    load.accept(row.value(numberCol), row.value(msgCol).left(kMaxMessageLength));
                    return !load.cancelled();
                }
                for (int column : numberColumns)
                    load.accept(row.value(column), fillTemplate(templ, row).left(kMaxMessageLength));
                return !load.cancelled();
            });
            load.setProgress(taken, 1);
            if (!load.cancelled() && (!read || !outcome->sheetHadRows))
                outcome->readFailure = spreadsheet->readFailure;
            return outcome->readFailure.isEmpty();
        },
        [window, outcome, spreadsheet](bool committed, const LoadCounters& counts) {
            spreadsheet->releaseWorkbook();
            window->Update_List_Count();
            if (!outcome->readFailure.isEmpty()) {
                window->op().Show_MessageBox(outcome->readFailure);
                return;
            }
            if (!committed)
                return;
            if (outcome->dropped > 0)
                window->op().Show_MessageBox(droppedRowsMessage(outcome->dropped));
            if (!(outcome->sheetHadRows && window->list().size() != window->prev_list_item))
                window->op().Show_MessageBox(counts.summary());
        },
        replace);
}

QString Excel_Dynamic_Msg::droppedRowsMessage(qsizetype dropped) {
    return QStringLiteral("Only the first 50,000 records of a sheet are imported: %L1 more %2 not imported.")
        .arg(dropped)
        .arg(dropped == 1 ? QStringLiteral("row was") : QStringLiteral("rows were"));
}

bool Excel_Dynamic_Msg::startsWithHeader(const QStringList& first, const QList<int>& numberColumns) {
    for (int column : numberColumns) {
        for (const QChar c : first.value(column))
            if (c.isDigit())
                return false;
    }
    return true;
}

void Excel_Dynamic_Msg::resetForm() {
    m_mode = 0;
    m_step = 0;
    m_path.clear();
    clearWorkbook();
    emit changed();
}
