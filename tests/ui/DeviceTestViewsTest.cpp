// The device test windows show their controllers' cases and outcomes, and forward clicks;
// run against a virtual modem, with pictures kept in BULKSMS_SCREENSHOT_DIR.
#include "android/windows/Android_TroubleShooting.h"
#include "core/Clock.h"
#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "gsm/windows/Selected_Device_Details_GSM.h"
#include "sim/VirtualModem.h"
#include "ui/AndroidTroubleShootingView.h"
#include "ui/AutomatedGsmSendingView.h"
#include "ui/GsmDeviceListView.h"

#include "ui/SelectedDeviceDetailsView.h"
#include <QFile>
#include <QTemporaryDir>

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/SettingsFile.h"
#include "services/DeviceSettingsMemory.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTableView>

#include <gtest/gtest.h>

#include <thread>

namespace {

void keepPicture(QWidget& view, const QString& name) {
    const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
    if (!pictures.isEmpty())
        view.grab().save(pictures + "/" + name + ".png");
}

QPushButton* button(QWidget& view, const QString& text) {
    for (QPushButton* b : view.findChildren<QPushButton*>())
        if (b->text() == text)
            return b;
    ADD_FAILURE() << "no button " << text.toStdString();
    return nullptr;
}

class DeviceTestViews : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::setScale(0.2); // read time-outs long enough for a busy machine drawing windows
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        behaviour.pduModeRefused = true; // lists PDU mode, refuses AT+CMGF=0
        modem = std::make_unique<sim::VirtualModem>(sim::ModemIdentity{}, behaviour);
        ASSERT_TRUE(modem->start());
        // A probe that a busy machine made miss its answer is searched again.
        for (int attempt = 0; attempt < 3 && devices.nsPortListData().isEmpty(); ++attempt) {
            std::atomic<bool> done{false};
            std::thread worker([&] {
                devices.GetModemPath({modem->devicePath()});
                done = true;
            });
            ASSERT_TRUE(spinUntil([&] { return done.load(); }, std::chrono::seconds(60)));
            worker.join();
        }
        ASSERT_EQ(devices.nsPortListData().size(), 1);
    }
    void TearDown() override { Clock::setScale(0.001); }
    TestDataHome home; // first: its environment is set before any thread of the test starts
    ScriptedOperator op;
    DeviceSelection selection; // the GSM window's
    GSM_Device_List_Wnd devices{op, selection};
    std::unique_ptr<sim::VirtualModem> modem;
};

TEST_F(DeviceTestViews, TheDeviceWindowRunsTheTestOfTheShownDevice) {
    GsmDeviceListView view(devices, nullptr);
    view.show();
    devices.showDevice(0);
    devices.waitForWorkers();
    // After the search the custom number is the modem's own centre: its cases are offered too.
    ASSERT_TRUE(spinUntil([&] { return devices.nsCaseListData().size() == 4; }));
    auto* number = view.findChild<QLineEdit*>();
    ASSERT_NE(number, nullptr);
    devices.setTestNumberText("+447700900555");
    button(view, "Send Test SMS")->click();
    EXPECT_TRUE(devices.testing());
    devices.waitForWorkers();
    ASSERT_TRUE(spinUntil([&] { return !devices.testing(); }));
    for (int row : {0, 1})
        EXPECT_EQ(devices.nsCaseListData().at(row).value("Status"),
                  "Error : the device refused PDU Mode (AT+CMGF=0).");
    for (int row : {2, 3})
        EXPECT_EQ(devices.nsCaseListData().at(row).value("Status"), "Message sent successfully.");
    ASSERT_EQ(modem->received().size(), 2);
    for (const sim::ReceivedMessage& m : modem->received())
        EXPECT_EQ(m.mode, "TEXT");
    keepPicture(view, "gsm-device-test");
}

// While the window shows it follows plugging: a modem plugged gets its row and a line says so.
TEST_F(DeviceTestViews, TheDeviceWindowFollowsPluggingWhileItShows) {
    QTemporaryDir dir;
    const QString link = dir.filePath("stick");
    qputenv("BULKSMS_EXTRA_MODEMS", link.toUtf8());
    GsmDeviceListView view(devices, nullptr);
    view.show();
    EXPECT_TRUE(devices.watchingPlugging());
    sim::ModemIdentity id;
    id.imei = "350000000000777";
    sim::VirtualModem plugged(id, {});
    ASSERT_TRUE(plugged.start());
    ASSERT_TRUE(QFile::link(plugged.devicePath(), link));
    ASSERT_TRUE(spinUntil([&] { return devices.nsPortListData().size() == 2; }, std::chrono::seconds(30)));
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    EXPECT_TRUE(devices.plugNotice().contains("stick")) << devices.plugNotice().toStdString();
    keepPicture(view, "gsm-device-plugged");
    view.hide();
    EXPECT_FALSE(devices.watchingPlugging());
    devices.waitForWorkers();
}

TEST_F(DeviceTestViews, TheAutomatedWindowAppliesTheChosenCase) {
    Automated_GSM_Sending window(op);
    window.open(devices.nsPortListData().records(), devices.settingsWriter());
    window.setCustomSmscText("+447700900999");
    window.setTestNumberText("+447700900555");
    AutomatedGsmSendingView view(window, nullptr);
    view.show();
    button(view, "Start Test")->click();
    // A picture while a case runs (none is kept when the run was quicker than the look).
    if (spinUntil([&] { return window.information().startsWith("Execute Case 2"); }))
        keepPicture(view, "gsm-automated-running");
    window.waitForTest();
    ASSERT_TRUE(spinUntil([&] { return !window.testing(); }));
    auto* cases = view.findChildren<QTableView*>().at(1);
    ASSERT_EQ(cases->model()->rowCount(), 4);
    for (int row : {0, 1})
        EXPECT_EQ(cases->model()->index(row, 2).data().toString(),
                  "Error : the device refused PDU Mode (AT+CMGF=0).");
    for (int row : {2, 3})
        EXPECT_EQ(cases->model()->index(row, 2).data().toString(), "Message sent successfully.");
    cases->selectRow(3);
    EXPECT_EQ(window.selectedCase(), 3);
    keepPicture(view, "gsm-automated-test");
    op.answerYes();
    button(view, "Use Selected Settings")->click();
    keepPicture(view, "gsm-automated-applied");
    EXPECT_EQ(window.nsDeviceListData().at(0).value("Setting_USE"), "Y");
    EXPECT_EQ(devices.nsPortListData().at(0).value("SMSMode"), "Text Mode");
    EXPECT_EQ(devices.nsPortListData().at(0).value("UseCusSMSC"), "N");
}

TEST_F(DeviceTestViews, TheDetailsWindowShowsTheSelectedDevices) {
    selection.port_det_str_array = devices.nsPortListData().records();
    selection.port_det_str_array[0].insert("SMSMode", "Text Mode");
    Selected_Device_Details_GSM window(op, selection);
    window.fillRows();
    SelectedDeviceDetailsView view(window, nullptr);
    view.show();
    EXPECT_TRUE(view.findChildren<QRadioButton*>().at(1)->isChecked()); // text mode
    keepPicture(view, "gsm-selected-details");
    view.findChildren<QRadioButton*>().at(0)->click();
    EXPECT_EQ(selection.port_det_str_array.at(0).value("SMSMode"), "PDU Mode");
}

// The SIM's limits are set where its mode is, kept in the settings file beside it (a mode
// change loses none), come back with the window, and a write that fails is told.
TEST_F(DeviceTestViews, TheDetailsWindowKeepsTheSimsLimits) {
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    selection.port_det_str_array = devices.nsPortListData().records();
    const Record device = selection.port_det_str_array.at(0);
    ASSERT_FALSE(DeviceSettingsMemory::keyOf(device).isEmpty());
    {
        Selected_Device_Details_GSM window(op, selection, DeviceSettingsMemory(home.folder));
        window.fillRows();
        SelectedDeviceDetailsView view(window, nullptr);
        view.show();
        auto* perMinute = view.findChild<QSpinBox*>("limitPerMinute");
        auto* perDay = view.findChild<QSpinBox*>("limitPerDay");
        ASSERT_TRUE(perMinute && perDay);
        EXPECT_EQ(perMinute->value(), 0);
        perMinute->setValue(3);
        perDay->setValue(400);
        keepPicture(view, "gsm-selected-details-limits");
        view.findChildren<QRadioButton*>().at(1)->click(); // Text Mode, with its notice
        EXPECT_EQ(selection.port_det_str_array.at(0).value("SMSMode"), "Text Mode");
    }
    const DeviceLimits kept{3, 0, 400, 0, 0};
    EXPECT_EQ(keptDeviceLimits(home.folder).value(DeviceSettingsMemory::keyOf(device)), kept);
    EXPECT_EQ(DeviceSettingsMemory(home.folder).read().value(DeviceSettingsMemory::keyOf(device)).mode,
              "Text Mode");

    Selected_Device_Details_GSM again(op, selection, DeviceSettingsMemory(home.folder));
    again.fillRows();
    SelectedDeviceDetailsView view(again, nullptr);
    EXPECT_EQ(again.shownLimits(), kept);
    EXPECT_EQ(view.findChild<QSpinBox*>("limitPerDay")->value(), 400);

    // The settings file cannot be replaced: the operator is told and the window shows what is kept.
    ASSERT_TRUE(QFile::remove(SettingsFile::path(home.folder)));
    ASSERT_TRUE(QDir().mkpath(SettingsFile::path(home.folder)));
    const qsizetype before = op.alerts().size();
    view.findChild<QSpinBox*>("limitPerHour")->setValue(50);
    ASSERT_EQ(op.alerts().size(), before + 1);
    EXPECT_TRUE(op.alerts().last().contains("could not be kept")) << op.alerts().last().toStdString();
    EXPECT_EQ(again.shownLimits(), kept);
    EXPECT_EQ(view.findChild<QSpinBox*>("limitPerHour")->value(), 0);
}

TEST(AndroidTestViews, TheModeTestShowsItsCasesAndRadios) {
    TestDataHome home;
    ScriptedOperator op;
    DeviceSelection selection;
    AndroidSelection chosen;
    chosen.AND_SMS_sending_mode = int(AndroidSendingMode::Classic);
    Android_TroubleShooting window(op, home.folder, chosen, selection);
    window.open("VIRTUAL PHONE 5G");
    const QStringList outcomes = {"Fail", "Success", "Success"};
    for (int i = 0; i < 3; ++i) {
        Record row = window.cases().at(i);
        row.insert("Status", outcomes.at(i));
        window.cases().replace(i, row);
    }
    AndroidTroubleShootingView view(window, nullptr);
    view.show();
    EXPECT_TRUE(view.findChildren<QRadioButton*>().at(2)->isChecked());
    keepPicture(view, "android-mode-test");
    view.findChildren<QRadioButton*>().at(1)->click();
    button(view, "OK")->click();
    EXPECT_EQ(window.endCode(), 1);
    EXPECT_EQ(chosen.AND_SMS_sending_mode, int(AndroidSendingMode::Standard));
}

} // namespace
