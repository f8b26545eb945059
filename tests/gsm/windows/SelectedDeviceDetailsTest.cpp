// The selected-device details window: its rows follow the selected devices' records both
// ways, its checks on OK, and a single test message through a virtual modem.
#include "gsm/windows/Selected_Device_Details_GSM.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/Clock.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

namespace {

using sim::ModemBehaviour;
using sim::VirtualModem;

Record selectedDevice(const QString& path, const QString& mode = "PDU Mode",
                      const QString& defaultSmsc = "+447700900123") {
    return Record{{"COM_PORT", path.mid(5)},
                  {"PORT_DETAL", path},
                  {"DefSMSC", defaultSmsc},
                  {"CusSMSC", defaultSmsc},
                  {"UseCusSMSC", "N"},
                  {"SMSMode", mode},
                  {"SUPSMSMode", ";PDU Mode;Text Mode;"},
                  {"Model", "VM-100"},
                  {"SMS_CAPABLE", "Yes"},
                  {"Manufacture", "Virtual"}};
}

class DetailsWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::setScale(0.2); // read time-outs leave the virtual modem's thread time to answer
    }
    void TearDown() override { Clock::setScale(0.001); }
    void select(const QList<Record>& records) {
        for (const Record& r : records) {
            selection.port_det_str_array << r;
            selection.port_val_str_array << r.value("PORT_DETAL");
        }
        window.fillRows();
    }
    void sendTest(const QString& number) {
        window.setTestNumberText(number);
        window.Send_Test_SMS_Pressed();
        window.waitForTest();
        EXPECT_TRUE(spinUntil([&] { return !window.testing(); }));
    }

    ScriptedOperator op;
    DeviceSelection selection; // the GSM window's selected devices
    Selected_Device_Details_GSM window{op, selection};
};

TEST_F(DetailsWindowTest, ChangesOfARowReachTheSelectedDevicesRecords) {
    select({selectedDevice("/dev/pts/91"), selectedDevice("/dev/pts/92", "Text Mode")});
    ASSERT_EQ(window.rows().size(), 2);
    EXPECT_EQ(window.shownRow(), 0);
    EXPECT_EQ(window.PDU_TEXT_MODE_SEL(), 1);
    window.showDevice(1);
    EXPECT_EQ(window.PDU_TEXT_MODE_SEL(), 2);
    window.PDU_Mode_Radio();
    window.Custom_SMSC_Pressed(true); // the field is empty: refused
    window.setCustomSmscText("+447700900777");
    window.Custom_SMSC_Pressed(true);
    EXPECT_EQ(op.alerts(),
              QStringList{"\nThe SMSC number does not seem to be valid. Please enter a valid SMSC number."});
    EXPECT_EQ(selection.port_det_str_array.at(1).value("SMSMode"), "PDU Mode");
    EXPECT_EQ(selection.port_det_str_array.at(1).value("UseCusSMSC"), "Y");
    EXPECT_EQ(selection.port_det_str_array.at(1).value("CusSMSC"), "+447700900777");
    EXPECT_EQ(selection.port_det_str_array.at(0).value("UseCusSMSC"), "N"); // the other device is untouched
    window.Custom_SMSC_Pressed(false);
    EXPECT_EQ(selection.port_det_str_array.at(1).value("UseCusSMSC"), "N");
    EXPECT_EQ(selection.port_det_str_array.at(1).value("CusSMSC"), "+447700900123");
}

TEST_F(DetailsWindowTest, OkNamesTheDeviceWithoutAServiceCentreAndStaysOpen) {
    Record withoutSmsc = selectedDevice("/dev/pts/93", "PDU Mode", "");
    select({selectedDevice("/dev/pts/94"), withoutSmsc});
    window.beginModal();
    window.OK_Button_Presses();
    EXPECT_FALSE(window.isEnded());
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().at(0).startsWith(
        "\npts/93\r\nDefault SMSC Number could not be located for this device."));
    EXPECT_TRUE(op.alerts().at(0).endsWith("in the SMS Settings of your Mobile Device."));

    window.showDevice(1);
    window.setCustomSmscText("+447700900777");
    window.Custom_SMSC_Pressed(true);
    window.OK_Button_Presses();
    EXPECT_TRUE(window.isEnded());
    EXPECT_EQ(window.endCode(), 1);
}

TEST_F(DetailsWindowTest, TheTestMessageIsRefusedBeforeAnythingIsOpened) {
    select({selectedDevice("/dev/pts/95", "NONE")});
    sendTest("+44 20 7946 0958");
    sendTest("+442079460958");
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPhone number entered to receive test message does not seem to be valid. "
                           "Please enter a valid phone number to receive test message.",
                           "\nSMS Mode details should not be blanked."}));
}

TEST_F(DetailsWindowTest, ATestMessageGoesThroughTheDeviceInItsModeAndCentre) {
    ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    VirtualModem modem({}, behaviour);
    ASSERT_TRUE(modem.start());
    Record device = selectedDevice(modem.devicePath(), "Text Mode");
    select({device});
    window.setCustomSmscText("+447700900777");
    window.Custom_SMSC_Pressed(true);
    sendTest("+447700900555");
    EXPECT_EQ(op.alerts(), QStringList{"\nMessage sent successfully."});
    ASSERT_EQ(modem.received().size(), 1);
    EXPECT_EQ(modem.received().at(0).text, "Test Message From Ostrel Bulk SMS Software.");
    EXPECT_EQ(modem.received().at(0).mode, "TEXT");
    EXPECT_EQ(modem.received().at(0).smsc, "+447700900777");

    // A device whose capability was not detected asks first, and only reports the hand-over.
    selection.port_det_str_array[0].insert("SMS_CAPABLE", "Not Detected");
    window.PDU_Mode_Radio();
    op.answerYes();
    sendTest("+447700900555");
    EXPECT_EQ(op.alerts().last(), "\nMessage sent to device.");
    ASSERT_EQ(modem.received().size(), 2);
    EXPECT_EQ(modem.received().at(1).mode, "PDU");
}

} // namespace
