// Modems plugged in and out while the program runs, with virtual modems started as programs
// that link their pseudo-terminals to paths named beforehand; and sticks in storage mode.
#include "gsm/ModemHotplug.h"

#include "TestEnvironment.h"
#include "core/Clock.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ModemHotplugTest : public ::testing::Test {
protected:
    void SetUp() override { Clock::setScale(0.001); }
    void TearDown() override {
        for (QProcess* sim : sims) {
            sim->kill();
            sim->waitForFinished(5000);
            delete sim;
        }
        qunsetenv("BULKSMS_EXTRA_MODEMS");
    }

    // Names the modems' paths, then watches: what is there now is the baseline.
    void watch(const QString& extraModems) {
        qputenv("BULKSMS_EXTRA_MODEMS", extraModems.toUtf8());
        QObject::connect(&hotplug, &ModemHotplug::plugged, [this](const auto& m) { plugged << m; });
        QObject::connect(&hotplug, &ModemHotplug::unplugged, [this](const auto& m) { unplugged << m; });
        hotplug.start();
    }

    // A virtual modem program whose pseudo-terminals are linked from `link`; returns once they are.
    QProcess& startSim(const QStringList& arguments) {
        auto* sim = new QProcess;
        sims << sim;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_CLOCK_SCALE", "0.001");
        sim->setProcessEnvironment(env);
        sim->start(QStringLiteral(BULKSMS_MODEM_SIM), arguments);
        EXPECT_TRUE(sim->waitForReadyRead(10000)); // the paths are printed once the links are made
        return *sim;
    }

    // Lets several rescans and settle times pass, so that a second telling would have come.
    static void letRescansPass() {
        spinUntil([] { return false; }, std::chrono::milliseconds(400));
    }

    QTemporaryDir dir;
    ModemHotplug hotplug;
    QList<ModemPortGroups::Group> plugged, unplugged;
    QList<QProcess*> sims;
};

TEST_F(ModemHotplugTest, AModemStartedLaterIsPluggedOnceAndUnpluggedWhenItDies) {
    const QString link = dir.filePath("modem");
    watch(link);
    letRescansPass();
    EXPECT_TRUE(plugged.isEmpty()); // a path named but not there is no modem

    QProcess& sim = startSim({"--link", link, "--no-echo"});
    ASSERT_TRUE(spinUntil([&] { return !plugged.isEmpty(); }));
    letRescansPass();
    ASSERT_EQ(plugged.size(), 1);
    EXPECT_EQ(plugged.at(0).paths(), QStringList{link});
    EXPECT_TRUE(unplugged.isEmpty());

    // Killed, it leaves its link behind, pointing nowhere.
    sim.kill();
    sim.waitForFinished(5000);
    ASSERT_TRUE(spinUntil([&] { return !unplugged.isEmpty(); }));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    // The next pseudo-terminal opened on this machine may get the dead one's number, and the
    // link would lead to it: a modem plugged in, truly, as far as the watch can tell.
    QFile::remove(link);
    letRescansPass();
    ASSERT_EQ(unplugged.size(), 1);
    EXPECT_EQ(unplugged.at(0).paths(), QStringList{link});
    EXPECT_EQ(plugged.size(), 1);
}

TEST_F(ModemHotplugTest, AModemOfTwoPortsIsToldOnceWithBothAndGoesWithBoth) {
    const QString link = dir.filePath("bank");
    watch(QStringLiteral("3-1.4=%1-1,%1-2").arg(link));
    QProcess& sim = startSim({"--link", link, "--count", "2", "--no-echo"});
    ASSERT_TRUE(spinUntil([&] { return !plugged.isEmpty(); }));
    letRescansPass();
    ASSERT_EQ(plugged.size(), 1);
    EXPECT_EQ(plugged.at(0).slot, "3-1.4");
    EXPECT_EQ(plugged.at(0).paths(), (QStringList{link + "-1", link + "-2"}));

    sim.terminate(); // its links go with it
    sim.waitForFinished(5000);
    ASSERT_TRUE(spinUntil([&] { return !unplugged.isEmpty(); }));
    letRescansPass();
    ASSERT_EQ(unplugged.size(), 1);
    EXPECT_EQ(unplugged.at(0).paths(), plugged.at(0).paths());
}

TEST_F(ModemHotplugTest, AModemAttachedBeforeTheWatchIsNotPlugged) {
    const QString link = dir.filePath("early");
    startSim({"--link", link});
    watch(link);
    letRescansPass();
    EXPECT_TRUE(plugged.isEmpty());
    EXPECT_TRUE(unplugged.isEmpty());
}

TEST(ModemStorageMode, KnownSticksAreToldByTheirIdsAndTheWayOut) {
    struct Case {
        const char* vendor;
        const char* product;
        const char* maker; // "" : not a storage mode we know
    };
    const Case cases[] = {
        {"12d1", "1f01", "Huawei"},
        {"12D1", "1C0B", "Huawei"}, // ids as some tools print them
        {"19d2", "2000", "ZTE"},
        {"1199", "0fff", "Sierra Wireless"},
        {"12d1", "1001", ""}, // the same stick already a modem
        {"2c7c", "0125", ""}, // a Quectel module has no storage mode
        {"", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.vendor) + ":" + c.product);
        EXPECT_EQ(ModemHotplug::storageModeMaker(c.vendor, c.product), QString::fromLatin1(c.maker));
        const QString message = ModemHotplug::storageModeMessage(c.vendor, c.product);
        if (*c.maker == '\0') {
            EXPECT_TRUE(message.isEmpty());
            continue;
        }
        EXPECT_TRUE(message.startsWith(QStringLiteral("The USB stick %1:%2 (%3)")
                                           .arg(QString::fromLatin1(c.vendor).toLower(),
                                                QString::fromLatin1(c.product).toLower(), c.maker)))
            << message.toStdString();
        EXPECT_TRUE(message.contains("usb-modeswitch")) << message.toStdString();
        EXPECT_FALSE(message.contains('\n')); // one line
    }
}

} // namespace
