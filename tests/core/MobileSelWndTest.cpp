// The device-kind dialog and the device selection sequence, with windows whose
// connection steps and device search are played by the test.
#include "core/MainWindows.h"
#include "core/windows/Mobile_Sel_Wnd.h"

#include "ScriptedOperator.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

class StepsDialog : public DialogController {
    Q_OBJECT
};

class TestWindow : public MainWindowController {
public:
    TestWindow(Kind kind, Operator& op) : MainWindowController(kind, op) {}
    QString title() const override { return "test"; }
    int runConnectionSteps() override {
        StepsDialog steps;
        return op().runModal(steps);
    }
    std::function<bool()> search = [] { return true; };

protected:
    void openDeviceSearchWindow(std::function<void(bool)> reported) override { reported(search()); }
};

std::function<void(DialogController&)> endWith(int code) {
    return [code](DialogController& d) { d.endModal(code); };
}

// The search window's effect: the devices it leaves selected in the window's selection.
std::function<bool()> selects(TestWindow& window, QStringList names, bool success = true) {
    return [&window, names, success] {
        DeviceSelection& selection = window.selection();
        selection.port_val_str_array = names;
        selection.sel_port_name_str = names.isEmpty() ? QString() : names.first();
        selection.sel_port_bsd_str = names.isEmpty() ? QString() : "/dev/ttyUSB0";
        return success;
    };
}

class MobileSelWndTest : public ::testing::Test {
protected:
    void SetUp() override {
        gsm.bringToFront();
        android.hide();
    }
    int run() {
        Mobile_Sel_Wnd dialog(windows);
        return op.runModal(dialog);
    }
    ScriptedOperator op;
    TestWindow gsm{MainWindowController::Kind::Gsm, op};
    TestWindow android{MainWindowController::Kind::Android, op};
    MainWindows windows{android, gsm};
};

TEST_F(MobileSelWndTest, GsmWithThreeModemsShowsTheCountAndAllDevice) {
    gsm.search = selects(gsm, {"/dev/ttyUSB0", "/dev/ttyUSB2", "/dev/ttyACM0"});
    op.onModal<Mobile_Sel_Wnd>([](Mobile_Sel_Wnd& d) { d.GSM_Btn(); }).onModal(endWith(1));

    EXPECT_EQ(run(), 1);
    EXPECT_EQ(gsm.deviceCaption(), "3 Mobile Device selected.");
    EXPECT_EQ(gsm.deviceChoices(),
              (QStringList{"/dev/ttyUSB0", "/dev/ttyUSB2", "/dev/ttyACM0", "All Device"}));
    EXPECT_EQ(gsm.currentDeviceChoice(), "All Device");
    EXPECT_FALSE(gsm.noDeviceNoticeVisible());
    EXPECT_TRUE(gsm.isVisible());
    EXPECT_FALSE(android.isVisible());
}

TEST_F(MobileSelWndTest, OneDeviceIsNamedAndChosen) {
    gsm.search = selects(gsm, {"Modem A"});
    op.onModal<Mobile_Sel_Wnd>([](Mobile_Sel_Wnd& d) { d.GSM_Btn(); }).onModal(endWith(1));
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(gsm.deviceCaption(), "Modem A");
    EXPECT_EQ(gsm.deviceChoices(), QStringList{"Modem A"});
    EXPECT_EQ(gsm.deviceChoiceIndex(), 0);
}

TEST_F(MobileSelWndTest, AndroidNeverAddsAllDevice) {
    android.search = selects(android, {"Pixel", "Galaxy"});
    op.onModal<Mobile_Sel_Wnd>([](Mobile_Sel_Wnd& d) { d.Android_Btn(); }).onModal(endWith(1));
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(windows.frontKind(), MainWindowController::Kind::Android);
    EXPECT_EQ(android.deviceCaption(), "Pixel");
    EXPECT_EQ(android.deviceChoices(), (QStringList{"Pixel", "Galaxy"}));
    EXPECT_TRUE(android.isVisible());
    EXPECT_FALSE(gsm.isVisible());
}

TEST_F(MobileSelWndTest, CancelledStepsCloseTheDialogWithTheChosenWindowInFront) {
    op.onModal<Mobile_Sel_Wnd>([](Mobile_Sel_Wnd& d) { d.Android_Btn(); }).onModal(endWith(0));
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(android.isVisible());
    EXPECT_FALSE(gsm.isVisible());
    EXPECT_EQ(android.deviceCaption(), "No Mobile Phone Device is selected.");
}

TEST_F(MobileSelWndTest, BackOrAFailedSearchShowsTheChoiceAgain) {
    gsm.search = selects(gsm, {}, false);
    op.onModal<Mobile_Sel_Wnd>([this](Mobile_Sel_Wnd& d) {
        d.GSM_Btn(); // steps: back
        EXPECT_TRUE(d.panelVisible());
        EXPECT_FALSE(d.isEnded());
        d.GSM_Btn(); // steps: continue, search fails
        EXPECT_TRUE(d.panelVisible());
        EXPECT_FALSE(d.isEnded());
        EXPECT_EQ(gsm.deviceCaption(), "No Mobile Phone Device is selected.");
        EXPECT_TRUE(gsm.noDeviceNoticeVisible());
        d.Cancel_Btn();
    });
    op.onModal(endWith(DialogController::NoCode)).onModal(endWith(1));
    EXPECT_EQ(run(), 0);
}

TEST_F(MobileSelWndTest, ANewSearchClearsThePreviousChoice) {
    gsm.search = selects(gsm, {"A", "B"});
    op.onModal(endWith(1));
    gsm.connectDevice();
    ASSERT_EQ(gsm.deviceChoices().size(), 3);

    gsm.search = [] { return true; }; // the search window selects nothing
    op.onModal(endWith(1));
    gsm.connectDevice();
    EXPECT_TRUE(gsm.selection().sel_port_name_str.isEmpty());
    EXPECT_TRUE(gsm.deviceChoices().isEmpty());
    EXPECT_TRUE(gsm.noDeviceNoticeVisible());
}

TEST_F(MobileSelWndTest, ConnectStopsOnCancelOnly) {
    int searches = 0;
    android.search = [&] {
        ++searches;
        return true;
    };
    op.onModal(endWith(0)).onModal(endWith(DialogController::NoCode)).onModal(endWith(1));
    android.connectDevice();
    android.connectDevice();
    android.connectDevice();
    EXPECT_EQ(searches, 2); // back proceeds as well
}

TEST_F(MobileSelWndTest, ExitAsksAndQuitsOnlyOnYes) {
    gsm.setTextChangeNotifications(true);
    op.answerNo();
    gsm.Exit_App();
    EXPECT_FALSE(op.quitRequested());
    EXPECT_FALSE(gsm.textChangeNotificationsOn());

    op.answerYes();
    android.Exit_App();
    EXPECT_TRUE(op.quitRequested());
    EXPECT_EQ(op.questions(), QStringList(2, "\nDo you really want to exit from 'Ostrel Bulk SMS'?"));
}

} // namespace

#include "MobileSelWndTest.moc"
