// A modem's send settings outlive the program, and follow its SIM from port to port: set in the
// device window, kept in the data folder, laid over the next start's search, and used by a real
// message (the virtual network's record of it).
#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "gsm/windows/Selected_Device_Details_GSM.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"
#include "core/SettingsFile.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

namespace {

const QString kCustomCentre = QStringLiteral("+447700900999");
const QString kTestMessage = QStringLiteral("Test Message From Ostrel Bulk SMS Software.");

sim::ModemIdentity simCard(const char* imei, const char* iccid, const char* maker) {
    sim::ModemIdentity id = identity(imei, maker);
    id.iccid = iccid;
    return id;
}

class SettingsFollowTheSimTest : public VirtualModemsTest {
protected:
    SettingsFollowTheSimTest() : VirtualModemsTest(0.2) {}

    // The modems plugged into the two ports, in order: the ports are links to their lines, as
    // udev names a USB modem's line by the socket it is plugged into.
    void plug(const sim::ModemIdentity& first, const sim::ModemIdentity& second) {
        modems.clear();
        attach(first);
        attach(second);
        for (int i = 0; i < 2; ++i) {
            QFile::remove(port(i));
            ASSERT_TRUE(QFile::link(modems.at(i)->devicePath(), port(i)));
        }
    }
    QString port(int i) const { return sockets.filePath(QStringLiteral("ttyUSB%1").arg(i)); }

    // The search pass on a worker, as the window runs it; the records by port.
    void search(GSM_Device_List_Wnd& window) {
        std::atomic<int> result{-1};
        std::thread worker([&] { result = window.GetModemPath({port(0), port(1)}); });
        EXPECT_TRUE(spinUntil([&] { return result != -1; }, std::chrono::seconds(60)));
        worker.join();
        ASSERT_EQ(result, 0);
        ASSERT_EQ(window.nsPortListData().size(), 2);
    }
    static void show(GSM_Device_List_Wnd& window, int row) {
        window.showDevice(row);
        ASSERT_TRUE(
            spinUntil([&] { return !window.progressSheetShown() && !window.detailsText().isEmpty(); }));
        window.waitForWorkers();
    }
    static QStringList settingsOf(const Record& r) {
        return {r.value(kSmsModeKey), r.value(kUseCustomSmscKey), r.value(kCustomSmscKey)};
    }

    TestDataHome home;
    QTemporaryDir sockets;
    ScriptedOperator op;
    const sim::ModemIdentity first = simCard("111111111111111", "8944100000000000012", "Alpha");
    const sim::ModemIdentity second = simCard("222222222222222", "8944100000000000020", "Beta");
};

TEST_F(SettingsFollowTheSimTest, SettingsFollowTheSimToAnotherPortAndSendWithIt) {
    plug(first, second);
    {
        DeviceSelection selection;
        GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
        search(window);
        ASSERT_EQ(window.nsPortListData().at(0).value(kIccidKey), "8944100000000000012");
        show(window, 0);
        EXPECT_TRUE(
            window.detailsText().endsWith("Signal Quality : High (20)\r\nICCID : 8944100000000000012\r\n"))
            << window.detailsText().toStdString();
        window.setCustomSmscText(kCustomCentre);
        window.Custom_SMSC_Pressed(true);
        window.Text_Mode_Radio();
        EXPECT_EQ(op.alerts().size(), 1) << "the text mode notice, and no failure to keep";
    } // the program ends

    // The next start: the same modems, each in the other's socket.
    plug(second, first);
    DeviceSelection selection;
    GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
    search(window);
    const Record moved = window.nsPortListData().at(1);
    EXPECT_EQ(moved.value(kManufacturerKey), "Alpha");
    EXPECT_EQ(moved.value(kPortDetailKey), port(1));
    EXPECT_EQ(settingsOf(moved), (QStringList{"Text Mode", "Y", kCustomCentre}));
    const Record other = window.nsPortListData().at(0);
    EXPECT_EQ(other.value(kManufacturerKey), "Beta");
    EXPECT_EQ(settingsOf(other), (QStringList{"PDU Mode", "N", "+447700900123"}))
        << "the port's old settings stay with the SIM that had them";
    show(window, 1);
    EXPECT_TRUE(window.customSmscChecked());
    EXPECT_EQ(window.customSmscText(), kCustomCentre);
    EXPECT_EQ(window.PDU_TEXT_MODE_SEL(), 2);

    // Selected and used: the network gets the message in text mode through the custom centre.
    window.setRowTicked(1, true);
    window.beginModal();
    window.Multi_Phone_Selected_Func();
    window.waitForWorkers();
    ASSERT_EQ(window.endCode(), 1);
    Selected_Device_Details_GSM details{op, selection, DeviceSettingsMemory(home.folder)};
    details.fillRows();
    EXPECT_EQ(details.PDU_TEXT_MODE_SEL(), 2);
    details.setTestNumberText("+447700900001");
    details.Send_Test_SMS_Pressed();
    details.waitForTest();
    ASSERT_TRUE(spinUntil([&] { return !details.testing(); }));
    EXPECT_EQ(op.alerts().last(), "\nMessage sent successfully.");
    const QList<sim::ReceivedMessage> received = modems.at(1)->received();
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.at(0).mode, "TEXT");
    EXPECT_EQ(received.at(0).smsc, kCustomCentre);
    EXPECT_EQ(received.at(0).number, "+447700900001");
    EXPECT_EQ(received.at(0).text, kTestMessage);
    EXPECT_TRUE(modems.at(0)->received().isEmpty());

    // A change in the details window is kept too.
    details.PDU_Mode_Radio();
    const DeviceSettingsMemory::Kept kept = DeviceSettingsMemory(home.folder).read();
    ASSERT_TRUE(kept.contains("iccid:8944100000000000012"));
    EXPECT_EQ(kept.value("iccid:8944100000000000012").mode, "PDU Mode");
    EXPECT_EQ(kept.value("iccid:8944100000000000012").customSmsc, kCustomCentre);
    EXPECT_FALSE(kept.contains("iccid:8944100000000000020")) << "nothing was changed for the other SIM";
}

// A modem that does not tell its SIM keeps its settings by its IMEI.
TEST_F(SettingsFollowTheSimTest, AModemWithoutASimNumberIsKeptByItsImei) {
    modems.clear();
    attach(first, [](sim::ModemBehaviour& b) { b.iccidUnreadable = true; });
    DeviceSelection selection;
    GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
    std::atomic<int> result{-1};
    std::thread worker([&] { result = window.GetModemPath(paths()); });
    ASSERT_TRUE(spinUntil([&] { return result != -1; }, std::chrono::seconds(60)));
    worker.join();
    ASSERT_EQ(window.nsPortListData().size(), 1);
    EXPECT_EQ(window.nsPortListData().at(0).value(kIccidKey), "");
    show(window, 0);
    EXPECT_FALSE(window.detailsText().contains("ICCID")) << "no line for a number not read";
    window.Text_Mode_Radio();
    EXPECT_EQ(DeviceSettingsMemory(home.folder).read().keys(), QStringList{"imei:111111111111111"});
}

// Each change is written at once; one that cannot be written is told, and the window goes on.
TEST_F(SettingsFollowTheSimTest, AChangeThatCannotBeKeptIsTold) {
    plug(first, second);
    DeviceSelection selection;
    GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
    search(window);
    show(window, 0);
    ASSERT_TRUE(QDir().mkpath(SettingsFile::path(home.folder))); // a folder where the file goes
    op.clearTranscript();
    window.PDU_Mode_Radio(); // what it already was: nothing to write
    EXPECT_TRUE(op.alerts().isEmpty());
    window.setCustomSmscText(kCustomCentre);
    window.Custom_SMSC_Pressed(true);
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().at(0).startsWith("\nThe options could not be kept for the next start.\n\n" +
                                             SettingsFile::path(home.folder)))
        << op.alerts().at(0).toStdString();
    EXPECT_EQ(window.nsPortListData().at(0).value(kCustomSmscKey), kCustomCentre) << "still used meanwhile";
}

// The case applied from the automated sending window is kept for the device's SIM.
TEST_F(SettingsFollowTheSimTest, AnAppliedCaseIsKept) {
    Record device{{kPortNameKey, "ttyUSB0"},
                  {kPortDetailKey, "/dev/ttyUSB0"},
                  {kImeiKey, "111111111111111"},
                  {kIccidKey, "8944100000000000012"},
                  {kModelKey, "VM-100"},
                  {kDefaultSmscKey, "+447700900123"},
                  {kCustomSmscKey, "+447700900123"},
                  {kUseCustomSmscKey, "N"},
                  {kSmsModeKey, "PDU Mode"},
                  {kSupportedSmsModesKey, ";PDU Mode;Text Mode;"},
                  {kSmsCapableKey, "Yes"}};
    QStringList written;
    Automated_GSM_Sending window(op, DeviceSettingsMemory(home.folder));
    window.open({device}, [&](const QString&, const QString& key, const QString& value) {
        written << key + "=" + value;
    });
    window.setCustomSmscText(kCustomCentre);
    int textWithCustom = -1;
    for (int row = 0; row < window.nsCaseListData().size(); ++row)
        if (window.nsCaseListData().at(row).value(kCaseCodeKey) == "TXT_CUS_SMSC")
            textWithCustom = row;
    ASSERT_GE(textWithCustom, 0);
    window.selectCase(textWithCustom);
    op.answerYes();
    window.Use_Settings_Button_Presses();
    EXPECT_EQ(written, (QStringList{"SMSMode=Text Mode", "UseCusSMSC=Y", "CusSMSC=" + kCustomCentre}));
    const DeviceSettingsMemory::Kept kept = DeviceSettingsMemory(home.folder).read();
    ASSERT_TRUE(kept.contains("iccid:8944100000000000012"));
    EXPECT_EQ(kept.value("iccid:8944100000000000012").mode, "Text Mode");
    EXPECT_TRUE(kept.value("iccid:8944100000000000012").useCustomSmsc);
    EXPECT_EQ(kept.value("iccid:8944100000000000012").customSmsc, kCustomCentre);
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().at(0).contains("have been applied successfully."));
}

} // namespace
