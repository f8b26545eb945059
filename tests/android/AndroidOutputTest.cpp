// The pure judges of adb's output and the list file's lines.
#include "android/AdbRunner.h"
#include "android/AndroidDevices.h"
#include "android/PhoneInbox.h"
#include "android/PhoneSentBox.h"
#include "android/PhoneStorage.h"

#include <gtest/gtest.h>

namespace {

TEST(AndroidOutput, DeviceListDropsEverythingUpToTheHeader) {
    const QString output = "* daemon not running; starting now at tcp:5037\n* daemon started successfully\n"
                           "List of devices attached\nR58M123ABC\tdevice\n\n";
    EXPECT_EQ(deviceListFromOutput(output), "R58M123ABC\tdevice");
    EXPECT_EQ(deviceListFromOutput("List of devices attached\n\n"), "");
    EXPECT_EQ(deviceListFromOutput("List of devices attached\nA\tdevice\nB\tunauthorized\n", "B"),
              "B\tunauthorized");
}

TEST(AndroidOutput, FirstPhoneLineAndMoreThanOne) {
    struct Case {
        QString list;
        QString device;
        bool several;
    };
    const QList<Case> cases = {
        {"", "", false},
        {"R58M123ABC\tdevice", "Android Device R58M123ABC", false},
        {"R58M123ABC\tunauthorized", "Android Device R58M123ABC\tUNAUTHORIZED", false},
        {"emulator-5554\toffline", "Android Device EMULATOR-5554\tOFFLINE", false},
        {"A1\tdevice\nB2\tunauthorized", "Android Device A1", true},
        {"A1\tdevice\nB2\toffline", "Android Device A1", true},
        {"A1\tdevice\n", "Android Device A1", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(androidDeviceFromList(c.list), c.device) << c.list.toStdString();
        EXPECT_EQ(Check_More_Than_One_Android_Device(c.list), c.several) << c.list.toStdString();
    }
}

TEST(AndroidOutput, DisplayNameFromMakerAndModel) {
    const auto rows = [](const QString& maker, const QString& model) {
        return RecordList{propertyRow("Device", "Android Device X"), propertyRow("Manufacturer", maker),
                          propertyRow("Model Number", model), propertyRow("Serial Number", "X")};
    };
    EXPECT_EQ(Get_Device_name_Detail(rows("GOOGLE", "PIXEL 7")), "GOOGLE PIXEL 7");
    EXPECT_EQ(Get_Device_name_Detail(rows("PIXEL 7 PRO", "PIXEL 7")), "PIXEL 7");
    EXPECT_EQ(
        Sel_Dev_Detail_String_Creation(rows("GOOGLE", "PIXEL 7")),
        "Model Details:\n---------------------------------------\nManufacturer : GOOGLE, Android Device X\n"
        "Model Number : PIXEL 7\n");
}

TEST(AndroidOutput, JudgesOfOutput) {
    EXPECT_EQ(Check_Command_Response_Is_Valid("error: no devices/emulators found"), "");
    EXPECT_EQ(Check_Command_Response_Is_Valid("No device attached"), "");
    EXPECT_EQ(Check_Command_Response_Is_Valid("Pixel 7\n"), "Pixel 7\n");
    EXPECT_EQ(Android_Device_Details("shell getprop ro.product.model=Pixel 7 \r"), "Pixel 7");
    EXPECT_EQ(Android_Device_Details("shell getprop ro.product.model=error: closed"), "");
    EXPECT_EQ(Android_Device_Details("no equals sign"), "");
    EXPECT_TRUE(Find_Error_In_Stat_Activity("adb: error: closed"));
    EXPECT_FALSE(Find_Error_In_Stat_Activity("Error type 3")); // the judge is case-sensitive
    EXPECT_TRUE(Find_Error_In_Stat_Activity("/system/bin/sh: -n: permission denied"));
    EXPECT_FALSE(Find_Error_In_Stat_Activity("Starting: Intent { act=android.intent.category.MAIN }"));
    EXPECT_TRUE(outputShowsLostDevice("error: device not found"));
    EXPECT_TRUE(outputShowsLostDevice("error: device 'R58M' not found"));
    EXPECT_TRUE(outputShowsLostDevice("adb: error: no devices/emulators found"));
    EXPECT_TRUE(outputShowsLostDevice("error: device offline"));
    EXPECT_FALSE(outputShowsLostDevice("Starting: Intent { }"));
}

TEST(AndroidOutput, ListFileLineKeepsTextAndMarksLineBreaks) {
    EXPECT_EQ(listFileLine("+447700900001", "Line1\r\nLine2\nLine3"),
              QByteArray("+447700900001,~$^'Line1S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/Line2S5%J7.qB~X4,9z/"
                         "pT_OSTREL_AP_DX/Line3\r\n"));
    EXPECT_EQ(listFileLine("1", "Caf\u00e9 \U0001F600 & ;"),
              QString("1,~$^'Caf\u00e9 \U0001F600 & ;\r\n").toUtf8());
}

TEST(AndroidOutput, PhoneWordsStayPlainOrGetQuoted) {
    EXPECT_EQ(phoneShellWord("+447700900001"), "+447700900001");
    EXPECT_EQ(phoneShellWord("/sdcard/message.txt"), "/sdcard/message.txt");
    EXPECT_EQ(phoneShellWord("it's $5"), "'it'\\''s $5'");
    EXPECT_EQ(phoneShellWord(""), "''");
    EXPECT_EQ(phoneShellWord("/sdcard/x\n"), "'/sdcard/x\n'");
}

// The phone's SMS provider as `content query` prints it: bodies with line breaks and ", " in
// them, a terminal's CR LF line ends (and a body's own CR LF through one), no rows, a refusal.
TEST(AndroidOutput, SmsRowsOfAContentQuery) {
    QString why;
    const std::optional<QList<PhoneSms>> rows =
        parseSmsRows("Row: 0 _id=7, address=+447700900001, type=2, body=one\ntwo, type=5\n"
                     "Row: 1 _id=6, address=2, type=5, body=\n",
                     &why);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 2);
    EXPECT_EQ(rows->at(0).id, 7);
    EXPECT_EQ(rows->at(0).address, "+447700900001");
    EXPECT_EQ(rows->at(0).type, 2);
    EXPECT_EQ(rows->at(0).body, "one\ntwo, type=5");
    EXPECT_EQ(rows->at(1).body, "");
    const auto terminal = parseSmsRows("Row: 0 _id=1, address=1, type=2, body=CR\r\r\nLF\r\n", &why);
    ASSERT_TRUE(terminal && terminal->size() == 1);
    EXPECT_EQ(terminal->first().body, "CR\r\nLF");
    const auto none = parseSmsRows("No result found.\n", &why);
    EXPECT_TRUE(none && none->isEmpty());
    EXPECT_FALSE(parseSmsRows("Error while accessing provider:sms\njava.lang.SecurityException: Permission "
                              "Denial: reading uri content://sms requires android.permission.READ_SMS\n",
                              &why));
    EXPECT_TRUE(why.startsWith("java.lang.SecurityException: Permission Denial")) << why.toStdString();
}

TEST(AndroidOutput, InboxRowsOfAContentQuery) {
    QString why;
    const std::optional<QList<IncomingMessage>> rows =
        parseInboxRows("Row: 0 _id=12, address=+447400123456, date=1795733794006, body=Yes, date=5\nok\n"
                       "Row: 1 _id=9, address=MyBank, date=1795733790000, body=STOP\n",
                       &why);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 2);
    EXPECT_EQ(rows->at(0).sender, "+447400123456");
    EXPECT_EQ(rows->at(0).text, "Yes, date=5\nok");
    EXPECT_EQ(rows->at(0).sentAt, 1795733794006);
    EXPECT_EQ(rows->at(0).places, QList<int>{12});
    EXPECT_EQ(rows->at(1).sender, "MyBank");
    EXPECT_TRUE(parseInboxRows("No result found.\n", &why)->isEmpty());
    EXPECT_FALSE(
        parseInboxRows("Error while accessing provider:sms\njava.lang.SecurityException: Permission "
                       "Denial: reading uri content://sms/inbox requires android.permission.READ_SMS\n",
                       &why));
    EXPECT_TRUE(why.startsWith("java.lang.SecurityException")) << why.toStdString();
}

} // namespace
