// "bulksms send --android" and "bulksms devices --android" as whole programs, through the real
// adb client to a virtual phone whose log must agree with the list, text for text.
#include "SenderFixture.h"

#include "core/FileUtils.h"
#include "sim/AdbServer.h"

#include <QDir>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace {

class AndroidCommandLineTest : public ::testing::Test {
protected:
    void start(QList<sim::PhoneConfig> phones) {
        server = std::make_unique<sim::AdbServer>(phones);
        ASSERT_TRUE(server->start(0));
        QDir(home.path()).mkpath("resources");
        ASSERT_TRUE(writeFileAtomically(home.path() + "/resources/OstrelBulkSMS.apk", "package"));
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        QProcessEnvironment env = senderEnvironment(home.path(), "0.01", {});
        env.insert("ADB_SERVER_SOCKET", server->socketSpec());
        env.insert("HOME", home.path());
        env.remove("ANDROID_SERIAL");
        return runToEnd(env, arguments, exitCode, errors);
    }
    QStringList messages() const {
        QStringList sent;
        for (const QJsonObject& m : server->log().events("message"))
            sent << m.value("number").toString() + "|" + m.value("text").toString() + "|" +
                        m.value("mode").toString();
        return sent;
    }
    static sim::PhoneConfig phone(const QString& serial) {
        sim::PhoneConfig config = sim::PhoneConfig::typical();
        config.serial = serial;
        return config;
    }
    QTemporaryDir home;
    QString errors;
    std::unique_ptr<sim::AdbServer> server;
};

TEST_F(AndroidCommandLineTest, SendsTheListInEachModeAndThePhoneAgrees) {
    const QString text = "Tom & Jerry (2) cost $5; it's \"fine\" `really`";
    for (const QString& mode :
         {QStringLiteral("single-shot"), QStringLiteral("standard"), QStringLiteral("classic")}) {
        SCOPED_TRACE(mode.toStdString());
        start({phone("R58TEST0001")});
        int exitCode = -1;
        const QStringList out = run({"send", "--android", "--mode", mode, "--to", "+447700900001", "--to",
                                     "+447700900002", "--message", text, "--yes"},
                                    exitCode);
        EXPECT_EQ(exitCode, 0) << errors.toStdString();
        // A line per recipient, as through modems, then the summary.
        ASSERT_EQ(out.size(), 3) << out.join('\n').toStdString();
        EXPECT_TRUE(out.at(0).startsWith("+447700900001\tVIRTUAL PHONE 5G\t")) << out.at(0).toStdString();
        EXPECT_TRUE(out.at(1).startsWith("+447700900002\tVIRTUAL PHONE 5G\t")) << out.at(1).toStdString();
        EXPECT_EQ(out.at(2), "2 of 2 recipients sent.");
        EXPECT_EQ(messages(),
                  (QStringList{"+447700900001|" + text + "|" + mode, "+447700900002|" + text + "|" + mode}));
        EXPECT_TRUE(server->log().events("injection").isEmpty());
        EXPECT_TRUE(errors.contains("Phone: VIRTUAL PHONE 5G")) << errors.toStdString();
        server->stop();
    }
}

TEST_F(AndroidCommandLineTest, TestDevicePrintsTheModesThatWork) {
    sim::PhoneConfig config = phone("R58TEST0002");
    config.startErrors = {"classic"};
    start({config});
    int exitCode = -1;
    const QStringList out =
        run({"test-device", "--android", "--serial", "R58TEST0002", "--to", "+442079460958"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    EXPECT_EQ(out, (QStringList{"Case 1:\tSS\tSingle-shot Execution Mode\tSuccess",
                                "Case 2:\tOBOS\tOne-by-One Contact Process - Standard Mode\tSuccess",
                                "Case 3:\tOBOC\tOne-by-One Contact Process - Classic Mode\tFail"}));
    const QStringList sent = messages();
    ASSERT_EQ(sent.size(), 2);
    EXPECT_EQ(sent.at(0),
              "+442079460958|Single-shot Execution Mode is working for Device Model: VIRTUAL PHONE "
              "5G|single-shot");
    server->stop();

    config.pushFails = true;
    config.startErrors = {"classic", "standard"};
    start({config});
    run({"test-device", "--android", "--to", "+442079460958"}, exitCode);
    EXPECT_EQ(exitCode, 1) << errors.toStdString();
    EXPECT_TRUE(messages().isEmpty());
}

TEST_F(AndroidCommandLineTest, SerialPicksOnePhoneOfSeveral) {
    start({phone("R58AAAA0001"), phone("R58BBBB0002")});
    int exitCode = -1;
    run({"send", "--android", "--to", "1", "--message", "m", "--yes"}, exitCode);
    EXPECT_NE(exitCode, 0);
    EXPECT_TRUE(errors.contains("More than one android device detected")) << errors.toStdString();
    EXPECT_TRUE(messages().isEmpty());

    run({"send", "--android", "--serial", "R58BBBB0002", "--to", "1", "--message", "m", "--yes"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    const auto sent = server->log().events("message");
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent.first().value("serial").toString(), "R58BBBB0002");
}

// Three phones share one list; one is unplugged after a few messages and the others take its
// share: everyone is texted once, each through the phone the report names.
TEST_F(AndroidCommandLineTest, SeveralPhonesShareOneListAndAnUnpluggedOneLeavesItsShareToTheOthers) {
    sim::PhoneConfig unplugged = phone("R58CCCC0003");
    unplugged.unplugAfter = 4;
    start({phone("R58AAAA0001"), phone("R58BBBB0002"), unplugged});
    QStringList send{"send", "--android", "--all-phones", "--message", "m", "--yes"};
    QStringList numbers;
    for (int i = 0; i < 60; ++i) {
        numbers << QStringLiteral("+4477009%1").arg(i, 5, 10, QLatin1Char('0'));
        send << "--to" << numbers.last();
    }
    int exitCode = -1;
    const QStringList out = run(send, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    EXPECT_EQ(out.value(60), "60 of 60 recipients sent.") << out.join('\n').toStdString();
    QMap<QString, QString> phoneOf; // number -> the phone that sent it
    for (const QJsonObject& m : server->log().events("message")) {
        EXPECT_FALSE(phoneOf.contains(m.value("number").toString()))
            << "twice: " << m.value("number").toString().toStdString();
        phoneOf.insert(m.value("number").toString(), m.value("serial").toString());
    }
    EXPECT_EQ(QStringList(phoneOf.keys()), numbers);
    const QStringList serials = phoneOf.values();
    EXPECT_EQ(serials.count("R58CCCC0003"), 4);
    EXPECT_GT(serials.count("R58AAAA0001"), 10);
    EXPECT_GT(serials.count("R58BBBB0002"), 10);
    for (const QString& line : out.mid(0, 60))
        EXPECT_TRUE(line.contains(QStringLiteral("(%1)").arg(phoneOf.value(line.section('\t', 0, 0)))))
            << line.toStdString();
    EXPECT_TRUE(errors.contains("VIRTUAL PHONE 5G (R58CCCC0003): Left the run")) << errors.toStdString();
    server->stop();

    // Single-shot: each phone takes its part of the list in one file.
    start({phone("R58AAAA0001"), phone("R58BBBB0002"), phone("R58CCCC0003")});
    QStringList singleShot{"send",      "--android", "--all-phones", "--mode", "single-shot",
                           "--message", "m",         "--yes"};
    for (const QString& number : numbers.mid(0, 30))
        singleShot << "--to" << number;
    run(singleShot, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    // Each claims a third; a phone that finished its batch before a slower one claimed goes on
    // one by one with what is left, so the thirds may come out a message or two apart.
    QMap<QString, int> perPhone;
    QSet<QString> heard;
    for (const QJsonObject& m : server->log().events("message")) {
        ++perPhone[m.value("serial").toString()];
        heard << m.value("number").toString();
    }
    EXPECT_EQ(heard.size(), 30);
    EXPECT_EQ(server->log().events("message").size(), 30); // none twice
    EXPECT_EQ(perPhone.keys(), (QStringList{"R58AAAA0001", "R58BBBB0002", "R58CCCC0003"}));
    EXPECT_EQ(server->log().events("read").size(), 3); // one list file each
}

TEST_F(AndroidCommandLineTest, DevicesListsEveryPhoneWithItsState) {
    sim::PhoneConfig locked = phone("R58LOCK0002");
    locked.state = "unauthorized";
    start({phone("R58AAAA0001"), locked});
    int exitCode = -1;
    const QStringList out = run({"devices", "--android"}, exitCode);
    EXPECT_EQ(exitCode, 0);
    ASSERT_EQ(out.size(), 2) << errors.toStdString();
    EXPECT_TRUE(out.at(0).startsWith("R58AAAA0001\tdevice\tManufacturer: VIRTUAL\tModel Number: PHONE 5G"))
        << out.at(0).toStdString();
    EXPECT_EQ(out.at(1), "R58LOCK0002\tunauthorized");
    server->stop();
    start({});
    EXPECT_TRUE(run({"devices", "--android"}, exitCode).isEmpty());
    EXPECT_EQ(exitCode, 1);
}

// A run through a phone killed in the middle is resumed as a run through modems is: the rest is
// sent, nobody twice, except one the store says may have gone when the kill came (sent again
// only when asked).
TEST_F(AndroidCommandLineTest, AKilledRunThroughAPhoneIsResumedWithoutTextingAnyoneTwice) {
    start({phone("R58TEST0001")});
    QStringList send{"send", "--android", "--message", "m", "--yes"};
    QStringList numbers;
    for (int i = 0; i < 30; ++i)
        send << "--to" << (numbers << QStringLiteral("+4477009%1").arg(20000 + i)).last();
    QProcess sender;
    QProcessEnvironment env = senderEnvironment(home.path(), "0.05", {});
    env.insert("ADB_SERVER_SOCKET", server->socketSpec());
    env.insert("HOME", home.path());
    env.remove("ANDROID_SERIAL");
    sender.setProcessEnvironment(env);
    sender.start(QStringLiteral(BULKSMS_EXECUTABLE), send);
    ASSERT_TRUE(sender.waitForStarted());
    for (int wait = 0; wait < 1200 && messages().size() < 4; ++wait)
        QThread::msleep(25);
    ::kill(pid_t(sender.processId()), SIGKILL);
    sender.waitForFinished();
    const qsizetype beforeResume = messages().size();
    ASSERT_GE(beforeResume, 4);
    ASSERT_LT(beforeResume, numbers.size()) << "the run ended before the kill";

    int exitCode = -1;
    const QStringList out = run({"send", "--android", "--resume", "--yes"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    QStringList unknown;
    for (const QString& line : out + errors.split('\n'))
        if (line.contains("Unknown (may have been sent)"))
            unknown << line.section('\t', 0, 0);
    EXPECT_LE(unknown.size(), 1); // the one in the phone's hands at the kill, at most
    for (const QString& number : numbers)
        if (unknown.contains(number))
            EXPECT_LE(messages().filter(number + "|").size(), 1) << number.toStdString();
        else
            EXPECT_EQ(messages().filter(number + "|").size(), 1) << number.toStdString();
    EXPECT_TRUE(server->log().events("injection").isEmpty());
}

} // namespace
