// Each modem's settings kept by its SIM in the settings file: what comes back, what an untrusted
// file cannot smuggle in, and what a search lays over a probed record.
#include "services/DeviceSettingsMemory.h"

#include "TestEnvironment.h"
#include "core/FileUtils.h"
#include "core/SettingsFile.h"
#include "device/DeviceRecord.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

const QString kIccid = QStringLiteral("8944100000000000012");
const QString kImei = QStringLiteral("490154203237518");

// A record as the search makes it of a modem offering both modes.
Record probed(const QString& iccid, const QString& imei, const QString& supported = ";PDU Mode;Text Mode;") {
    return Record{{kPortNameKey, "pts/3"},
                  {kPortDetailKey, "/dev/pts/3"},
                  {kImeiKey, imei},
                  {kIccidKey, iccid},
                  {kDefaultSmscKey, "+447700900123"},
                  {kCustomSmscKey, "+447700900123"},
                  {kUseCustomSmscKey, "N"},
                  {kSmsModeKey, supported.contains("PDU") ? "PDU Mode" : "Text Mode"},
                  {kSupportedSmsModesKey, supported}};
}

Record withSettings(Record record, const QString& mode, const QString& use, const QString& custom) {
    record.insert(kSmsModeKey, mode);
    record.insert(kUseCustomSmscKey, use);
    record.insert(kCustomSmscKey, custom);
    return record;
}

QStringList settingsOf(const Record& r) {
    return {r.value(kSmsModeKey), r.value(kUseCustomSmscKey), r.value(kCustomSmscKey)};
}

class DeviceSettingsMemoryTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.folder.Check_Path_And_Create_Files()); }
    void writeSettingsFile(const QByteArray& bytes) {
        QString why;
        ASSERT_TRUE(writeFileAtomically(SettingsFile::path(home.folder), bytes, &why)) << why.toStdString();
    }
    QJsonObject devicesInFile() const {
        return QJsonDocument::fromJson(readAll(SettingsFile::path(home.folder)))
            .object()
            .value("devices")
            .toObject();
    }
    TestDataHome home;
    DeviceSettingsMemory memory{home.folder};
};

TEST_F(DeviceSettingsMemoryTest, SettingsComeBackForTheSameSimOnly) {
    ASSERT_TRUE(SettingsFile(home.folder).write("gsmWindow", QJsonObject{{"unicode", true}}));
    QString why;
    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "Y", "+447700900999"), &why))
        << why.toStdString();
    // A modem that does not tell its SIM is kept by its IMEI.
    ASSERT_TRUE(memory.keep(withSettings(probed("", "356789123456789"), "PDU Mode", "Y", "+15550001111")));
    // A change replaces the SIM's entry.
    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "Y", "+447700900888")));

    const DeviceSettingsMemory::Kept kept = memory.read();
    EXPECT_EQ(kept.size(), 2);
    EXPECT_EQ(devicesInFile().keys(), (QStringList{"iccid:" + kIccid, "imei:356789123456789"}));
    EXPECT_EQ(SettingsFile(home.folder).read().value("gsmWindow").toObject().value("unicode"), true)
        << "another window's options stay";
    EXPECT_EQ(permissionsOf(SettingsFile::path(home.folder)), 0600u);

    const struct {
        const char* name;
        Record record;
        bool kept;
        QStringList settings;
    } cases[] = {
        {"the SIM in the same modem", probed(kIccid, kImei), true, {"Text Mode", "Y", "+447700900888"}},
        {"the SIM moved to another modem",
         probed(kIccid, "111111111111111"),
         true,
         {"Text Mode", "Y", "+447700900888"}},
        {"another SIM in the same modem",
         probed("8944100000000000020", kImei),
         false,
         {"PDU Mode", "N", "+447700900123"}},
        {"the modem kept by its IMEI",
         probed("", "356789123456789"),
         true,
         {"PDU Mode", "Y", "+15550001111"}},
        {"that modem, its SIM now read",
         probed("8944100000000000038", "356789123456789"),
         false,
         {"PDU Mode", "N", "+447700900123"}},
        {"a modem that tells nothing", probed("", ""), false, {"PDU Mode", "N", "+447700900123"}},
    };
    for (const auto& c : cases) {
        Record record = c.record;
        EXPECT_EQ(DeviceSettingsMemory::layOver(record, kept), c.kept) << c.name;
        EXPECT_EQ(settingsOf(record), c.settings) << c.name;
    }
}

TEST_F(DeviceSettingsMemoryTest, AModeTheModemNoLongerOffersIsNotApplied) {
    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "Y", "+447700900999")));
    const DeviceSettingsMemory::Kept kept = memory.read();
    const struct {
        const char* supported;
        const char* mode;
    } cases[] = {
        {";PDU Mode;Text Mode;", "Text Mode"},
        {";Text Mode;", "Text Mode"},
        {";PDU Mode;", "PDU Mode"},
        {"NONE", "NONE"},
    };
    for (const auto& c : cases) {
        Record record = probed(kIccid, kImei, c.supported);
        if (QLatin1String(c.supported) == "NONE")
            record.insert(kSmsModeKey, "NONE");
        ASSERT_TRUE(DeviceSettingsMemory::layOver(record, kept)) << c.supported;
        EXPECT_EQ(record.value(kSmsModeKey), c.mode) << c.supported;
        EXPECT_EQ(record.value(kCustomSmscKey), "+447700900999") << "the centre still applies";
    }
    // The box off: the custom number is the modem's default again, whatever was typed before.
    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "PDU Mode", "N", "+447700900999")));
    Record record = probed(kIccid, kImei);
    record.insert(kDefaultSmscKey, "+15550002222");
    ASSERT_TRUE(DeviceSettingsMemory::layOver(record, memory.read()));
    EXPECT_EQ(settingsOf(record), (QStringList{"PDU Mode", "N", "+15550002222"}));
    // A modem without a mode to choose keeps its custom centre all the same.
    Record modeless = withSettings(probed(kIccid, kImei, "NONE"), "NONE", "Y", "+447700900777");
    ASSERT_TRUE(memory.keep(modeless));
    Record again = probed(kIccid, kImei, "NONE");
    again.insert(kSmsModeKey, "NONE");
    ASSERT_TRUE(DeviceSettingsMemory::layOver(again, memory.read()));
    EXPECT_EQ(settingsOf(again), (QStringList{"NONE", "Y", "+447700900777"}));
}

// The file is anyone's to edit: only whole, plausible entries come back.
TEST_F(DeviceSettingsMemoryTest, MalformedEntriesAreLeftOut) {
    const QByteArray good = R"("iccid:8944100000000000012": {"mode": "Text Mode", "useCustomSmsc": true,
                                  "customSmsc": "+44 7700 900999"})";
    const struct {
        const char* name;
        QByteArray file;
        QStringList kept;
    } cases[] = {
        {"not JSON", "{\"devices\": {" + good, {}},
        {"not an object", "[1, 2]", {}},
        {"devices not an object", R"({"devices": ["iccid:8944100000000000012"]})", {}},
        {"entry not an object",
         "{\"devices\": {" + good + R"(, "imei:356789123456789": "Text Mode"}})",
         {"iccid:8944100000000000012"}},
        {"a mode the window does not offer",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "Flash Mode", "useCustomSmsc": false}}})",
         {"iccid:8944100000000000012"}},
        {"a mode of the wrong kind",
         "{\"devices\": {" + good + R"(, "imei:356789123456789": {"mode": 1, "useCustomSmsc": false}}})",
         {"iccid:8944100000000000012"}},
        {"the box as text",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "PDU Mode", "useCustomSmsc": "Y"}}})",
         {"iccid:8944100000000000012"}},
        {"a custom centre that is no number",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "PDU Mode", "useCustomSmsc": true, "customSmsc": "SMSC"}}})",
         {"iccid:8944100000000000012"}},
        {"commands hidden in the centre",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "PDU Mode", "useCustomSmsc": true,
                 "customSmsc": "+4477009\r\nAT+CFUN=0"}}})",
         {"iccid:8944100000000000012"}},
        {"no custom centre though used",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "PDU Mode", "useCustomSmsc": true}}})",
         {"iccid:8944100000000000012"}},
        {"keys that name no SIM",
         "{\"devices\": {" + good +
             R"(, "iccid:1234": {"mode": "PDU Mode", "useCustomSmsc": false},
                "port:/dev/ttyUSB0": {"mode": "PDU Mode", "useCustomSmsc": false},
                "imei:49015420323751x": {"mode": "PDU Mode", "useCustomSmsc": false}}})",
         {"iccid:8944100000000000012"}},
        {"an unused custom centre is not judged",
         "{\"devices\": {" + good +
             R"(, "imei:356789123456789": {"mode": "PDU Mode", "useCustomSmsc": false, "customSmsc": 7}}})",
         {"iccid:8944100000000000012", "imei:356789123456789"}},
        {"over a mebibyte",
         "{\"devices\": {" + good + "}, \"pad\": \"" + QByteArray(qsizetype{1100} * 1024, 'x') + "\"}",
         {}},
    };
    for (const auto& c : cases) {
        writeSettingsFile(c.file);
        QStringList keys = memory.read().keys();
        keys.sort();
        EXPECT_EQ(keys, c.kept) << c.name;
    }
    // Keeping over a "devices" that is no object starts it afresh rather than failing.
    writeSettingsFile(R"({"devices": "garbage", "gsmWindow": {"unicode": true}})");
    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "N", "+447700900123")));
    EXPECT_EQ(memory.read().keys(), QStringList{"iccid:" + kIccid});
    EXPECT_TRUE(SettingsFile(home.folder).read().contains("gsmWindow"));
}

TEST_F(DeviceSettingsMemoryTest, TheSimsKeptLongestAgoMakeRoom) {
    QJsonObject devices;
    for (int i = 0; i < DeviceSettingsMemory::kMaxDevices; ++i)
        devices.insert(QStringLiteral("imei:35678912345%1").arg(i, 4, 10, QLatin1Char('0')),
                       QJsonObject{{"mode", "PDU Mode"}, {"useCustomSmsc", false}, {"keptAt", 1000 + i}});
    devices.insert("imei:356789123451500",
                   QJsonObject{{"mode", "PDU Mode"}, {"useCustomSmsc", false}, {"keptAt", 1}}); // the oldest
    writeSettingsFile(QJsonDocument(QJsonObject{{"devices", devices}}).toJson());

    ASSERT_TRUE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "N", "+447700900123")));
    const QJsonObject after = devicesInFile();
    EXPECT_EQ(after.size(), DeviceSettingsMemory::kMaxDevices);
    EXPECT_TRUE(after.contains("iccid:" + kIccid));
    EXPECT_FALSE(after.contains("imei:356789123451500"));
    EXPECT_FALSE(after.contains("imei:356789123450000")) << "the next oldest";
    EXPECT_TRUE(after.contains("imei:356789123450001"));
}

TEST_F(DeviceSettingsMemoryTest, AFailedKeepSaysWhy) {
    QString why;
    EXPECT_FALSE(memory.keep(withSettings(probed("", "IMEI unknown"), "PDU Mode", "N", ""), &why));
    EXPECT_EQ(why, "The modem on pts/3 tells neither its SIM's number nor its IMEI.");

    // A settings file that cannot be replaced (a folder in its place).
    ASSERT_TRUE(QDir().mkpath(SettingsFile::path(home.folder)));
    why.clear();
    EXPECT_FALSE(memory.keep(withSettings(probed(kIccid, kImei), "Text Mode", "N", "+447700900123"), &why));
    EXPECT_TRUE(why.startsWith(SettingsFile::path(home.folder))) << why.toStdString();
    EXPECT_EQ(DeviceSettingsMemory::notKeptMessage(why),
              "The options could not be kept for the next start.\n\n" + why);
    EXPECT_TRUE(memory.read().isEmpty());
}

// Limits go beside the mode and service centre of the same SIM: neither write loses the other,
// and what the run reads back (keptDeviceLimits) is what was set.
TEST_F(DeviceSettingsMemoryTest, LimitsAreKeptBesideTheSettingsAndSurviveTheirChange) {
    const Record modem = withSettings(probed(kIccid, kImei), "Text Mode", "Y", "+447700900999");
    ASSERT_TRUE(memory.keep(modem));
    QString why;
    ASSERT_TRUE(memory.keepLimits(modem, DeviceLimits{2, 0, 500, 0, 0}, &why)) << why.toStdString();
    const DeviceLimits kept{2, 0, 500, 0, 0};
    EXPECT_EQ(keptDeviceLimits(home.folder).value("iccid:" + kIccid), kept);
    EXPECT_EQ(memory.limitsOf(modem), kept);
    EXPECT_EQ(memory.read().value("iccid:" + kIccid).mode, "Text Mode"); // as kept first
    EXPECT_EQ(memory.read().value("iccid:" + kIccid).customSmsc, "+447700900999");

    // A change of mode and centre keeps the limits; another SIM has none.
    const Record changed = withSettings(modem, "PDU Mode", "N", "+447700900123");
    ASSERT_TRUE(memory.keep(changed));
    EXPECT_EQ(memory.read().value("iccid:" + kIccid).mode, "PDU Mode");
    EXPECT_FALSE(memory.read().value("iccid:" + kIccid).useCustomSmsc);
    EXPECT_EQ(memory.limitsOf(changed), kept);
    EXPECT_EQ(memory.limitsOf(probed("8944100000000000020", "490154203237526")), DeviceLimits{});
    EXPECT_EQ(devicesInFile().value("iccid:" + kIccid).toObject().value("limits").toObject(),
              (QJsonObject{{"minute", 2}, {"hour", 0}, {"day", 500}}));

    // All back to 0: no limit, and no "limits" left in the entry; the settings stay.
    ASSERT_TRUE(memory.keepLimits(changed, DeviceLimits{}));
    EXPECT_TRUE(keptDeviceLimits(home.folder).isEmpty());
    EXPECT_FALSE(devicesInFile().value("iccid:" + kIccid).toObject().contains("limits"));
    EXPECT_EQ(memory.read().value("iccid:" + kIccid).mode, "PDU Mode");

    // A modem that names no SIM keeps none, and says why.
    EXPECT_FALSE(memory.keepLimits(probed("", "IMEI unknown"), kept, &why));
    EXPECT_EQ(why, "The modem on pts/3 tells neither its SIM's number nor its IMEI.");
}

} // namespace
