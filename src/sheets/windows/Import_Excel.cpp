#include "Import_Excel.h"

#include "ImportTargets.h"
#include "WorkbookPreparation.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/MainWindows.h"
#include "core/Operator.h"
#include "list/ListLoad.h"
#include "list/windows/BulkSmsWindow.h"
#include "sheets/SpreadsheetWriter.h"
#include "text/NumberRules.h"

#include <memory>
#include <utility>

Import_Excel::Import_Excel(Operator& op, SpreadsheetWriter& spreadsheet, const MainWindows* windows,
                           QObject* parent)
    : DialogController(parent), m_op(op), m_spreadsheet(spreadsheet), m_windows(windows),
      m_columns({kColumnTickedKey, kColumnNameKey}) {}

BulkSmsWindow* Import_Excel::windowOfMode(const QString& mode) const {
    if (m_windows == nullptr)
        return nullptr;
    if (mode == QLatin1String("AND"))
        return qobject_cast<BulkSmsWindow*>(&m_windows->android());
    if (mode == QLatin1String("GSM"))
        return qobject_cast<BulkSmsWindow*>(&m_windows->gsm());
    return nullptr;
}

int Import_Excel::Open_excel_Wnd(const QString& path, const QString& mode) {
    MainThread::invokeAndWait([&] { prepareWindow(path, mode); });
    if (!m_openFailure.isEmpty()) {
        // Nothing can be chosen from a file that is no readable workbook: say why and stop.
        m_op.Show_MessageBox(m_openFailure);
        return 0;
    }
    return m_op.runModal(*this);
}

void Import_Excel::prepareWindow(const QString& path, const QString& mode) {
    m_mode = mode;
    m_path = path;
    m_containsHeader = true;
    m_columns.clear();
    m_sheets.clear();
    m_sheetIndex = -1;
    setPleaseWait(true);
    m_sheets = WorkbookPreparation::prepareAndListSheets(m_spreadsheet, path, &m_openFailure);
    if (!m_sheets.isEmpty())
        Sheet_ComboBox_changed(0);
    setPleaseWait(false);
    emit changed();
}

void Import_Excel::setPleaseWait(bool visible) {
    m_pleaseWait = visible;
    emit changed();
}

void Import_Excel::setContainsHeader(bool on) {
    m_containsHeader = on;
    emit changed();
}

void Import_Excel::Sheet_ComboBox_changed(int index) {
    if (index < 0 || index >= m_sheets.size())
        return;
    m_sheetIndex = index;
    const QStringList header = WorkbookPreparation::headerOfSheet(m_spreadsheet, index);
    if (!header.isEmpty()) {
        m_columns.clear();
        // Blank names are already "Untitled Column <n>": entry i is always column i.
        for (const QString& name : header)
            Create_List(name, false);
    }
    emit changed();
}

bool Import_Excel::Get_Selection_State(int column) const {
    return column >= 0 && column < m_columns.size() &&
           m_columns.at(column).value(kColumnTickedKey) == QLatin1String("1");
}

bool Import_Excel::Check_For_One_Extension_Selection() const {
    for (int i = 0; i < m_columns.size(); ++i)
        if (Get_Selection_State(i))
            return true;
    return false;
}

void Import_Excel::Create_List(const QString& name, bool state) {
    if (name.trimmed().isEmpty())
        return;
    m_columns.append(Record{{kColumnTickedKey, state ? QStringLiteral("1") : QStringLiteral("0")},
                            {kColumnNameKey, name}});
}

void Import_Excel::setColumnTicked(int column, bool ticked) {
    if (column < 0 || column >= m_columns.size())
        return;
    Record r = m_columns.at(column);
    r.insert(kColumnTickedKey, ticked ? QStringLiteral("1") : QStringLiteral("0"));
    m_columns.replace(column, r);
}

void Import_Excel::rebuildColumns(bool ticked) {
    RecordList rebuilt = m_columns.records();
    for (Record& r : rebuilt)
        r.insert(kColumnTickedKey, ticked ? QStringLiteral("1") : QStringLiteral("0"));
    m_columns.setRecords(rebuilt);
}

void Import_Excel::Select_All() { rebuildColumns(true); }
void Import_Excel::Clear_All() { rebuildColumns(false); }

void Import_Excel::OKPressed() {
    if (m_columns.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("There is no column."));
        return;
    }
    if (!Check_For_One_Extension_Selection()) {
        m_op.Show_MessageBox(QStringLiteral("No column is selected."));
        return;
    }
    importRows();
}

void Import_Excel::importRows() {
    if (BulkSmsWindow* window = windowOfMode(m_mode)) {
        importIntoList(*window);
        return;
    }
    bool sheetHadRows = false;
    QString readFailure;
    Guard::run("Importing the columns of a workbook failed", [&] {
        setPleaseWait(true);
        QList<int> ticked;
        for (int column = 0; column < m_columns.size(); ++column)
            if (Get_Selection_State(column))
                ticked << column;
        // One pass over the sheet: each row's values are handed on as it is read.
        bool first = true;
        const bool read = m_spreadsheet.ReadRows([&](QStringList& row) {
            sheetHadRows = true;
            if (std::exchange(first, false) && m_containsHeader)
                return true;
            for (int column : ticked)
                if (column < row.size())
                    passValue(row.at(column));
            return true;
        });
        if (!read || !sheetHadRows)
            readFailure = m_spreadsheet.readFailure;
    });
    m_spreadsheet.releaseWorkbook();
    setPleaseWait(false);
    if (!readFailure.isEmpty())
        m_op.Show_MessageBox(readFailure);
    endModal(1);
}

void Import_Excel::importIntoList(BulkSmsWindow& window) {
    const bool replace = std::exchange(window.replaceListOnNextLoad, false);
    for (const char* mode : {"AND", "GSM"})
        if (BulkSmsWindow* w = windowOfMode(QLatin1String(mode)))
            w->prev_list_item = w == &window && replace ? 0 : w->list().size();
    const QString message = window.composerText().left(kMaxMessageLength);
    QList<int> ticked;
    for (int column = 0; column < m_columns.size(); ++column)
        if (Get_Selection_State(column))
            ticked << column;
    const bool header = m_containsHeader;
    struct Outcome {
        bool sheetHadRows = false;
        QString readFailure;
    };
    auto outcome = std::make_shared<Outcome>();
    Operator* op = &m_op; // the window's: it outlives this dialog, which ends now
    BulkSmsWindow* target = &window;
    SpreadsheetWriter* spreadsheet = &m_spreadsheet; // the windows' owner's, as lasting
    // One pass over the sheet on the loading thread; the window shows the rows read and a
    // Cancel button, and the accepted numbers go in when the sheet is done.
    ListLoad::of(window).start(
        [=](ListLoad& load) {
            bool first = true;
            qint64 rows = 0;
            const bool read = spreadsheet->ReadRows([&](QStringList& row) {
                outcome->sheetHadRows = true;
                if (++rows % 512 == 0)
                    load.setProgress(rows, spreadsheet->readFraction());
                if (std::exchange(first, false) && header)
                    return true;
                for (int column : ticked)
                    if (column < row.size())
                        load.accept(row.at(column), message);
                return !load.cancelled();
            });
            load.setProgress(rows, 1);
            if (!load.cancelled() && (!read || !outcome->sheetHadRows))
                outcome->readFailure = spreadsheet->readFailure;
            return outcome->readFailure.isEmpty();
        },
        [op, target, outcome, spreadsheet](bool committed, const LoadCounters& counts) {
            spreadsheet->releaseWorkbook();
            if (!outcome->readFailure.isEmpty())
                op->Show_MessageBox(outcome->readFailure);
            else if (committed && !(outcome->sheetHadRows && target->list().size() != target->prev_list_item))
                op->Show_MessageBox(counts.summary());
        },
        replace);
    endModal(1);
}

void Import_Excel::passValue(const QString& value) {
    if (m_mode == QLatin1String("EX")) {
        if (m_exclusionTarget != nullptr)
            m_exclusionTarget->chk_and_insert_validation(value);
    } else if (m_mode == QLatin1String("TEMP")) {
        if (m_templateTarget != nullptr && !m_templateTarget->Check_Duplicate_Template(value))
            m_templateTarget->Create_Template_List(value);
    }
}

void Import_Excel::CancelPressed() {
    m_spreadsheet.releaseWorkbook();
    endModal(0);
}
