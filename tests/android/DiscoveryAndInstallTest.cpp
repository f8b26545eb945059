// Finding the phone, judging its state, installing the companion app and granting its
// permissions, against virtual phones through the real adb client.
#include "PhoneFixture.h"
#include "android/AdbRunner.h"
#include "android/AndroidDevices.h"
#include "android/CompanionApp.h"
#include "android/PhoneStorage.h"
#include "android/windows/And_Conn_Err.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "core/DataFolder.h"
#include "core/TroubleshootingLog.h"
#include "core/WorkerThread.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QDir>
#include <QFile>

namespace {

// The names of this process's child processes still running (or not yet reaped).
QStringList childProcesses() {
    QStringList children;
    const QString self = QString::number(::getpid());
    for (const QString& pid : QDir("/proc").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString stat = QString::fromLatin1(readAll("/proc/" + pid + "/stat"));
        // "pid (comm) state ppid ...": the name may hold spaces, the last ")" ends it.
        const qsizetype close = stat.lastIndexOf(')');
        if (close > 0 && stat.mid(close + 2).section(' ', 1, 1) == self)
            children << stat.mid(stat.indexOf('(') + 1, close - stat.indexOf('(') - 1);
    }
    return children;
}

class DiscoveryTest : public PhoneFixture {
protected:
    DeviceSelection selection; // the Android window's, as its search window fills it
    AndroidSelection chosen;
};

TEST_F(DiscoveryTest, ConnectionCheckJudgesEachKindOfAttachment) {
    struct Case {
        const char* name;
        QList<QString> states; // one phone per state
        bool ready;
        QString tag;
        QStringList alerts;
        QString status; // Get_Android_Device_Status after the header
    };
    const QList<Case> cases = {
        {"none", {}, false, "", {}, "No device found."},
        {"one", {"device"}, true, "", {}, "Connected:\nVPHONE0001\n(1000 / 900000)"},
        {"unauthorized",
         {"unauthorized"},
         false,
         "",
         {},
         "VPHONE0001\tUNAUTHORIZED\nNot connected properly, Please reconnect your device."},
        {"offline",
         {"offline"},
         false,
         "",
         {"\nDevice is offline. please reconnect your device."},
         "VPHONE0001\tOFFLINE\nNot connected properly, Please reconnect your device."},
        // adb refuses a shell without a serial when two phones are attached: its error is what the
        // status shows for the settings.
        {"two",
         {"device", "offline"},
         false,
         "MORE",
         {"\nMore than one android device detected, please use only one android device at a time."},
         "Connected:\nVPHONE0001\t\nVPHONE0002\tOFFLINE\n(error: more than one device/emulator / error: more "
         "than one device/emulator)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QList<sim::PhoneConfig> phones;
        for (const QString& state : c.states) {
            sim::PhoneConfig config =
                phone(QStringLiteral("VPHONE%1").arg(phones.size() + 1, 4, 10, QLatin1Char('0')));
            config.state = state;
            phones.append(config);
        }
        startPhones(phones);
        for (const auto& p : server->phones()) { // the status reads back the rate-limit settings
            p->shell("settings put global sms_outgoing_check_max_count 1000");
            p->shell("settings put global sms_outgoing_check_interval 900000");
        }
        op.clearTranscript();
        QString tag;
        EXPECT_EQ(onWorker([&] { return CheckConnection(tag, false, op, home.folder); }), c.ready);
        EXPECT_EQ(tag, c.tag);
        EXPECT_EQ(op.alerts(), c.alerts);
        const QString status = onWorker([] { return Get_Android_Device_Status(); });
        QString expected = "Android device status:\n\n" + c.status;
        if (c.states.size() > 1 && c.ready == false && c.tag == "MORE")
            expected +=
                "\n\nMore than one android device detected, please use only one android device at a time.";
        EXPECT_EQ(status, expected);
        server->stop();
    }
}

TEST_F(DiscoveryTest, SearchFindsThePhoneWithItsPropertiesAndSelectsIt) {
    sim::PhoneConfig config = phone();
    config.properties.insert("ro.product.manufacturer", "Google");
    config.properties.insert("ro.product.model", "Pixel 7");
    config.properties.insert("gsm.sim.state", ",LOADED,");
    startPhones(one(config));
    Android_Ph_List_Wnd window(op, home.folder, selection, chosen);
    EXPECT_EQ(onWorker([&] { return window.searchDevice(false); }), Android_Ph_List_Wnd::Outcome::Connected);
    QStringList rows;
    for (const Record& r : window.rows().records())
        rows << r.value("COM_PORT") + "=" + r.value("PORT_DETAL");
    EXPECT_EQ(rows,
              (QStringList{"Device=Android Device VPHONE0001", "Manufacturer=GOOGLE", "Model Number=PIXEL 7",
                           "Device Name=VPHONE", "Android Version=11", "SDK (API) Version  =30",
                           "Sim Status=LOADED", "Sim Operator=DEMO NET", "Serial Number=VPHONE0001"}));
    EXPECT_EQ(window.statusLines().at(2).text, "Connected");
    EXPECT_TRUE(firstPhone().appInstalled());
    EXPECT_FALSE(QFile::exists(home.folder.Created_Resource_Path() + "/build.prop"));
    window.beginModal();
    window.Select_Btn();
    EXPECT_EQ(window.endCode(), 1);
    EXPECT_EQ(selection.sel_port_name_str, "GOOGLE PIXEL 7");
    EXPECT_TRUE(chosen.AND_Sel_Dev_Details.startsWith("Model Details:\n"));
}

TEST_F(DiscoveryTest, UnauthorisedPhoneRepeatsTheSearchWithThePermissionBoxUntilAllowed) {
    sim::PhoneConfig config = phone();
    config.state = "unauthorized";
    config.authorizeAfter = 6; // device lists read before the phone's owner allows the computer
    startPhones(one(config));
    Android_Ph_List_Wnd window(op, home.folder, selection, chosen);
    int boxes = 0;
    for (int i = 0; i < 3; ++i)
        op.onModal<And_Conn_Err>([&](And_Conn_Err& box) {
            EXPECT_EQ(box.mark(), QChar('P'));
            ++boxes;
            box.OK_Btn();
        });
    EXPECT_EQ(onWorker([&] { return window.searchDevice(true); }), Android_Ph_List_Wnd::Outcome::Connected);
    EXPECT_EQ(boxes, 3); // two device lists a round: authorised in the third
}

TEST_F(DiscoveryTest, StopEndsAWaitingSearch) {
    startPhones({});
    Android_Ph_List_Wnd window(op, home.folder, selection, chosen);
    op.onModal<And_Conn_Err>([&](And_Conn_Err& box) {
        EXPECT_EQ(box.title(), "Android device not found");
        window.Stop_Btn(); // the operator presses Stop while the box is up
        box.OK_Btn();
    });
    EXPECT_EQ(onWorker([&] { return window.searchDevice(true); }), Android_Ph_List_Wnd::Outcome::Stopped);
    EXPECT_EQ(window.statusLines().at(2).text, "Stopped");
}

using InstallTest = PhoneFixture;

TEST_F(InstallTest, InstallOutcomes) {
    struct Case {
        const char* name;
        sim::PhoneConfig::Install install;
        bool apk;
        bool ready;
        bool installed;
        bool uninstallLogged;
        QString alertStart;
    };
    const QList<Case> cases = {
        {"success", sim::PhoneConfig::Install::Success, true, true, true, false, ""},
        {"fail once", sim::PhoneConfig::Install::FailOnce, true, true, true, true, ""},
        {"fail always", sim::PhoneConfig::Install::FailAlways, true, false, false, true,
         "\nFailed to copy OSTRELBULKSMS application in your mobile device."},
        {"no package", sim::PhoneConfig::Install::Success, false, false, false, false,
         "\nThe companion app \"OstrelBulkSMS.apk\" is not in the resource folder:"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(home.folder.Resource_Path() + "/OstrelBulkSMS.apk");
        sim::PhoneConfig config = phone();
        config.install = c.install;
        startPhones(one(config), c.apk);
        home.folder
            .Check_Path_And_Create_Files(); // keeps the troubleshooting log: this case's entries follow
        flushTroubleshootingLog();
        const qsizetype before = readAll(home.folder.Troubleshooting_Log_Path()).size();
        op.clearTranscript();
        QString tag;
        EXPECT_EQ(onWorker([&] { return CheckConnection(tag, true, op, home.folder); }), c.ready);
        EXPECT_EQ(firstPhone().appInstalled(), c.installed);
        flushTroubleshootingLog();
        const QString log = QString::fromUtf8(readAll(home.folder.Troubleshooting_Log_Path()).mid(before));
        EXPECT_EQ(log.contains("Uninstall OstrelBulkSMS.apk\n"), c.uninstallLogged) << log.toStdString();
        if (c.apk) {
            EXPECT_TRUE(log.contains("Install OstrelBulkSMS.apk in Virtual-Phone 5G at "))
                << log.toStdString();
        }
        if (c.alertStart.isEmpty())
            EXPECT_TRUE(op.alerts().isEmpty());
        else
            EXPECT_TRUE(op.alerts().value(0).startsWith(c.alertStart)) << op.alerts().value(0).toStdString();
        EXPECT_EQ(firstPhone().setting("sms_outgoing_check_max_count"), c.apk ? "1000" : "");
        server->stop();
    }
}

TEST_F(InstallTest, GrantsFollowTheApiLevel) {
    const QStringList runtime = {"android.permission.READ_EXTERNAL_STORAGE",
                                 "android.permission.READ_PHONE_STATE", "android.permission.RECEIVE_SMS",
                                 "android.permission.SEND_SMS", "android.permission.WRITE_EXTERNAL_STORAGE"};
    const QList<QPair<QString, QStringList>> cases = {
        {"22", {}},
        {"23", runtime},
        {"30", runtime + QStringList{"appops:MANAGE_EXTERNAL_STORAGE=allow"}},
    };
    for (const auto& [api, grants] : cases) {
        SCOPED_TRACE(api.toStdString());
        sim::PhoneConfig config = phone();
        config.appInstalled = true;
        config.properties.insert("ro.build.version.sdk", api);
        startPhones(one(config));
        onWorker([] { return Send_Permission_Command_To_Phone(); });
        EXPECT_EQ(firstPhone().grants(), grants);
        const auto intents = server->log().events("intent");
        ASSERT_EQ(intents.size(), 1);
        EXPECT_TRUE(intents.first().value("extras").toObject().contains("SENDPARAM"));
        server->stop();
    }
}

TEST_F(InstallTest, LegacyStorageRootGetsEveryFileTwice) {
    for (const auto& [root, second] : QList<QPair<QString, QString>>{
             {"/storage/emulated/legacy", "/storage/emulated/0"}, {"/mnt/sdcard", "/sdcard"}}) {
        sim::PhoneConfig config = phone();
        config.externalStorage = root;
        startPhones(one(config));
        QFile local(home.folder.Created_Resource_Path() + "/message.txt");
        ASSERT_TRUE(local.open(QIODevice::WriteOnly));
        local.write("hello");
        local.close();
        EXPECT_TRUE(
            onWorker([this] { return Save_File_To_Phone_Storage(home.folder, kMessageFileName, false); }));
        EXPECT_EQ(firstPhone().file(root + "/message.txt"), "hello");
        EXPECT_EQ(firstPhone().file(second + "/message.txt"), "hello");
        onWorker([] { return Send_DEL_File_Command_To_ADB(kMessageFileName); });
        qint64 size = 0;
        EXPECT_FALSE(firstPhone().fileExists(root + "/message.txt", size));
        EXPECT_FALSE(firstPhone().fileExists(second + "/message.txt", size));
        server->stop();
    }
}

TEST_F(InstallTest, StopKillsAnAdbThatWaits) {
    // A server that accepts and never answers: adb waits for it until the stop.
    startPhones({});
    server->stop();
    // Nothing listens on the stopped port: point adb at a socket that accepts but never answers.
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(fd, 4), 0);
    socklen_t length = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    qputenv("ADB_SERVER_SOCKET", QByteArray("tcp:127.0.0.1:") + QByteArray::number(ntohs(address.sin_port)));
    std::atomic<bool> stop{false};
    QString output = "unset";
    WorkerThread worker;
    worker.start(
        [&](std::stop_token) { output = ExecuteExternalFile({"devices"}, [&] { return stop.load(); }); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(worker.isRunning());
    stop = true;
    EXPECT_TRUE(spinUntil([&] { return !worker.isRunning(); }, std::chrono::milliseconds(5000)));
    worker.join();
    EXPECT_EQ(output, "");
    EXPECT_EQ(childProcesses(), QStringList{}); // the adb that waited is gone, not left behind
    ::close(fd);
}

} // namespace
