#pragma once
// A data home with the workbook template, and both main windows as the stored-list windows
// find them (the GSM one active unless a test switches gsm_and_none).
#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/AppState.h"
#include "core/DataFolder.h"
#include "list/BulkSmsWindow.h"

#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

class StoreTestWindow : public BulkSmsWindow {
public:
    StoreTestWindow(Kind kind, Operator& op, const DataFolder& folder) : BulkSmsWindow(kind, op, folder) {
        windowDidLoad();
    }
    QString title() const override { return QStringLiteral("test"); }
    int runConnectionSteps() override { return 0; }
    QStringList numbers() const {
        QStringList out;
        for (const Record& r : list().records())
            out << r.value(kNumberKey);
        return out;
    }
};

class StoreWindowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QFile::copy(QStringLiteral(BULKSMS_TEMPLATE_XLSX), home.resources() + "/Template.xlsx"));
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        gsm = std::make_unique<StoreTestWindow>(MainWindowController::Kind::Gsm, op, home.folder);
        android = std::make_unique<StoreTestWindow>(MainWindowController::Kind::Android, op, home.folder);
        GSM_App_wnd = gsm.get();
        Main_App_wnd = android.get();
        gsm_and_none = 1;
        text_change_notifications_on = true; // as after launch
    }
    void TearDown() override {
        GSM_App_wnd = nullptr;
        Main_App_wnd = nullptr;
        gsm_and_none = 1;
    }
    QString path(const QString& name) const { return home.root() + "/" + name; }
    void writeFile(const QString& name, const QByteArray& bytes) const {
        QFile f(path(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }

    TestDataHome home;
    ScriptedOperator op;
    std::unique_ptr<StoreTestWindow> gsm, android;
};
