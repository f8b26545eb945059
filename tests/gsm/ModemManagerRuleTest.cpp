// The udev rule that keeps ModemManager off our modems: only real USB ids reach a file root
// installs, and the command stays one shell word per path whatever the path holds.
#include "gsm/ModemManagerRule.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(ModemManagerRule, OnlyFourHexDigitIdsMakeARule) {
    EXPECT_EQ(ModemManagerRule::ruleFor({"12D1", "1001"}),
              "ATTRS{idVendor}==\"12d1\", ATTRS{idProduct}==\"1001\", ENV{ID_MM_DEVICE_IGNORE}=\"1\"");
    for (const auto& bad : QList<ModemManagerRule::UsbIds>{{"", "1001"},
                                                           {"12d1", ""},
                                                           {"12d", "1001"},
                                                           {"12d1x", "1001"},
                                                           {"12d1\", RUN+=\"/bin/sh", "1001"},
                                                           {"12g1", "1001"}})
        EXPECT_TRUE(ModemManagerRule::ruleFor(bad).isEmpty()) << bad.first.toStdString();
    // Each modem once; none usable: no file at all.
    const QString text = ModemManagerRule::fileText({{"12d1", "1001"}, {"12D1", "1001"}, {"1e0e", "9001"}});
    EXPECT_EQ(text.count("ID_MM_DEVICE_IGNORE"), 2);
    EXPECT_TRUE(text.startsWith('#'));
    EXPECT_TRUE(ModemManagerRule::fileText({{"zz", "1"}}).isEmpty());
}

TEST(ModemManagerRule, WrittenFileAndTheCommandThatInstallsIt) {
    QTemporaryDir dir;
    const QString file = dir.path() + "/it's here/" + ModemManagerRule::kFileName;
    ASSERT_TRUE(QDir().mkpath(dir.path() + "/it's here"));
    QString why;
    ASSERT_TRUE(ModemManagerRule::write(file, {{"12d1", "1001"}}, &why)) << why.toStdString();
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(written.readAll()), ModemManagerRule::fileText({{"12d1", "1001"}}));
    EXPECT_FALSE(ModemManagerRule::write(dir.path() + "/none.rules", {}, &why));
    EXPECT_FALSE(QFile::exists(dir.path() + "/none.rules"));

    // The shell sees the path as one word: `printf` shows what the install would get.
    const QString command = ModemManagerRule::installCommand(file);
    EXPECT_TRUE(command.startsWith("sudo install -m 644 "));
    EXPECT_TRUE(
        command.endsWith(" /etc/udev/rules.d/ && sudo udevadm control --reload && sudo udevadm trigger"));
    const QString word =
        command.section(" /etc/udev", 0, 0).mid(QStringLiteral("sudo install -m 644 ").size());
    QProcess shell;
    shell.start("sh", {"-c", "printf %s " + word});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(QString::fromUtf8(shell.readAllStandardOutput()), file);
}

} // namespace
