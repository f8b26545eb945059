// The automated send-mode test through its windows, against virtual modems that accept only
// some combinations of mode and service centre: which cases pass (checked against what the
// virtual network received), Stop, the history kept in the records, applying a case.
#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "services/SendModeTrial.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"
#include "core/FileUtils.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

namespace {

using sim::ModemBehaviour;
using sim::VirtualModem;

const QString kCustom = QStringLiteral("+447700900999");
const QString kTo = QStringLiteral("+447700900555");

class ModeTestOnModems : public VirtualModemsTest {
protected:
    ModeTestOnModems() : VirtualModemsTest(0.2) {}
    // The search the window runs; a probe that a busy machine made miss its answer is
    // searched again (what is tested here comes after the search).
    void search() {
        const QStringList paths = this->paths();
        for (int attempt = 0; attempt < 3 && devices.nsPortListData().size() < paths.size(); ++attempt) {
            std::atomic<bool> done{false};
            std::thread worker([&] {
                devices.GetModemPath(paths);
                done = true;
            });
            EXPECT_TRUE(spinUntil([&] { return done.load(); }, std::chrono::seconds(60)));
            worker.join();
        }
        ASSERT_EQ(devices.nsPortListData().size(), paths.size());
    }
    // The automated window on every device found, with the custom service centre typed.
    void openAutomated(Automated_GSM_Sending& window, const QString& custom) {
        window.open(devices.nsPortListData().records(), devices.settingsWriter());
        window.setCustomSmscText(custom);
        window.setTestNumberText(kTo);
    }
    void runTest(Automated_GSM_Sending& window) {
        window.Send_Test_SMS_Pressed();
        window.waitForTest();
        EXPECT_TRUE(spinUntil([&] { return !window.testing(); }));
    }

    ScriptedOperator op;
    DeviceSelection selection; // the GSM window's
    GSM_Device_List_Wnd devices{op, selection};
};

TEST_F(ModeTestOnModems, ModemsPassExactlyTheCasesTheyAccept) {
    struct Row {
        const char* name;
        std::function<void(ModemBehaviour&)> behaviour;
        QStringList codes, statuses;
        QStringList networkModes, networkSmscs; // what reached the virtual network, in order
    };
    const QString sent = "Message sent successfully.";
    const QString unknownSmsc = "+CMS ERROR: 330";
    const QString refusedPdu = "Error : the device refused PDU Mode (AT+CMGF=0).";
    const Row rows[] = {
        {"text only",
         [](ModemBehaviour& b) { b.modes = ModemBehaviour::Modes::TextOnly; },
         {"TXT_CUS_SMSC", "TXT_DEF_SMSC"},
         {sent, sent},
         {"TEXT", "TEXT"},
         {kCustom, "+447700900123"}},
        {"lists PDU mode but refuses it",
         [](ModemBehaviour& b) { b.pduModeRefused = true; },
         {"PDU_CUS_SMSC", "PDU_DEF_SMSC", "TXT_CUS_SMSC", "TXT_DEF_SMSC"},
         {refusedPdu, refusedPdu, sent, sent},
         {"TEXT", "TEXT"},
         {kCustom, "+447700900123"}},
        {"PDU only",
         [](ModemBehaviour& b) { b.modes = ModemBehaviour::Modes::PduOnly; },
         {"PDU_CUS_SMSC", "PDU_DEF_SMSC"},
         {sent, sent},
         {"PDU", "PDU"},
         {kCustom, "+447700900123"}},
        {"refuses the custom service centre",
         [](ModemBehaviour& b) { b.refusedServiceCentres = {kCustom}; },
         {"PDU_CUS_SMSC", "PDU_DEF_SMSC", "TXT_CUS_SMSC", "TXT_DEF_SMSC"},
         {unknownSmsc, sent, unknownSmsc, sent},
         {"PDU", "TEXT"},
         {"+447700900123", "+447700900123"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        modems.clear();
        devices.nsPortListData().clear();
        VirtualModem& modem = attach({}, row.behaviour);
        search();
        ASSERT_EQ(devices.nsPortListData().size(), 1);
        Automated_GSM_Sending window(op);
        openAutomated(window, kCustom);
        EXPECT_EQ(window.heading(), "Start Test for Device Connected at : \n" +
                                        devices.nsPortListData().at(0).value("COM_PORT"));
        EXPECT_EQ(columnOf(window.nsCaseListData().records(), "Case_Name"), row.codes);
        runTest(window);
        EXPECT_EQ(columnOf(window.nsCaseListData().records(), "Status"), row.statuses);
        QStringList networkModes, networkSmscs;
        for (const sim::ReceivedMessage& m : modem.received()) {
            networkModes << m.mode;
            networkSmscs << m.smsc;
            EXPECT_EQ(m.number, kTo);
            EXPECT_TRUE(m.text.startsWith("'") && m.text.contains("is working for Device Model: VM-100"));
        }
        EXPECT_EQ(networkModes, row.networkModes);
        EXPECT_EQ(networkSmscs, row.networkSmscs);
        // The outcome stays in the window's row, in its "History".
        EXPECT_EQ(window.nsDeviceListData().at(0).value("History"),
                  SendModeTrial::historyOf(window.nsCaseListData().records()));
        EXPECT_EQ(window.nsDeviceListData().at(0).value("Last_SMSC"), kCustom);
        EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join("|").toStdString();
    }
}

TEST_F(ModeTestOnModems, TheWindowsStopAsksAndEndsAfterTheCaseInProgress) {
    VirtualModem& modem = attach();
    search();
    Automated_GSM_Sending window(op);
    openAutomated(window, kCustom);
    op.answerYes();
    bool pressed = false; // once, as the second case is announced
    QObject::connect(&window, &DialogController::changed, &window, [&window, &pressed] {
        if (!pressed && window.information().startsWith("Execute Case 2 : ")) {
            pressed = true;
            window.Stop_SMS_Pressed();
        }
    });
    runTest(window);
    EXPECT_EQ(op.questions(), QStringList{SendModeTrial::kStopQuestion});
    EXPECT_EQ(
        columnOf(window.nsCaseListData().records(), "Status"),
        (QStringList{"Message sent successfully.", "Message sent successfully.", "Stopped", "Stopped"}));
    EXPECT_TRUE(window.nsDeviceListData().at(0).value("History").endsWith("TXT_DEF_SMSC||Stopped||"));
    EXPECT_EQ(modem.received().size(), 2);
}

TEST_F(ModeTestOnModems, ASilentDeviceFailsEveryCaseWithAConnectionError) {
    attach();
    search();
    modems.at(0)->setBehaviour([] {
        ModemBehaviour b;
        b.silent = true;
        return b;
    }());
    Automated_GSM_Sending window(op);
    openAutomated(window, "");
    runTest(window);
    EXPECT_EQ(columnOf(window.nsCaseListData().records(), "Status"),
              (QStringList{"Device Connection Error", "Device Connection Error"}));
}

// After a search the record's custom number is the modem's own centre, the tick box off: the
// device window still offers the custom cases, and they name that centre to the modem.
TEST_F(ModeTestOnModems, TheDeviceWindowOffersTheCustomCasesWithTheBoxUnticked) {
    const QString ownCentre = "+447700900123";
    VirtualModem& modem = attach();
    search();
    devices.showDevice(0);
    devices.waitForWorkers();
    ASSERT_TRUE(spinUntil([&] { return devices.nsCaseListData().size() == 4; }));
    const Record record = devices.nsPortListData().at(0);
    ASSERT_EQ(record.value("UseCusSMSC"), "N");
    ASSERT_EQ(record.value("CusSMSC"), ownCentre);
    EXPECT_FALSE(devices.customSmscChecked());
    EXPECT_EQ(columnOf(devices.nsCaseListData().records(), "Case_Name"),
              (QStringList{"PDU_CUS_SMSC", "PDU_DEF_SMSC", "TXT_CUS_SMSC", "TXT_DEF_SMSC"}));
    EXPECT_EQ(columnOf(devices.nsCaseListData().records(), "Possible_Case"),
              (QStringList{"Case 1:", "Case 2:", "Case 3:", "Case 4:"}));

    devices.setTestNumberText(kTo);
    devices.Send_Test_SMS_Pressed();
    devices.waitForWorkers();
    EXPECT_EQ(columnOf(devices.nsCaseListData().records(), "Status"),
              QStringList(4, "Message sent successfully."));
    const QList<sim::ReceivedMessage> received = modem.received();
    ASSERT_EQ(received.size(), 4);
    QStringList modes;
    for (const sim::ReceivedMessage& m : received)
        modes << m.mode;
    EXPECT_EQ(modes, (QStringList{"PDU", "PDU", "TEXT", "TEXT"}));
    // The custom PDU case carries the centre in its PDU (+447700900123 in swapped semi-octets);
    // the default one leaves it to the modem.
    EXPECT_TRUE(received.at(0).pduHex.value(0).startsWith("0791447700091032"))
        << received.at(0).pduHex.value(0).toStdString();
    EXPECT_TRUE(received.at(1).pduHex.value(0).startsWith("00"))
        << received.at(1).pduHex.value(0).toStdString();
    EXPECT_TRUE(modem.commandLog().contains("AT+CSCA=\"" + ownCentre + "\",145"))
        << modem.commandLog().join(" | ").toStdString();
    EXPECT_EQ(devices.nsPortListData().at(0).value("Last_SMSC"), ""); // the box was off
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join("|").toStdString();

    // Without a number of its own, a device gets no custom cases.
    devices.Update_Column_Value(record.value("PORT_DETAL"), "CusSMSC", "");
    devices.showDevice(0);
    devices.waitForWorkers();
    EXPECT_TRUE(spinUntil([&] { return devices.nsCaseListData().size() == 2; }));
    EXPECT_EQ(columnOf(devices.nsCaseListData().records(), "Case_Name"),
              (QStringList{"PDU_DEF_SMSC", "TXT_DEF_SMSC"}));
}

TEST_F(ModeTestOnModems, TheDeviceWindowKeepsTheOutcomeAndShowsItAgain) {
    attach({}, [](ModemBehaviour& b) { b.modes = ModemBehaviour::Modes::TextOnly; });
    search();
    devices.showDevice(0);
    devices.waitForWorkers();
    ASSERT_TRUE(spinUntil([&] { return devices.nsCaseListData().size() == 2; }));
    devices.setTestNumberText("+44 20 7946 0958");
    devices.Send_Test_SMS_Pressed();
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease enter a valid phone number to receive test message."});
    devices.setTestNumberText(kTo);
    devices.Send_Test_SMS_Pressed();
    EXPECT_TRUE(devices.testing());
    devices.waitForWorkers();
    EXPECT_FALSE(devices.testing());
    const QString history = devices.nsPortListData().at(0).value("TEST_HISTORY");
    EXPECT_EQ(history,
              "TXT_CUS_SMSC||Message sent successfully.||TXT_DEF_SMSC||Message sent successfully.||");

    // Showing the device again reads the statuses back from the record.
    devices.nsCaseListData().clear();
    devices.showDevice(0);
    devices.waitForWorkers();
    EXPECT_TRUE(spinUntil([&] { return devices.nsCaseListData().size() == 2; }));
    EXPECT_EQ(columnOf(devices.nsCaseListData().records(), "Status"),
              (QStringList{"Message sent successfully.", "Message sent successfully."}));

    // The report of what was shown.
    QTemporaryDir dir;
    op.chooseFile(dir.filePath("report"));
    devices.Save_SMS_Report_Pressed();
    const QByteArray report = readAll(dir.filePath("report.txt"));
    EXPECT_EQ(report, SendModeTrial::reportBytes(
                          GSM_Device_List_Wnd::deviceDetailText(devices.nsPortListData().at(0)),
                          devices.nsCaseListData().records()));

    // One that cannot be written says which file and why.
    ASSERT_TRUE(QDir().mkpath(dir.filePath("taken.txt")));
    op.chooseFile(dir.filePath("taken"));
    devices.Save_SMS_Report_Pressed();
    EXPECT_EQ(op.alerts().last(),
              "\n" + kErrorInFileAccessing + "\n" + dir.filePath("taken.txt") + ": Is a directory");
}

TEST_F(ModeTestOnModems, ApplyingACaseChangesTheDeviceRecordTheSendingUses) {
    attach({}, [](ModemBehaviour& b) {
        b.modes = ModemBehaviour::Modes::Both;
        b.refusedServiceCentres = {"+447700900123"}; // the modem's own centre does not work
    });
    search();
    const QString path = devices.nsPortListData().at(0).value("PORT_DETAL");
    Automated_GSM_Sending window(op);
    openAutomated(window, kCustom);
    runTest(window);
    ASSERT_EQ(columnOf(window.nsCaseListData().records(), "Status"),
              (QStringList{"Message sent successfully.", "+CMS ERROR: 330", "Message sent successfully.",
                           "+CMS ERROR: 330"}));

    window.Use_Settings_Button_Presses(); // no case chosen yet
    window.selectCase(2);                 // text mode through the custom centre
    op.answerYes();
    window.Use_Settings_Button_Presses();
    EXPECT_EQ(
        op.alerts(),
        (QStringList{"\nPlease select at least one connection settings for sending SMS.",
                     "\nSelected connection settings 'Text Mode with Custom SMSC' for device 'VM-100' have "
                     "been applied successfully."}));
    EXPECT_EQ(
        op.questions(),
        QStringList{"You have selected 'Text Mode with Custom SMSC' settings for sending SMS using 'VM-100' "
                    "connected at " +
                    devices.nsPortListData().at(0).value("COM_PORT") +
                    ".\n\nDo you want to continue with selected settings?"});
    EXPECT_EQ(devices.Get_Sel_Port_Details(path, "SMSMode"), "Text Mode");
    EXPECT_EQ(devices.Get_Sel_Port_Details(path, "UseCusSMSC"), "Y");
    EXPECT_EQ(devices.Get_Sel_Port_Details(path, "CusSMSC"), kCustom);
    EXPECT_EQ(window.nsDeviceListData().at(0).value("Setting_USE"), "Y");

    // Every device has its settings now: Close does not ask.
    window.beginModal();
    window.Close_Button_Presses();
    EXPECT_EQ(window.endCode(), 1);

    // Selecting the device hands those settings to the sending side.
    devices.setRowTicked(0, true);
    devices.beginModal();
    devices.Multi_Phone_Selected_Func();
    devices.waitForWorkers();
    ASSERT_EQ(selection.port_det_str_array.size(), 1);
    EXPECT_EQ(selection.port_det_str_array.at(0).value("SMSMode"), "Text Mode");
    EXPECT_EQ(selection.port_det_str_array.at(0).value("CusSMSC"), kCustom);
}

TEST_F(ModeTestOnModems, TheWindowRefusesWhatItCannotDoAndAsksBeforeClosing) {
    attach();
    search();
    Automated_GSM_Sending window(op);
    openAutomated(window, "12+34");
    window.Send_Test_SMS_Pressed();
    window.setCustomSmscText("");
    window.setTestNumberText("");
    window.Send_Test_SMS_Pressed();
    window.Clear_Status_Button_Presses(); // nothing to clear: no question
    op.answerNo();
    window.beginModal();
    window.Close_Button_Presses();
    EXPECT_FALSE(window.isEnded());
    const QString port = devices.nsPortListData().at(0).value("COM_PORT");
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nThe SMSC number does not seem to be valid. Please enter a valid SMSC number.",
                           "\nPlease enter a valid phone number to receive test message."}));
    EXPECT_EQ(op.questions(),
              QStringList{"You have not selected any connection settings yet for device connected at " +
                          port + ",.\nAre you sure to continue?"});

    // Before any search the automated window does not open.
    GSM_Device_List_Wnd fresh(op, selection);
    fresh.Automate_Button_Presses();
    EXPECT_TRUE(
        op.alerts().last().startsWith("\nThe scanning to find connected Mobile devices has not been"));
}

TEST_F(ModeTestOnModems, ClearingForgetsTheOutcomeAfterAsking) {
    attach({}, [](ModemBehaviour& b) { b.modes = ModemBehaviour::Modes::PduOnly; });
    search();
    Automated_GSM_Sending window(op);
    openAutomated(window, "");
    runTest(window);
    op.answerYes();
    window.Clear_Status_Button_Presses();
    EXPECT_EQ(op.questions(), QStringList{"Are you sure you want to clear the last connection test results "
                                          "performed on \" VM-100 \""});
    EXPECT_EQ(columnOf(window.nsCaseListData().records(), "Status"), QStringList{""});
    EXPECT_EQ(window.nsDeviceListData().at(0).value("History"), "");
}

} // namespace
