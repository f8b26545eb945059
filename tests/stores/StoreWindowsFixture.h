#pragma once
// A data home with the workbook template, and both main windows as the stored-list windows
// find them (the GSM one in front unless a test brings the other forward).
#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/DataFolder.h"
#include "core/MainWindows.h"
#include "list/windows/BulkSmsWindow.h"

#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

class StoreTestWindow : public BulkSmsWindow {
public:
    StoreTestWindow(Kind kind, Operator& op, const DataFolder& folder) : BulkSmsWindow(kind, op, folder) {
        windowDidLoad();
        setTextChangeNotifications(true); // as after launch
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
        windows = std::make_unique<MainWindows>(*android, *gsm);
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
    std::unique_ptr<MainWindows> windows;
};
