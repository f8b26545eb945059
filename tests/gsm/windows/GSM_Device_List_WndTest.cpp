// The GSM device window against virtual modems on pseudo-terminals: the search, the
// device records, the settings and the selection with its checks and questions.
#include "gsm/windows/GSM_Device_List_Wnd.h"

#include "MainThreadWatchdog.h"
#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"
#include "core/Log.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <stop_token>

namespace {

using sim::ModemBehaviour;
using sim::ModemIdentity;
using sim::VirtualModem;

ModemBehaviour behaving(const std::function<void(ModemBehaviour&)>& change) {
    ModemBehaviour b;
    change(b);
    return b;
}

class DeviceWindowTest : public VirtualModemsTest {
protected:
    // Eight modems answer at once here: read time-outs with room for a loaded machine.
    DeviceWindowTest() : VirtualModemsTest(0.2) {}
    // Runs the search pass on a worker, as the window does, and waits for it.
    int search(std::stop_token stop = {}) {
        std::atomic<int> result{-1};
        std::thread worker([&] { result = window.GetModemPath(paths(), stop); });
        EXPECT_TRUE(spinUntil([&] { return result != -1; }, std::chrono::seconds(60)));
        worker.join();
        return result;
    }
    Record record(int row) const { return window.nsPortListData().at(row); }
    ScriptedOperator op;
    DeviceSelection selection; // the GSM window's, as the device window fills it
    GSM_Device_List_Wnd window{op, selection};
};

TEST_F(DeviceWindowTest, TwoModemsAreFoundInOrderWithTheirDetails) {
    attach(identity("111111111111111", "Alpha"));
    ModemIdentity second = identity("222222222222222", "Beta");
    second.smsc = "+15550001111";
    second.smscAsUcs2 = true;
    second.rssi = 14;
    attach(second, [](ModemBehaviour& b) { b.modes = ModemBehaviour::Modes::TextOnly; });

    EXPECT_EQ(search(), 0);
    ASSERT_EQ(window.nsPortListData().size(), 2);
    const Record first = record(0);
    EXPECT_EQ(first.value("PORT_DETAL"), paths().at(0));
    EXPECT_EQ(first.value("COM_PORT"), paths().at(0).mid(5)); // "pts/N": the path below /dev
    EXPECT_EQ(GSM_Device_List_Wnd::deviceName(first), "VM-100 on " + paths().at(0).mid(5));
    EXPECT_EQ(first.value("Manufacture"), "Alpha");
    EXPECT_EQ(first.value("IMEI"), "111111111111111");
    EXPECT_EQ(first.value("SMSMode"), "PDU Mode");
    EXPECT_EQ(first.value("SUPSMSMode"), ";PDU Mode;Text Mode;");
    EXPECT_EQ(first.value("DefSMSC"), "+447700900123");
    EXPECT_EQ(first.value("CusSMSC"), "+447700900123");
    EXPECT_EQ(first.value("UseCusSMSC"), "N");
    EXPECT_EQ(first.value("SMS_CAPABLE"), "Yes");
    EXPECT_EQ(first.value("Operator"), "Net One");
    const Record other = record(1);
    EXPECT_EQ(other.value("Manufacture"), "Beta");
    EXPECT_EQ(other.value("SMSMode"), "Text Mode");
    EXPECT_EQ(other.value("SUPSMSMode"), ";Text Mode;");
    EXPECT_EQ(other.value("DefSMSC"), "+15550001111"); // reported as UCS2 hex
    EXPECT_EQ(other.value("Signal"), "Medium (14)");
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(DeviceWindowTest, NothingFoundSaysSo) {
    EXPECT_EQ(search(), 5);
    EXPECT_EQ(op.alerts(), QStringList{"\nGSM device not found."});
}

class SelectionTest : public DeviceWindowTest {
protected:
    void SetUp() override {
        DeviceWindowTest::SetUp();
        attach(identity("555555555555555", "Good"));
        attach(identity("666666666666666", "Flaky"));
        ASSERT_EQ(search(), 0);
        ASSERT_EQ(window.nsPortListData().size(), 2);
    }
};

TEST_F(SelectionTest, OneFailingDeviceShowsThePlainMessageAndStays) {
    window.setRowTicked(1, true);
    modems.at(1)->setBehaviour(behaving([](ModemBehaviour& b) { b.silent = true; }));
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    EXPECT_EQ(op.alerts(),
              QStringList{"\nEither no Mobile Device is connected on this port or selected device is "
                          "not working properly."});
    EXPECT_FALSE(window.isEnded());
    EXPECT_TRUE(selection.port_val_str_array.isEmpty());
}

TEST_F(SelectionTest, TwoTickedWithOneFailingAsksAndKeepsTheOther) {
    window.setRowTicked(0, true);
    window.setRowTicked(1, true);
    modems.at(1)->setBehaviour(behaving([](ModemBehaviour& b) { b.silent = true; }));
    op.answerYes();
    window.beginModal();
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    EXPECT_EQ(
        op.questions(),
        QStringList{"Either no Mobile Device is connected on this port or selected device is not working "
                    "properly.\n\nAre you sure you want to continue without selecting device?"});
    EXPECT_TRUE(window.isEnded());
    EXPECT_EQ(window.endCode(), 1);
    EXPECT_EQ(selection.port_val_str_array, QStringList{paths().at(0)});
    EXPECT_EQ(selection.sel_port_bsd_str, paths().at(0));
    EXPECT_EQ(selection.port_det_str_array.size(), 1);
    EXPECT_TRUE(modems.at(0)->commandLog().contains("AT+CMMS=2"));
}

TEST_F(SelectionTest, TheChecksTalkToTheModemsOffTheMainThread) {
    window.setRowTicked(0, true);
    window.beginModal();
    window.Multi_Phone_Selected_Func();
    // Back at once, behind the progress sheet: the hand-back needs this thread's events.
    EXPECT_TRUE(window.progressSheetShown());
    EXPECT_FALSE(window.isEnded());
    window.waitForWorkers();
    EXPECT_FALSE(window.progressSheetShown());
    EXPECT_EQ(window.endCode(), 1);
    EXPECT_EQ(selection.port_val_str_array, QStringList{paths().at(0)});
}

TEST_F(SelectionTest, ADeviceWithoutAModeCannotBeSelected) {
    window.Update_Column_Value(paths().at(0), "SMSMode", "NONE");
    window.setRowTicked(0, true);
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    EXPECT_EQ(op.alerts(), QStringList{"\nSMS Mode details should not be blanked."});
    EXPECT_FALSE(window.isEnded());
}

TEST_F(SelectionTest, NothingTickedOrNothingListed) {
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    GSM_Device_List_Wnd empty(op, selection);
    empty.Multi_Phone_Selected_Func();
    empty.waitForWorkers();
    EXPECT_EQ(op.alerts(), (QStringList{"\nPlease select device from list.", "\nDevice list is empty."}));
}

TEST_F(SelectionTest, ShownDeviceGetsDetailsModesAndAValidatedCustomSmsc) {
    window.showDevice(1);
    ASSERT_TRUE(spinUntil([&] { return !window.progressSheetShown() && !window.detailsText().isEmpty(); }));
    EXPECT_TRUE(window.detailsText().startsWith("COM Port : " + paths().at(1).mid(5) +
                                                "\r\nManufacturer : Flaky\r\n"));
    EXPECT_TRUE(window.detailsText().contains("Supported SMS Mode : PDU Mode & Text Mode\r\n"));
    EXPECT_EQ(window.heading(), "SMS settings of Flaky VM-100 at " + paths().at(1).mid(5));

    window.Text_Mode_Radio();
    EXPECT_EQ(record(1).value("SMSMode"), "Text Mode");
    EXPECT_TRUE(op.alerts().last().startsWith("\nInformation:\n\nYou have selected 'Text Mode'"));

    window.setCustomSmscText("+44+7700");
    window.Custom_SMSC_Pressed(true);
    EXPECT_EQ(op.alerts().last(),
              "\nThe SMSC number does not seem to be valid. Please enter a valid SMSC number.");
    EXPECT_EQ(record(1).value("UseCusSMSC"), "N");
    window.setCustomSmscText("+44 7700 900999");
    EXPECT_TRUE(window.update_custom_smsc());
    EXPECT_EQ(record(1).value("UseCusSMSC"), "Y");
    EXPECT_EQ(record(1).value("CusSMSC"), "+44 7700 900999");

    window.Custom_SMSC_Pressed(false);
    EXPECT_EQ(record(1).value("UseCusSMSC"), "N");
    EXPECT_EQ(record(1).value("CusSMSC"), "+447700900123");
}

} // namespace

namespace {

TEST_F(SelectionTest, AShownDeviceCanBeSelectedAfterwards) {
    window.showDevice(0);
    ASSERT_TRUE(spinUntil([&] { return !window.progressSheetShown() && !window.detailsText().isEmpty(); }));
    window.waitForWorkers(); // the details' worker may still be closing the port
    window.setRowTicked(0, true);
    window.beginModal();
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    EXPECT_TRUE(op.alerts().isEmpty());
    EXPECT_EQ(window.endCode(), 1);
}

} // namespace

namespace {

// A search that finds nobody says so in the heading, instead of "Searching Device" for ever.
TEST_F(DeviceWindowTest, ASearchThatFindsNoModemSaysWhy) {
    attach(identity("350000000000300"), [](ModemBehaviour& b) { b.silent = true; });
    qputenv("BULKSMS_EXTRA_MODEMS", paths().join(QLatin1Char(':')).toUtf8());
    window.Search_dev_Pressed();
    ASSERT_TRUE(spinUntil([&] { return !window.searching() && window.heading().endsWith("search again."); },
                          std::chrono::seconds(60)))
        << window.heading().toStdString();
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    EXPECT_TRUE(window.nsPortListData().isEmpty());
    EXPECT_TRUE(window.heading().startsWith("No answer from the 1 modem searched."))
        << window.heading().toStdString();
}

TEST_F(DeviceWindowTest, EightModemsAreSearchedAndSelectedWhileTheWindowStaysResponsive) {
    for (int i = 0; i < 8; ++i)
        attach(identity(QStringLiteral("35000000000010%1").arg(i).toLatin1().constData()));
    qputenv("BULKSMS_EXTRA_MODEMS", paths().join(QLatin1Char(':')).toUtf8());
    MainThreadWatchdog watchdog;

    window.Search_dev_Pressed();
    ASSERT_TRUE(spinUntil([&] { return !window.searching() && !window.detailsText().isEmpty(); },
                          std::chrono::seconds(60)));
    window.waitForWorkers(); // the first device's details
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    ASSERT_EQ(window.nsPortListData().size(), 8);
    for (int row = 0; row < 8; ++row)
        EXPECT_EQ(record(row).value("PORT_DETAL"), paths().at(row)); // discovery order, however probes end

    for (int row = 0; row < 8; ++row)
        window.setRowTicked(row, true);
    window.beginModal();
    window.Multi_Phone_Selected_Func();
    ASSERT_TRUE(spinUntil([&] { return !window.progressSheetShown(); }, std::chrono::seconds(60)));
    window.waitForWorkers();
    EXPECT_EQ(selection.port_val_str_array, paths());
    EXPECT_LT(watchdog.longestGapMs(), 100);
}

} // namespace

namespace {

// A modem plugged while the window is open gets its row, probed like any other; unplugged,
// its row goes and the window says so.
TEST_F(DeviceWindowTest, AModemPluggedWhileOpenGetsItsRowAndLosesItUnplugged) {
    attach(identity("350000000000401", "Listed"));
    EXPECT_EQ(search(), 0);
    QTemporaryDir dir;
    const QString link = dir.filePath("stick");
    qputenv("BULKSMS_EXTRA_MODEMS", link.toUtf8());
    window.watchPlugging();
    window.showDevice(0);
    window.waitForWorkers();

    attach(identity("350000000000402", "Plugged"));
    ASSERT_TRUE(QFile::link(modems.back()->devicePath(), link));
    ASSERT_TRUE(spinUntil([&] { return window.nsPortListData().size() == 2; }, std::chrono::seconds(30)));
    EXPECT_EQ(record(1).value("IMEI"), "350000000000402");
    EXPECT_EQ(record(1).value("PORT_DETAL"), link);
    EXPECT_FALSE(record(1).value("ICCID").isEmpty());
    EXPECT_TRUE(window.plugNotice().contains("Plugged")) << window.plugNotice().toStdString();

    window.showDevice(1);
    window.waitForWorkers();
    ASSERT_TRUE(QFile::remove(link));
    ASSERT_TRUE(spinUntil([&] { return window.nsPortListData().size() == 1; }, std::chrono::seconds(30)));
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    EXPECT_EQ(record(0).value("IMEI"), "350000000000401");
    EXPECT_TRUE(window.plugNotice().startsWith("Unplugged")) << window.plugNotice().toStdString();
    // The device shown was the one unplugged: nothing of it stays on show.
    EXPECT_EQ(window.Prev_Index(), -1);
    EXPECT_TRUE(window.detailsText().isEmpty());
    EXPECT_FALSE(window.settingsEnabled());
    window.stopWatchingPlugging();
    EXPECT_TRUE(op.alerts().isEmpty());
}

// The search's progress counts modems: a modem of two ports is one step, and the end is reached.
TEST_F(DeviceWindowTest, ProgressCountsModemsNotPorts) {
    attach(identity("350000000000501"), [](ModemBehaviour& b) { b.silent = true; });
    attach(identity("350000000000501"));
    attach(identity("350000000000502"));
    qputenv("BULKSMS_EXTRA_MODEMS",
            QStringLiteral("1-1.1=%1,%2:%3").arg(paths().at(0), paths().at(1), paths().at(2)).toUtf8());
    EXPECT_EQ(search(), 0);
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    EXPECT_EQ(window.nsPortListData().size(), 2);
    EXPECT_EQ(window.progressMaximum(), 2);
    EXPECT_EQ(window.progressValue(), 2);
}

} // namespace
