// The device search meets locked SIMs: the operator is asked for the PIN of the modem named by
// its port and IMEI, the PIN reaches the SIM once, and a modem left locked, blocked or roaming
// says so on its row of the list.
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "gsm/windows/SimPinDialog.h"

#include "KeyringSession.h"
#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"
#include "device/DeviceRecord.h"
#include "gsm/SimPinKeyring.h"
#include "services/ModemCheck.h"
#include "services/ModemSearch.h"
#include "sim/ModemCommands.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

class SimPinSearchTest : public VirtualModemsTest {
protected:
    SimPinSearchTest() : VirtualModemsTest(0.05) {}

    void SetUp() override {
        // The keyring's daemons first, started while no modem's thread runs yet.
        QString why;
        if (KeyringSession::kWindowsSkipped)
            GTEST_SKIP() << "the thread sanitizer loses track of locks once the keyring was reached";
        ASSERT_TRUE(KeyringSession::start(&why)) << why.toStdString();
        VirtualModemsTest::SetUp();
    }
    // The search pass as the window runs it, on a worker; the rows it left.
    RecordList search(GSM_Device_List_Wnd& window) {
        std::atomic<int> result{-1};
        std::thread worker([&] { result = window.GetModemPath(paths()); });
        EXPECT_TRUE(spinUntil([&] { return result != -1; }, std::chrono::seconds(60)));
        worker.join();
        return window.nsPortListData().records();
    }
    int pinsGiven(int modem, const QString& pin) const {
        return int(modems.at(modem)->commandLog().count(QStringLiteral("AT+CPIN=\"%1\"").arg(pin)));
    }

    TestDataHome home;
    ScriptedOperator op;
};

TEST_F(SimPinSearchTest, OperatorsPinUnlocksTheModemItNames) {
    attach(identity("111111111111111"), [](sim::ModemBehaviour& b) { b.simPin = "1234"; });
    attach(identity("222222222222222"));
    QStringList headings;
    op.onModal<SimPinDialog>([&](SimPinDialog& d) {
        headings << d.heading();
        d.setPin("1234");
        d.OKPressed();
    });
    DeviceSelection selection;
    GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
    const RecordList rows = search(window);
    ASSERT_EQ(rows.size(), 2);
    ASSERT_EQ(headings.size(), 1);
    EXPECT_TRUE(headings.first().contains("IMEI 111111111111111")) << headings.first().toStdString();
    EXPECT_EQ(pinsGiven(0, "1234"), 1);
    EXPECT_EQ(rows.at(0).value(kPortStatusKey), "");
    EXPECT_EQ(rows.at(0).value(kDefaultSmscKey), "+447700900123"); // read once unlocked
    EXPECT_EQ(GSM_Device_List_Wnd::deviceName(rows.at(0)), ModemSearch::nameOf(rows.at(0)));
    // Not ticked: nothing kept for the SIM.
    sim::ModemIdentity locked = identity("111111111111111");
    EXPECT_EQ(SimPinKeyring::find("iccid:" + sim::ModemCommands::iccidOf(locked)), std::nullopt);
}

TEST_F(SimPinSearchTest, ModemsThatCannotSendSayWhyOnTheirRows) {
    attach(identity("111111111111111"), [](sim::ModemBehaviour& b) { b.simPin = "1234"; });
    attach(identity("222222222222222"), [](sim::ModemBehaviour& b) { b.pukLocked = true; });
    attach(identity("333333333333333"), [](sim::ModemBehaviour& b) { b.roaming = true; });
    op.onModal<SimPinDialog>([](SimPinDialog& d) { d.CancelPressed(); }); // the operator declines
    DeviceSelection selection;
    GSM_Device_List_Wnd window{op, selection, DeviceSettingsMemory(home.folder)};
    const RecordList rows = search(window);
    ASSERT_EQ(rows.size(), 3);
    EXPECT_TRUE(GSM_Device_List_Wnd::deviceName(rows.at(0)).endsWith(" — SIM PIN needed"));
    EXPECT_TRUE(GSM_Device_List_Wnd::deviceName(rows.at(1)).endsWith(" — " + SimUnlock::kPukNeeded));
    EXPECT_TRUE(GSM_Device_List_Wnd::deviceName(rows.at(2)).endsWith(" — Roaming"));
    EXPECT_TRUE(ModemSearch::detailsOf(rows.at(2)).contains("Network : Roaming\r\n"));
    EXPECT_EQ(pinsGiven(0, "1234"), 0);
    // Chosen for a run with the others, each locked one stays out with its reason; alone it ends the choice.
    EXPECT_EQ(ModemCheck::choose(op, rows.at(0), 3), ModemCheck::Choice::Skip);
    EXPECT_EQ(ModemCheck::choose(op, rows.at(1), 1), ModemCheck::Choice::Stop);
    EXPECT_TRUE(op.alerts().last().contains(SimUnlock::kPukNeeded));
    EXPECT_EQ(ModemCheck::choose(op, rows.at(2), 3), ModemCheck::Choice::Accept);
}

} // namespace
