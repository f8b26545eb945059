// A phone as a sending device, through the real adb client to a virtual phone whose log must
// agree with the outcomes the device gives.
#include "android/PhoneDevice.h"
#include "PhoneFixture.h"
#include "android/AndroidDevices.h"
#include "core/DataFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

using Mode = PhoneDevice::Mode;

// What goes wrong with the phone (or the computer) in a case.
enum class Fault { None, Unplugged, NoApp, CopyFails, FolderInTheWay };

class PhoneDeviceTest : public PhoneFixture {
protected:
    void startPhone(Fault fault = Fault::None) {
        sim::PhoneConfig config = phone();
        config.appInstalled = fault != Fault::NoApp;
        config.pushFails = fault == Fault::CopyFails;
        config.unplugAfter = fault == Fault::Unplugged ? 1 : 0; // after the first message
        startPhones(one(config));
        op.clearTranscript();
        stops = switches = 0;
    }
    PhoneDevice device(Mode mode) {
        return {op, home.folder, "VPHONE0001", mode, {[this] { ++stops; }, [this] { ++switches; }, {}, {}}};
    }
    // Prepares the device and hands it the texts one by one until one is not delivered, as a run would.
    QList<SendOutcome> sendEach(Mode mode, const QStringList& texts, bool folderInTheWay = false) {
        return onWorker([&] {
            PhoneDevice phone = device(mode);
            if (folderInTheWay) {
                EXPECT_TRUE(QDir().mkpath(phone.staged("message.txt")));
            }
            QList<SendOutcome> outcomes;
            EXPECT_EQ(phone.prepare(false), "");
            for (int i = 0; i < texts.size() && (outcomes.isEmpty() || outcomes.last().delivered()); ++i)
                outcomes << phone.send({QString::number(i + 1), texts.at(i)}, {});
            phone.close();
            return outcomes;
        });
    }
    static QList<Outcome> kinds(const QList<SendOutcome>& outcomes) {
        QList<Outcome> kinds;
        for (const SendOutcome& o : outcomes) {
            EXPECT_EQ(o.device, "VPHONE0001");
            kinds << o.outcome;
        }
        return kinds;
    }
    int stops = 0;
    int switches = 0;
};

TEST_F(PhoneDeviceTest, EachMessageReachesThePhoneAsComposedOrSaysWhyNot) {
    const QStringList texts = {"Line1\nLine2", "say \"hi\", it's $HOME & `id`", "Caf\u00e9 \U0001F600"};
    struct Case {
        Fault fault;
        Mode mode;
        std::optional<bool> answer; // to the question of a failed copy
        QList<Outcome> outcomes;
        QString path;  // how the phone got the messages it sent
        QString alert; // how the one alert begins
        int stops;
    };
    const QString lost = "\nDevice Connection Error!";
    const QString noApp = "\nThe companion app could not be started on the phone; no message was sent to 1.";
    const QString notWritten = "\nSending stopped: the message could not be written for the phone (";
    using enum Outcome;
    const QList<Outcome> all(3, HandedToPhone);
    const QList<Case> cases = {
        {Fault::None, Mode::Standard, {}, all, "standard", "", 0},
        {Fault::None, Mode::Classic, {}, all, "classic", "", 0},
        {Fault::Unplugged, Mode::Standard, {}, {HandedToPhone, NotHandedOver}, "standard", lost, 0},
        {Fault::Unplugged, Mode::Classic, {}, {HandedToPhone, NotHandedOver}, "classic", lost, 0},
        {Fault::NoApp, Mode::Standard, {}, {NotHandedOver}, "", noApp, 0},
        {Fault::NoApp, Mode::Classic, {}, {NotHandedOver}, "", noApp, 0},
        {Fault::CopyFails, Mode::Standard, true, all, "classic", "", 0},
        {Fault::CopyFails, Mode::Standard, false, {NotHandedOver}, "", "", 1},
        {Fault::FolderInTheWay, Mode::Standard, {}, {NotHandedOver}, "", notWritten, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << int(c.fault) << " " << c.path.toStdString());
        startPhone(c.fault);
        if (c.answer) {
            *c.answer ? op.answerYes() : op.answerNo();
        }
        EXPECT_EQ(kinds(sendEach(c.mode, texts, c.fault == Fault::FolderInTheWay)), c.outcomes);
        QStringList logged; // every path carries the text as composed
        for (int i = 0; i < c.outcomes.count(HandedToPhone); ++i)
            logged << QString::number(i + 1) + "|" + texts[i] + "|" + c.path;
        EXPECT_EQ(sentMessages(), logged);
        EXPECT_EQ(op.alerts().size(), c.alert.isEmpty() ? 0 : 1);
        EXPECT_TRUE(c.alert.isEmpty() || op.alerts().value(0).startsWith(c.alert))
            << op.alerts().join("/").toStdString();
        EXPECT_EQ(op.questions().size(), c.answer ? 1 : 0);
        EXPECT_EQ(stops, c.stops);
        const QDir root(home.folder.Created_Resource_Path()); // no message file stays behind
        const QStringList left = root.entryList({"message.txt*"}, QDir::AllEntries | QDir::NoDotAndDotDot);
        EXPECT_EQ(left.size(), c.fault == Fault::FolderInTheWay ? 1 : 0);
        for (const QString& name : left)
            QDir(root.filePath(name)).removeRecursively();
        server->stop();
    }
}

TEST_F(PhoneDeviceTest, ABatchGoesToThePhoneAsOneList) {
    startPhone();
    const QList<OutgoingMessage> batch = {
        {"1000", "Line1\r\nLine2 ,~$^' & ;"}, {"1001", "b"}, {"1002", "Caf\u00e9"}};
    const auto outcomes = onWorker([&] { return device(Mode::Standard).sendBatch(batch, {}); });
    ASSERT_TRUE(outcomes);
    EXPECT_EQ(kinds(*outcomes), QList<Outcome>(3, Outcome::HandedToPhone));
    EXPECT_EQ(sentMessages(), (QStringList{"1000|Line1\nLine2 ,~$^' & ;|single-shot", "1001|b|single-shot",
                                           "1002|Caf\u00e9|single-shot"}));
    EXPECT_EQ(server->log().events("read").value(0).value("content").toString(),
              "1000,~$^'Line1S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/Line2 ,~$^' & "
              ";\r\n1001,~$^'b\r\n1002,~$^'Caf\u00e9\r\n");
    qint64 size = 0;
    EXPECT_FALSE(firstPhone().fileExists("/sdcard/ostrelsms.txt", size));
    EXPECT_FALSE(QFile::exists(home.folder.Created_Resource_Path() + "/ostrelsms.txt"));
}

TEST_F(PhoneDeviceTest, ABatchThePhoneCannotStoreGoesOneByOneOrNowhere) {
    for (const bool oneByOne : {true, false}) {
        startPhone(Fault::CopyFails);
        oneByOne ? op.answerYes() : op.answerNo();
        PhoneDevice classic = device(Mode::Classic);
        EXPECT_FALSE(onWorker([&] { return classic.sendBatch({{"1", "a"}}, {}); }));
        EXPECT_EQ(classic.mode(), oneByOne ? Mode::Standard : Mode::Classic);
        EXPECT_EQ(switches, oneByOne ? 1 : 0);
        EXPECT_EQ(stops, oneByOne ? 0 : 1);
        EXPECT_EQ(sentMessages(), QStringList());
        server->stop();
    }
}

TEST_F(PhoneDeviceTest, PrepareWithoutASinglePhoneSaysWhy) {
    const QList<std::tuple<int, QString, QStringList>> cases = {
        {0, kNoPhoneSelectedMessage, {"\n" + kNoPhoneSelectedMessage}},
        {2, kMoreThanOnePhoneMessage, {"\n" + kMoreThanOnePhoneMessage}},
    };
    for (const auto& [count, reason, alerts] : cases) {
        QList<sim::PhoneConfig> phones;
        for (int i = 0; i < count; ++i)
            phones << phone(QStringLiteral("VPHONE000%1").arg(i + 1));
        startPhones(phones);
        op.clearTranscript();
        PhoneDevice standard = device(Mode::Standard);
        EXPECT_EQ(onWorker([&] { return standard.prepare(false); }), reason);
        EXPECT_EQ(standard.notConnected(), !reason.isEmpty());
        EXPECT_EQ(op.alerts(), alerts);
        server->stop();
    }
}

TEST(PhoneStartOutput, LostPhoneBeforeMissingAppBeforeAFailedStart) {
    const QList<std::tuple<QString, Outcome, QString>> cases = {
        {"Starting: Intent { act=android.intent.category.MAIN cmp=com.OSTRELPROBULKSMS/.SMS }\n",
         Outcome::HandedToPhone, ""},
        {"adb: error: failed to get feature set: device 'R58M' not found\n", Outcome::NotHandedOver,
         "Device Connection Error!"},
        {"error: device offline\nError: Activity not started", Outcome::NotHandedOver,
         "Device Connection Error!"},
        {"Starting: Intent {}\nException occurred while executing 'start':\njava.lang.SecurityException: "
         "cannot start activity\n\tat com.android.server.am\n",
         Outcome::Refused, "java.lang.SecurityException: cannot start activity"},
        // adb itself could not be started: nothing reached the phone.
        {"", Outcome::NotHandedOver, "adb gave no answer: the message did not reach the phone."},
    };
    for (const auto& [output, outcome, reason] : cases) {
        const SendOutcome judged = judgeStartOutput(output);
        EXPECT_EQ(judged.outcome, outcome) << output.toStdString();
        EXPECT_EQ(judged.reason, reason);
    }
}

} // namespace
