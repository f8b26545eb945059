// Launch order: data folder laid out, GSM window in front.
#include "core/Launch.h"
#include "core/DataFolder.h"
#include "core/MainWindows.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

class PlainWindow : public MainWindowController {
public:
    using MainWindowController::MainWindowController;
    QString title() const override { return "window"; }
    int runConnectionSteps() override { return 0; }
    void windowDidLoad() override { loaded = true; }
    bool loaded = false;
};

TEST(Launch, LaysOutTheDataFolderAndBringsTheGsmWindowToTheFront) {
    TestDataHome home;
    ScriptedOperator op;
    PlainWindow android(MainWindowController::Kind::Android, op);
    PlainWindow gsm(MainWindowController::Kind::Gsm, op);
    MainWindows windows(android, gsm);
    android.bringToFront();
    windows.setFront(MainWindowController::Kind::Android);

    ASSERT_TRUE(Launch_Application(op, home.folder, windows));
    EXPECT_TRUE(QFileInfo::exists(home.folder.ExListIndex_File_Path()));
    EXPECT_TRUE(android.loaded && gsm.loaded);
    EXPECT_TRUE(gsm.isVisible());
    EXPECT_FALSE(android.isVisible());
    EXPECT_EQ(&windows.front(), &gsm);
    EXPECT_TRUE(android.textChangeNotificationsOn() && gsm.textChangeNotificationsOn());
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST(Launch, AnInaccessibleResourceFolderEndsTheApplication) {
    TestDataHome home;
    QFile blocker(home.root() + "/file");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const DataFolder folder(home.dataHome(), home.root() + "/file/resources");
    ScriptedOperator op;
    PlainWindow android(MainWindowController::Kind::Android, op);
    PlainWindow gsm(MainWindowController::Kind::Gsm, op);
    MainWindows windows(android, gsm);

    EXPECT_FALSE(Launch_Application(op, folder, windows));
    EXPECT_EQ(op.alerts(), QStringList{"\nCan not access Bulk sms Data file."});
    EXPECT_TRUE(op.quitRequested());
    EXPECT_FALSE(gsm.loaded); // nothing after the failing step ran
}

} // namespace
