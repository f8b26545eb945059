#pragma once
// Workbooks written from tables of strings, and main-window stand-ins for the imports.
#include "WorkbookFixture.h"

#include "ScriptedOperator.h"
#include "core/MainWindows.h"
#include "list/windows/BulkSmsWindow.h"
#include "sheets/windows/SpreadsheetWindows.h"

class ImportTestWindow : public BulkSmsWindow {
public:
    ImportTestWindow(Kind kind, Operator& op, const DataFolder& folder, SpreadsheetLoads* spreadsheets)
        : BulkSmsWindow(kind, op, folder, nullptr, spreadsheets) {
        windowDidLoad();
        setTextChangeNotifications(true); // as after launch
    }
    QString title() const override { return "test"; }
    int runConnectionSteps() override { return 0; }
    QStringList numbers() const;
    QStringList messages() const;
};

class ImportTest : public WorkbookTest {
protected:
    void SetUp() override;

    // A workbook whose sheets hold the given rows (inline strings, dimension from the widest row).
    QString tableWorkbook(const QString& name, const QList<SpreadsheetData>& sheets) const;
    // What the last load into the Android window counted: readable, valid, skipped, excluded.
    QList<int> counters() const;
    // Waits until the loads the windows run on their loading threads are done.
    void waitForLoads();

    ScriptedOperator op;
    SpreadsheetWindows spreadsheets; // what the load buttons open, with a reader of their own
    ImportTestWindow android{MainWindowController::Kind::Android, op, m_home.folder, &spreadsheets};
    ImportTestWindow gsm{MainWindowController::Kind::Gsm, op, m_home.folder, &spreadsheets};
    MainWindows windows{android, gsm};
};
