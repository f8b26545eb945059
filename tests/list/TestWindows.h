#pragma once
// Main-window stand-ins over the shared list/composer logic, one per kind.
#include "list/windows/BulkSmsWindow.h"

class TestBulkSmsWindow : public BulkSmsWindow {
public:
    TestBulkSmsWindow(Kind kind, Operator& op, const DataFolder& folder,
                      SpreadsheetLoads* spreadsheets = nullptr)
        : BulkSmsWindow(kind, op, folder, nullptr, spreadsheets) {
        windowDidLoad();
        setTextChangeNotifications(true); // as after launch
    }
    QString title() const override { return "test"; }
    int runConnectionSteps() override { return 0; }

    // Types the number into the field and presses Add.
    void add(const QString& number) {
        setNumberField(number);
        Add_number_To_List();
    }
    QStringList numbers() const {
        QStringList out;
        for (const Record& r : list().records())
            out << r.value(kNumberKey);
        return out;
    }
    QStringList messages() const {
        QStringList out;
        for (const Record& r : list().records())
            out << r.value(kMessageKey);
        return out;
    }
};
