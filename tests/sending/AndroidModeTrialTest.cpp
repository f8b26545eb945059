// The Android mode test against virtual phones whose storage or activity manager fails:
// exactly the cases that use the failing path fail, the phone's log shows what was sent, OK
// sets the sending mode the Android window then shows, and the search window's test message.
#include "PhoneFixture.h"
#include "android/AndroidDevices.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "android/windows/Android_TroubleShooting.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TroubleshootingLog.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"

#include <QDir>
#include <QFileInfo>

namespace {

const QString kDevice = QStringLiteral("VIRTUAL PHONE 5G");
const QString kTo = QStringLiteral("+442079460958");

class AndroidModeTrialTest : public PhoneFixture {
protected:
    void SetUp() override { selection.sel_port_name_str = kDevice; }
    sim::PhoneConfig installed(const std::function<void(sim::PhoneConfig&)>& change = {}) {
        sim::PhoneConfig config = phone();
        config.appInstalled = true;
        if (change)
            change(config);
        return config;
    }
    QStringList statuses(Android_TroubleShooting& window) {
        return columnOf(window.cases().records(), "Status");
    }
    QStringList modesSent() const {
        QStringList modes;
        for (const QString& m : sentMessages())
            modes << m.section('|', 2);
        return modes;
    }
    // The Android window's choice the windows under test are given.
    DeviceSelection selection;
    AndroidSelection chosen;
};

TEST_F(AndroidModeTrialTest, ExactlyTheCasesOnAFailingPathFail) {
    struct Row {
        const char* name;
        std::function<void(sim::PhoneConfig&)> fault;
        QStringList statuses, modesSent;
    };
    const Row rows[] = {
        {"healthy", {}, {"Success", "Success", "Success"}, {"single-shot", "standard", "classic"}},
        {"storage cannot be written",
         [](sim::PhoneConfig& p) { p.pushFails = true; },
         {"Fail", "Fail", "Success"},
         {"classic"}},
        {"classic start reports an error",
         [](sim::PhoneConfig& p) { p.startErrors = {"classic"}; },
         {"Success", "Success", "Fail"},
         {"single-shot", "standard"}},
        {"standard start reports an error",
         [](sim::PhoneConfig& p) { p.startErrors = {"standard"}; },
         {"Success", "Fail", "Success"},
         {"single-shot", "classic"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        startPhones(one(installed(row.fault)));
        flushTroubleshootingLog();
        const qsizetype before =
            QFileInfo(home.folder.Troubleshooting_Log_Path()).size(); // the rows before wrote there too
        Android_TroubleShooting window(op, home.folder, chosen, selection);
        window.open(kDevice);
        EXPECT_EQ(statuses(window), (QStringList{"", "", ""}));
        window.setTestNumberText(" " + kTo + " ");
        window.Start_Btn();
        EXPECT_TRUE(window.testing());
        window.waitForTest();
        EXPECT_FALSE(window.testing());
        EXPECT_EQ(statuses(window), row.statuses);
        EXPECT_EQ(modesSent(), row.modesSent);
        for (const QString& m : sentMessages()) {
            EXPECT_TRUE(m.startsWith(kTo + "|"));
            EXPECT_TRUE(m.contains(" is working for Device Model: " + kDevice)) << m.toStdString();
        }
        EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('|').toStdString();
        flushTroubleshootingLog();
        const QByteArray log = readAll(home.folder.Troubleshooting_Log_Path()).mid(before);
        EXPECT_TRUE(log.contains("Mode 3: One-by-One Contact Process - Classic Mode")) << log.constData();
        EXPECT_TRUE(log.contains("Test Number : " + kTo.toUtf8()));
    }
}

// The files for the phone are made here first: one that cannot be written is told, naming it,
// and never copied (the phone would get whatever an earlier test left).
TEST_F(AndroidModeTrialTest, AFileForThePhoneThatCannotBeWrittenHereIsToldAndNotCopied) {
    startPhones(one(installed()));
    QStringList told;
    for (const QString& local : {home.folder.Created_Resource_Path() + "/ostrelsms.txt",
                                 home.folder.Created_Resource_Path() + "/message.txt"}) {
        ASSERT_TRUE(QDir().mkpath(local)); // a folder where the file should go
        told << "\n" + errorInFileAccessing(local + ": Is a directory");
    }
    Android_TroubleShooting window(op, home.folder, chosen, selection);
    window.open(kDevice);
    window.setTestNumberText(kTo);
    window.Start_Btn();
    window.waitForTest();
    EXPECT_EQ(statuses(window), (QStringList{"Fail", "Fail", "Success"}));
    EXPECT_EQ(op.alerts(), told);
}

TEST_F(AndroidModeTrialTest, StopDuringTheSecondCaseLeavesTheThirdStopped) {
    startPhones(one(installed()));
    Android_TroubleShooting window(op, home.folder, chosen, selection);
    window.open(kDevice);
    // Asked as the second case is announced: that case still runs, the third does not.
    QObject::connect(&window, &DialogController::changed, &window, [&window] {
        if (window.information().startsWith("Execute Case 2: "))
            window.Stop_Btn(); // no question: pressing it again changes nothing
    });
    window.setTestNumberText(kTo);
    window.Start_Btn();
    window.waitForTest();
    EXPECT_EQ(statuses(window), (QStringList{"Success", "Success", "Stopped"}));
    EXPECT_EQ(modesSent(), (QStringList{"single-shot", "standard"}));
}

TEST_F(AndroidModeTrialTest, ABadNumberOrNoPhoneIsRefusedBeforeAnythingRuns) {
    startPhones(one(installed()));
    Android_TroubleShooting window(op, home.folder, chosen, selection);
    window.open(kDevice);
    window.setTestNumberText("+44 20 7946 0958");
    window.Start_Btn();
    window.open(kNoDeviceSelectedCaption);
    window.setTestNumberText(kTo);
    window.Start_Btn();
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPhone number entered to receive test message does not seem to be valid. "
                           "Please enter a valid phone number to receive test message.",
                           "\n" + kNoPhoneSelectedMessage}));
    EXPECT_FALSE(window.testing());
    EXPECT_TRUE(sentMessages().isEmpty());
}

TEST_F(AndroidModeTrialTest, OkSetsTheModeTheAndroidWindowShows) {
    startPhones(one(installed()));
    Bulk_SMSAppDelegate android(op, home.folder);
    android.windowDidLoad();
    op.onModal<Android_TroubleShooting>([](Android_TroubleShooting& w) {
        EXPECT_EQ(w.modeChoice(), 1);
        w.Single_Shot_Radio();
        w.OK_Btn();
    });
    android.Test_Btn();
    EXPECT_EQ(android.androidSelection().AND_SMS_sending_mode, int(AndroidSendingMode::SingleShot));
    EXPECT_TRUE(android.singleShotOn());

    op.onModal<Android_TroubleShooting>([](Android_TroubleShooting& w) {
        EXPECT_EQ(w.modeChoice(), 0);
        w.Classic_Radio();
        w.Close_Btn(); // the radios set the mode already
    });
    android.Test_Btn();
    EXPECT_EQ(android.androidSelection().AND_SMS_sending_mode, int(AndroidSendingMode::Classic));
    EXPECT_FALSE(android.singleShotOn());
    EXPECT_TRUE(android.classicOn());
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().at(0).startsWith("\nInformation:\n\nYou have selected 'Classic Mode'"));
}

TEST_F(AndroidModeTrialTest, TheModeThatWorkedIsWhatTheNextSendUses) {
    startPhones(one(installed([](sim::PhoneConfig& p) { p.pushFails = true; }))); // no list file can go
    Bulk_SMSAppDelegate android(op, home.folder);
    android.windowDidLoad();
    android.selection().sel_port_name_str = kDevice;
    android.selection().sel_port_bsd_str = kDevice;
    android.selection().port_val_str_array = {kDevice};
    android.applyDeviceSelection();
    op.onModal<Android_TroubleShooting>([this](Android_TroubleShooting& w) {
        w.setTestNumberText(kTo);
        w.Start_Btn();
        w.waitForTest();
        EXPECT_EQ(statuses(w), (QStringList{"Fail", "Fail", "Success"}));
        w.Classic_Radio();
        w.OK_Btn();
    });
    android.Test_Btn();
    EXPECT_TRUE(android.classicOn());

    const int tested = int(sentMessages().size());
    android.Create_Num_Msg_List("+442079460959", "After the test");
    android.prev_composer_msg = android.composerText();
    android.Send_SMS_Btn();
    android.waitForSend();
    ASSERT_EQ(sentMessages().size(), tested + 1);
    EXPECT_EQ(sentMessages().last(), "+442079460959|After the test|classic");
}

TEST_F(AndroidModeTrialTest, TheSearchWindowTestSendsOneMessageInEachMode) {
    startPhones(one(installed([](sim::PhoneConfig& p) { p.pushFails = true; })));
    Android_Ph_List_Wnd window(op, home.folder, selection, chosen);
    window.Send_Test_Btn();
    window.rows().setRecords({propertyRow("Manufacturer", "Virtual"), propertyRow("Model", "Phone 5G")});
    window.setTestNumberText(kTo);
    window.Send_Test_Btn();
    window.waitForSearch();
    EXPECT_TRUE(spinUntil([&] { return !window.testing(); }));
    EXPECT_EQ(op.alerts(), (QStringList{"\nDevice list is empty.", "\nMessage Sending Process Completed."}));
    // Its storage takes no file: only the text in the start command arrives.
    EXPECT_EQ(sentMessages(),
              QStringList{kTo + "|One-by-One Contact Process - Classic Mode is working for Device Model: " +
                          Get_Device_name_Detail(window.rows().records()) + "|classic"});
}

} // namespace
