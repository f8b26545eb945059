// The virtual phone as the real adb client sees it: every request the product makes, answered
// as a phone and its adb server would.
#include "sim/AdbServer.h"

#include <QFile>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class PhoneSimTest : public ::testing::Test {
protected:
    void start(const QList<sim::PhoneConfig>& phones) {
        server = std::make_unique<sim::AdbServer>(phones);
        ASSERT_TRUE(server->start(0));
    }
    QString adb(const QStringList& arguments, int* exitCode = nullptr) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("ADB_SERVER_SOCKET", server->socketSpec());
        env.insert("HOME", home.path());
        env.remove("ANDROID_SERIAL");
        process.setProcessEnvironment(env);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(home.path());
        process.start("adb", arguments);
        EXPECT_TRUE(process.waitForFinished(30000));
        if (exitCode != nullptr)
            *exitCode = process.exitCode();
        return QString::fromUtf8(process.readAll());
    }
    static sim::PhoneConfig phone(const QString& serial, const QString& state = "device") {
        sim::PhoneConfig config = sim::PhoneConfig::typical();
        config.serial = serial;
        config.state = state;
        return config;
    }
    QTemporaryDir home;
    std::unique_ptr<sim::AdbServer> server;
};

TEST_F(PhoneSimTest, ListsPhonesWithTheirStates) {
    start({phone("AAA111"), phone("BBB222", "unauthorized"), phone("CCC333", "offline")});
    EXPECT_EQ(adb({"devices"}),
              "List of devices attached\nAAA111\tdevice\nBBB222\tunauthorized\nCCC333\toffline\n\n");
    EXPECT_TRUE(
        adb({"devices", "-l"}).contains("AAA111                 device product:vphone model:Phone_5G"));
    EXPECT_EQ(adb({"-s", "AAA111", "shell", "getprop", "ro.product.model"}), "Phone 5G\n");
    EXPECT_EQ(adb({"shell", "echo", "x"}), "error: more than one device/emulator\n");
    EXPECT_TRUE(adb({"-s", "BBB222", "shell", "echo", "x"}).startsWith("error: device unauthorized."));
    EXPECT_EQ(adb({"-s", "CCC333", "shell", "echo", "x"}), "error: device offline\n");
    EXPECT_EQ(adb({"-s", "ZZZ", "shell", "echo", "x"}), "error: device 'ZZZ' not found\n");
}

TEST_F(PhoneSimTest, ShellPushInstallAndTheCompanionApp) {
    sim::PhoneConfig config = phone("AAA111");
    config.externalStorage = "/storage/emulated/legacy";
    config.install = sim::PhoneConfig::Install::FailOnce;
    start({config});
    EXPECT_EQ(adb({"get-serialno"}), "AAA111\n");
    EXPECT_EQ(adb({"shell", "echo", "$EXTERNAL_STORAGE"}), "/storage/emulated/legacy\n");

    QFile message(home.filePath("message.txt"));
    ASSERT_TRUE(message.open(QIODevice::WriteOnly));
    message.write("Caf\xc3\xa9 & more");
    message.close();
    int exitCode = -1;
    EXPECT_TRUE(adb({"push", message.fileName(), "/storage/emulated/0/message.txt"}, &exitCode)
                    .contains("1 file pushed"));
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(server->phones().front()->file("/storage/emulated/0/message.txt"), "Caf\xc3\xa9 & more");

    QFile apk(home.filePath("OstrelBulkSMS.apk"));
    ASSERT_TRUE(apk.open(QIODevice::WriteOnly));
    apk.write("apk");
    apk.close();
    EXPECT_TRUE(
        adb({"install", "-t", "-r", apk.fileName()}).contains("Failure [INSTALL_FAILED_UPDATE_INCOMPATIBLE"));
    EXPECT_EQ(adb({"shell", "pm", "uninstall", "com.OSTRELPROBULKSMS"}), "Success\n");
    EXPECT_TRUE(adb({"install", "-t", "-r", apk.fileName()}).contains("Success"));

    adb({"shell", "am", "start", "-a", "android.intent.category.MAIN", "-e", "NUM", "+447700900001", "-n",
         "com.OSTRELPROBULKSMS/.SMS"});
    const auto messages = server->log().events("message");
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages.first().value("text").toString(), QString::fromUtf8("Caf\xc3\xa9 & more"));
    EXPECT_EQ(messages.first().value("mode").toString(), "standard");
    EXPECT_TRUE(server->log().events("injection").isEmpty()); // adb's own "</dev/null" is not one
}

TEST_F(PhoneSimTest, FailingPushAndUnplugging) {
    sim::PhoneConfig config = phone("AAA111");
    config.pushFails = true;
    config.appInstalled = true;
    config.unplugAfter = 1;
    start({config});
    QFile file(home.filePath("ostrelsms.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("1,~$^'hi\r\n");
    file.close();
    EXPECT_TRUE(adb({"push", file.fileName(), "/sdcard/ostrelsms.txt"}).contains("failed to copy"));
    adb({"shell", "am", "start", "-e", "NUM", "1", "--es", "MSG", "'a b'", "-n",
         "com.OSTRELPROBULKSMS/.SMS"});
    EXPECT_EQ(server->log().events("message").size(), 1);
    EXPECT_EQ(adb({"devices"}), "List of devices attached\n\n");
    EXPECT_EQ(adb({"shell", "echo", "x"}), "error: no devices/emulators found\n");
}

// The phone's SMS provider keeps what the app sent, as sent, failed or queued, and answers a
// content query as a phone prints it; a phone that denies the shell READ_SMS says so.
TEST_F(PhoneSimTest, TheSmsProviderAnswersContentQueriesOrDeniesThem) {
    sim::PhoneConfig config = phone("AAA111");
    config.appInstalled = true;
    config.sendFails = {"2"};
    config.queued = {"3"};
    start({config});
    const auto send = [&](const QString& number, const QString& text) {
        adb({"shell", "am", "start", "-e", "NUM", number, "--es", "MSG", "'" + text + "'", "-n",
             "com.OSTRELPROBULKSMS/.SMS"});
    };
    send("1", "one\ntwo, date=0");
    send("2", "b");
    send("3", "c");
    const QString sent = adb(
        {"shell", "content", "query", "--uri", "content://sms/sent", "--projection", "address:type:body"});
    EXPECT_EQ(sent, "Row: 0 address=1, type=2, body=one\ntwo, date=0\n") << sent.toStdString();
    EXPECT_EQ(adb({"shell", "content", "query", "--uri", "content://sms/failed", "--projection", "address"}),
              "Row: 0 address=2\n");
    const QString all = adb({"shell", "content", "query", "--uri", "content://sms"});
    EXPECT_TRUE(all.startsWith("Row: 0 _id=3, address=3, body=c, date="))
        << all.toStdString(); // newest first
    EXPECT_TRUE(
        all.contains(QRegularExpression("\nRow: 2 _id=1, address=1, body=one\ntwo, date=0, date=\\d+, "
                                        "type=2\n$")))
        << all.toStdString();
    EXPECT_EQ(adb({"shell", "content", "query", "--uri", "content://sms/outbox"}), "No result found.\n");

    server->phones().front()->denySmsQuery();
    EXPECT_TRUE(adb({"shell", "content", "query", "--uri", "content://sms/sent"})
                    .startsWith("Error while accessing provider:sms\njava.lang.SecurityException: Permission "
                                "Denial"));
}

// Replies reach the phone's inbox from a file that grows while the phone runs; the inbox answers
// as Android's provider does, filtered by date, and not at all while READ_SMS is denied.
TEST_F(PhoneSimTest, TheInboxFillsFromTheIncomingFileAndAnswersQueries) {
    const QString incoming = home.filePath("incoming.jsonl");
    QFile file(incoming);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    file.write(R"({"from": "+447700900001", "text": "STOP", "at": 1700000000000})"
               "\n"
               R"({"from": "+447700900002", "text": "Yes, 5€ 😀", "at": "2023-11-14T22:13:21Z"})"
               "\n"
               R"({"from": "+447700900003", "text": "not for this phone", "to": "ZZZ999"})"
               "\nno message here\n");
    sim::PhoneConfig config = phone("AAA111");
    config.incomingPath = incoming;
    start({config});
    const QStringList query = {
        "shell", "content", "query", "--uri", "content://sms/inbox", "--projection", "_id:address:body:date"};
    EXPECT_EQ(adb(query), "Row: 0 _id=2, address=+447700900002, body=Yes, 5€ 😀, date=1700000001000\n"
                          "Row: 1 _id=1, address=+447700900001, body=STOP, date=1700000000000\n");
    file.write(R"({"from": "+447700900004", "text": "later", "at": 1700000002000})"
               "\n");
    EXPECT_EQ(adb(query + QStringList{"--where", "'date>1700000001000'"}),
              "Row: 0 _id=3, address=+447700900004, body=later, date=1700000002000\n");
    EXPECT_EQ(adb(query + QStringList{"--where", "'date>1700000002000'"}), "No result found.\n");
    EXPECT_TRUE(adb(query + QStringList{"--where", "'body LIKE x'"})
                    .startsWith("Error while accessing provider:sms"));
    EXPECT_EQ(adb({"shell", "content", "query", "--uri", "content://sms/sent"}), "No result found.\n");
    sim::IncomingMessage direct;
    direct.from = "MyBank";
    direct.text = "Code 1234";
    server->phones().front()->receive(direct);
    EXPECT_TRUE(adb(query).startsWith("Row: 0 _id=4, address=MyBank, body=Code 1234, date="));

    server->phones().front()->denySmsQuery();
    EXPECT_TRUE(
        adb(query).startsWith("Error while accessing provider:sms\njava.lang.SecurityException: "
                              "Permission Denial: reading com.android.providers.telephony.SmsProvider "
                              "uri content://sms/inbox"));
    int received = 0;
    int skipped = 0;
    for (const QJsonObject& event : server->log().events()) {
        received += event.value("type").toString() == u"received";
        skipped += event.value("reason").toString().contains(u"line 4");
    }
    EXPECT_EQ(received, 4);
    EXPECT_EQ(skipped, 1);
}

TEST_F(PhoneSimTest, KillServerEndsIt) {
    start({phone("AAA111")});
    adb({"kill-server"});
    EXPECT_TRUE(server->killed());
}

} // namespace

namespace {

TEST(PhoneSimConfig, PhonesFromJson) {
    QTemporaryDir dir;
    QFile file(dir.filePath("phones.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"phones": [
        {"serial": "AAA", "model": "Pixel 7", "api": 33, "install": "fail-once", "external_storage": "/mnt/sdcard"},
        {"state": "unauthorized", "authorize_after": 2, "unplug_after": 5, "push_fails": true,
         "properties": {"gsm.sim.state": "ABSENT"}}]})");
    file.close();
    QList<sim::PhoneConfig> phones;
    QString reason;
    ASSERT_TRUE(sim::readPhoneConfigs(file.fileName(), phones, reason)) << reason.toStdString();
    ASSERT_EQ(phones.size(), 2);
    EXPECT_EQ(phones.at(0).serial, "AAA");
    EXPECT_EQ(phones.at(0).properties.value("ro.product.model"), "Pixel 7");
    EXPECT_EQ(phones.at(0).properties.value("ro.build.version.sdk"), "33");
    EXPECT_EQ(phones.at(0).install, sim::PhoneConfig::Install::FailOnce);
    EXPECT_EQ(phones.at(0).externalStorage, "/mnt/sdcard");
    EXPECT_EQ(phones.at(1).serial, "VPHONE0002");
    EXPECT_EQ(phones.at(1).state, "unauthorized");
    EXPECT_EQ(phones.at(1).authorizeAfter, 2);
    EXPECT_EQ(phones.at(1).unplugAfter, 5);
    EXPECT_TRUE(phones.at(1).pushFails);
    EXPECT_EQ(phones.at(1).properties.value("gsm.sim.state"), "ABSENT");

    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(R"({"phones": [{"install": "sometimes"}]})");
    file.close();
    EXPECT_FALSE(sim::readPhoneConfigs(file.fileName(), phones, reason));
    EXPECT_FALSE(sim::readPhoneConfigs(dir.filePath("missing.json"), phones, reason));
}

TEST(PhoneSimExecutable, PrintsItsPortAndEndsOnKillServer) {
    QTemporaryDir dir;
    QProcess sim;
    sim.start(QStringLiteral(BULKSMS_PHONE_SIM),
              {"--serial", "R58EXE0001", "--log", dir.filePath("phone.jsonl")});
    ASSERT_TRUE(sim.waitForReadyRead(10000));
    const QString port = QString::fromUtf8(sim.readLine()).trimmed();
    ASSERT_GT(port.toInt(), 0);
    QProcess adb;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("ADB_SERVER_SOCKET", "tcp:127.0.0.1:" + port);
    env.insert("HOME", dir.path());
    adb.setProcessEnvironment(env);
    adb.start("adb", {"devices"});
    ASSERT_TRUE(adb.waitForFinished(30000));
    EXPECT_EQ(QString::fromUtf8(adb.readAllStandardOutput()),
              "List of devices attached\nR58EXE0001\tdevice\n\n");
    adb.start("adb", {"kill-server"});
    ASSERT_TRUE(adb.waitForFinished(30000));
    EXPECT_TRUE(sim.waitForFinished(10000));
    EXPECT_EQ(sim.exitCode(), 0);
}

} // namespace
