// "bulksms test-device" against virtual modems: the case table it prints agrees with what
// the virtual network received, and its exit status says whether any case worked.
#include "SenderFixture.h"
#include "TestEnvironment.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class TestDeviceCommandLineTest : public ::testing::Test {
protected:
    sim::VirtualModem& attach(const std::function<void(sim::ModemBehaviour&)>& change) {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        change(behaviour);
        modem = std::make_unique<sim::VirtualModem>(sim::ModemIdentity{}, behaviour);
        EXPECT_TRUE(modem->start());
        return *modem;
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        // The probe's read time-outs outlast a busy machine.
        return runToEnd(senderEnvironment(home.path(), "0.2", {modem->devicePath()}), arguments, exitCode,
                        errors);
    }
    QTemporaryDir home;
    QString errors;
    std::unique_ptr<sim::VirtualModem> modem;
};

TEST_F(TestDeviceCommandLineTest, AModemThatRefusesPduModePassesTheTextCasesOnly) {
    sim::VirtualModem& m = attach([](sim::ModemBehaviour& b) {
        b.modes = sim::ModemBehaviour::Modes::TextOnly;
        b.refusedServiceCentres = {"+447700900999"};
    });
    int exitCode = -1;
    const QString report = home.path() + "/report.txt";
    const QStringList lines = run({"test-device", "--device", m.devicePath(), "--to", "+447700900555",
                                   "--smsc", "+447700900999", "--report", report},
                                  exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    ASSERT_EQ(lines.size(), 3) << lines.join('\n').toStdString();
    EXPECT_TRUE(lines.at(0).startsWith("Testing VM-100 on "));
    EXPECT_EQ(lines.at(1), "Case 1:\tTXT_CUS_SMSC\tText Mode with Custom SMSC\t+CMS ERROR: 330");
    EXPECT_EQ(lines.at(2), "Case 2:\tTXT_DEF_SMSC\tText Mode with Default SMSC\tMessage sent successfully.");
    ASSERT_EQ(m.received().size(), 1);
    EXPECT_EQ(m.received().at(0).mode, "TEXT");
    EXPECT_EQ(m.received().at(0).text, "'Text Mode with Default SMSC is working for Device Model: VM-100'");
    QFile file(report);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const QString text = reportText(bytes); // one UTF-8 text, one mark
    EXPECT_TRUE(text.contains("Case 2:\nText Mode with Default SMSC is working for Device Model: VM-100\n"
                              "Message sent successfully.\n\n"))
        << text.toStdString();
    EXPECT_EQ(permissionsOf(report), 0600u);
}

TEST_F(TestDeviceCommandLineTest, NoWorkingCaseExitsWithOneAndAnUnknownDeviceWithTwo) {
    sim::VirtualModem& m =
        attach([](sim::ModemBehaviour& b) { b.cmsErrorForNumber.insert("+447700900555", 38); });
    int exitCode = -1;
    QStringList lines = run({"test-device", "--device", m.devicePath(), "--to", "+447700900555"}, exitCode);
    EXPECT_EQ(exitCode, 1);
    ASSERT_EQ(lines.size(), 3) << lines.join('\n').toStdString();
    EXPECT_TRUE(lines.at(1).endsWith("\t+CMS ERROR: 38"));
    EXPECT_TRUE(lines.at(2).endsWith("\t+CMS ERROR: 38"));

    lines = run({"test-device", "--device", "/dev/nothing-here", "--to", "+447700900555"}, exitCode);
    EXPECT_EQ(exitCode, 2);
    lines = run({"test-device", "--device", m.devicePath(), "--to", "+44 20 7946"}, exitCode);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(errors.contains("Please enter a valid phone number to receive test message."));
}

} // namespace
