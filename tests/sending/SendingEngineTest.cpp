// The sending engine's own policy against scripted devices: what each outcome does to its item,
// to its device and to the run, what the store keeps for a resume, and what Stop, a hold and a
// record that cannot be kept hold back. Devices that must meet at a moment wait for each other
// (bounded by the shrunk clock), never for a length of time.
#include "ScriptedDevice.h"

#include "ScriptedOperator.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/TroubleshootingLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace {

using namespace std::chrono_literals;

const QString kRefusal = QStringLiteral("+CMS ERROR: 38");

SendOutcome answer(Outcome outcome, const QString& reason = {}) { return SendOutcome::of(outcome, reason); }
SendOutcome refuse(const OutgoingMessage&, const std::stop_token&) {
    return answer(Outcome::Refused, kRefusal);
}

QStringList numbers(int count, const QString& prefix = {}) {
    QStringList out;
    for (int i = 1; i <= count; ++i)
        out << prefix + QString::number(i);
    return out;
}

// Waits on a device's thread until `met` (or the run's Stop); bounded, so a fault fails the test.
void waitFor(const std::function<bool()>& met, const std::stop_token& stop = {}) {
    Clock::sleepUnless(600s, [&] { return met() || stop.stop_requested(); });
}

// One run as its window holds it: its pause countdown, and its signals as they reach this thread.
class EngineRun {
public:
    EngineRun(Operator& op, const QList<ScriptedDevice*>& devices, RunSettings settings = {})
        : run(std::move(settings), openersOf(devices), storedRunIn(DataFolder::fromEnvironment()), op, pause,
              {}) {
        QObject::connect(&run, &SendingRun::itemChanged, &run,
                         [this](int index, const SendingItem& item, bool counted) {
                             changes.append({index, item, counted});
                         });
        QObject::connect(&run, &SendingRun::deviceNote, &run,
                         [this](const QString& device, const QString& note) { notes.insert(device, note); });
        QObject::connect(&run, &SendingRun::devicesReleased, &run, [this] { ++released; });
    }
    void start(const QStringList& to) {
        QList<std::pair<QString, QString>> rows;
        for (const QString& number : to)
            rows.append({number, QStringLiteral("Hello ") + number.trimmed()});
        run.start(rows);
    }
    // Lets the run come to its end: every device let go, every thread ended, every signal seen.
    bool finish() {
        const bool ended = spinUntil([this] { return released > 0; }, 60s);
        run.join();
        QCoreApplication::processEvents();
        return ended;
    }
    QList<SendingItem> items() const { return run.record().all(); }
    QStringList column(QString SendingItem::*field) const {
        QStringList out;
        for (const SendingItem& item : items())
            out << item.*field;
        return out;
    }
    QStringList statuses() const { return column(&SendingItem::status); }

    struct Change {
        int index;
        SendingItem item;
        bool counted;
    };
    PauseCountdown pause{PauseCountdown::Variant::SendingJob, [](const QString&) {}};
    QList<Change> changes;
    QHash<QString, QString> notes; // the last note of each device
    int released = 0;
    SendingRun run; // last: it ends, and says what it still has to, before what it reports to goes

private:
    static QList<DeviceOpener> openersOf(const QList<ScriptedDevice*>& devices) {
        QList<DeviceOpener> openers;
        for (ScriptedDevice* device : devices)
            openers << device->opener();
        return openers;
    }
};

// What the store keeps of the run of the data folder that did not end, item by item ({} when
// there is none).
template <typename T> QList<T> recorded(T UnfinishedCampaign::Entry::*field) {
    QList<T> out;
    if (const std::optional<UnfinishedCampaign> left = recordedIn(DataFolder::fromEnvironment()))
        for (const UnfinishedCampaign::Entry& entry : left->entries)
            out << entry.*field;
    return out;
}

class SendingEngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(
            home.folder.Check_Path_And_Create_Files()); // the data folder, where the campaign store is
    }
    // The log's thread writes a run's last lines while the next test points the data paths elsewhere.
    void TearDown() override { flushTroubleshootingLog(); }
    TestDataHome home;
    ScriptedOperator op;
};

TEST_F(SendingEngineTest, EachItemEndsWithItsOutcomeAndTheStoreTellsAResumeWhoHasTheMessage) {
    ScriptedDevice device("dev-1");
    device.script = {answer(Outcome::Sent), answer(Outcome::HandedToPhone), answer(Outcome::SentToDevice),
                     answer(Outcome::NotSent, "Cannot be carried as asked"), answer(Outcome::Unknown)};
    EngineRun run(op, {&device});
    run.start(numbers(5));
    ASSERT_TRUE(run.finish());

    const QStringList statuses{kStatusSent, kStatusHandedToPhone, kStatusSentToDevice,
                               "Cannot be carried as asked", kStatusUnknown};
    EXPECT_EQ(run.statuses(), statuses);
    EXPECT_EQ(device.numbers(), numbers(5)); // each once (the unknown one too), in the list's order
    const std::thread::id worker = device.calls().value(0).thread;
    EXPECT_NE(worker, std::this_thread::get_id());
    for (const ScriptedDevice::Call& call : device.calls()) {
        EXPECT_EQ(call.thread, worker);
        EXPECT_EQ(call.text, "Hello " + call.number);
    }
    QList<int> counted(5, 0); // the window's progress adds these up
    for (const EngineRun::Change& change : run.changes)
        counted[change.index] += change.counted;
    EXPECT_EQ(counted, QList<int>(5, 1));
    for (const SendingItem& item : run.items())
        EXPECT_EQ(item.currentStatus, "Done (dev-1)");

    // Until its window ends the run, the store says who has the message.
    EXPECT_EQ(recorded(&UnfinishedCampaign::Entry::status), statuses);
    EXPECT_EQ(recorded(&UnfinishedCampaign::Entry::sent), (QList<bool>{true, true, true, false, false}));
    EXPECT_EQ(recorded(&UnfinishedCampaign::Entry::unknown), (QList<bool>{false, false, false, false, true}));
    run.run.endRecord();
    EXPECT_FALSE(unfinishedIn(home.folder));
}

TEST_F(SendingEngineTest, ARefusalIsRetriedAfterAGrowingPauseUntilTheRetriesRunOut) {
    for (const int retries : {0, 1, 2}) {
        SCOPED_TRACE(retries);
        ScriptedDevice device("dev-1");
        device.answer = refuse;
        RunSettings settings;
        settings.retries = retries;
        EngineRun run(op, {&device}, settings);
        run.start({"1"});
        ASSERT_TRUE(run.finish());
        EXPECT_EQ(device.numbers(), QStringList(retries + 1, "1"));
        EXPECT_EQ(run.statuses(), QStringList{kRefusal});
        EXPECT_EQ(run.items().value(0).attempts, retries + 1);
        const QList<ScriptedDevice::Call> calls = device.calls();
        for (qsizetype i = 1; i < calls.size(); ++i)
            EXPECT_GE(calls.at(i).at - calls.at(i - 1).at, Clock::scaled(SendingRun::kRetryPause * i));
    }
}

TEST_F(SendingEngineTest, ARefusalIsRetriedOnTheOtherDevice) {
    ScriptedDevice refusing("dev-1"), other("dev-2");
    refusing.answer = [&](const OutgoingMessage& message, const std::stop_token& stop) {
        // The refusal comes once the other device has sent its own message and looked for a
        // next one: it must still be in the run to take the retry.
        waitFor([&] { return !other.calls().isEmpty(); }, stop);
        Clock::sleepUnless(30s, [&] { return other.closed(); });
        return refuse(message, stop);
    };
    EngineRun run(op, {&refusing, &other});
    run.start(numbers(2));
    ASSERT_TRUE(run.finish());
    ASSERT_EQ(refusing.numbers().size(), 1);
    EXPECT_EQ(run.statuses(), QStringList(2, kStatusSent));
    for (const SendingItem& item : run.items()) {
        EXPECT_EQ(item.usePort, "dev-2");
        EXPECT_EQ(item.attempts, item.number == refusing.numbers().first() ? 2 : 1);
    }
}

TEST_F(SendingEngineTest, ADeviceThatRefusesThreeNumbersInARowLeavesTheRun) {
    const QString note = "Left the run after 3 refusals in a row (last: +CMS ERROR: 38).";
    { // alone and without retries, what it refused keeps its refusal
        ScriptedDevice refusing("dev-1");
        refusing.answer = refuse;
        RunSettings settings;
        settings.retries = 0;
        EngineRun run(op, {&refusing}, settings);
        run.start(numbers(5));
        ASSERT_TRUE(run.finish());
        EXPECT_EQ(refusing.numbers(), numbers(3));
        EXPECT_EQ(run.statuses(), (QStringList{kRefusal, kRefusal, kRefusal, kNoPortLeft, kNoPortLeft}));
        EXPECT_EQ(run.notes.value("dev-1"), note);
    }
    { // beside one that sends (once the refusing one has left), it hands that one all it refused
        ScriptedDevice refusing("dev-1"), other("dev-2");
        refusing.answer = refuse;
        other.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
            waitFor([&] { return refusing.closed(); }, stop);
            return answer(Outcome::Sent);
        };
        EngineRun run(op, {&refusing, &other});
        run.start(numbers(6));
        ASSERT_TRUE(run.finish());
        EXPECT_EQ(refusing.numbers().size(), 3);
        EXPECT_EQ(run.statuses(), QStringList(6, kStatusSent));
        for (const SendingItem& item : run.items())
            EXPECT_EQ(item.usePort, "dev-2");
        EXPECT_EQ(run.notes.value("dev-1"), note);
    }
}

// A device that fails with a message: whether the message costs an attempt or keeps an unknown
// fate, whether the device leaves, and where its other messages go.
struct FailureCase {
    const char* name;
    SendOutcome failure;
    bool stillAnswers;
    int devices;
    QString failedStatus; // of the message it failed with (its second)
    QString restStatus;   // of those after it; beside another device, those are sent
    QString note;         // "" when the device stays
};

void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.name; }

class SendingEngineFailureTest : public SendingEngineTest,
                                 public ::testing::WithParamInterface<FailureCase> {};

TEST_P(SendingEngineFailureTest, FailedMessageAndTheDevicesOthers) {
    const FailureCase& c = GetParam();
    ScriptedDevice failing("dev-1"), other("dev-2");
    failing.script = {answer(Outcome::Sent), c.failure};
    failing.stillAnswers = c.stillAnswers;
    other.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        waitFor([&] { return failing.calls().size() >= 2; }, stop);
        return answer(Outcome::Sent);
    };
    EngineRun run(op, c.devices == 1 ? QList{&failing} : QList{&failing, &other});
    run.start(numbers(4));
    ASSERT_TRUE(run.finish());

    ASSERT_GE(failing.calls().size(), 2);
    const QString failed = failing.numbers().at(1);
    const bool givenBack = c.failure.outcome == Outcome::NotHandedOver;
    const QList<SendingItem> items = run.items();
    for (qsizetype i = 0, failedAt = numbers(4).indexOf(failed); i < items.size(); ++i) {
        SCOPED_TRACE(items.at(i).number.toStdString());
        EXPECT_EQ(items.at(i).status, i == failedAt  ? c.failedStatus
                                      : i < failedAt ? kStatusSent
                                                     : c.restStatus);
        EXPECT_LE(items.at(i).attempts, 1); // never handed over, or handed over once
    }
    // Of unknown fate or failed on its line, a message is never sent again.
    EXPECT_EQ(failing.numbers().count(failed) + other.numbers().count(failed),
              givenBack && c.devices == 2 ? 2 : 1);
    EXPECT_EQ(run.notes.value("dev-1"), c.note);
}

const QString kStoppedAnswering = "Left the run: the device stopped answering (Device Connection Error!).";
const QString kFellSilent =
    "Left the run: the device fell silent after taking a message (marked \"Unknown (may have been sent)\").";
const SendOutcome kLineFailed = answer(Outcome::LineFailed, "+CME ERROR: 10");

INSTANTIATE_TEST_SUITE_P(
    Outcomes, SendingEngineFailureTest,
    ::testing::Values(FailureCase{"NotHandedOverAlone", answer(Outcome::NotHandedOver), true, 1, kNoPortLeft,
                                  kNoPortLeft, kStoppedAnswering},
                      FailureCase{"NotHandedOverBesideAnother", answer(Outcome::NotHandedOver), true, 2,
                                  kStatusSent, kStatusSent, kStoppedAnswering},
                      FailureCase{"UnknownStillAnswering", answer(Outcome::Unknown), true, 1, kStatusUnknown,
                                  kStatusSent, ""},
                      FailureCase{"UnknownFallenSilent", answer(Outcome::Unknown), false, 1, kStatusUnknown,
                                  kNoPortLeft, kFellSilent},
                      FailureCase{"UnknownFallenSilentBesideAnother", answer(Outcome::Unknown), false, 2,
                                  kStatusUnknown, kStatusSent, kFellSilent},
                      FailureCase{"LineFailedAlone", kLineFailed, true, 1, "+CME ERROR: 10", kNoPortLeft,
                                  "Left the run: +CME ERROR: 10"},
                      FailureCase{"LineFailedBesideAnother", kLineFailed, true, 2, "+CME ERROR: 10",
                                  kStatusSent, "Left the run: +CME ERROR: 10"}),
    [](const ::testing::TestParamInfo<FailureCase>& info) { return std::string(info.param.name); });

TEST_F(SendingEngineTest, StopHandsNothingMoreToAnyDeviceAndEndsTheWaitingItems) {
    ScriptedDevice first("dev-1"), second("dev-2");
    EngineRun run(op, {&first, &second});
    first.script = {answer(Outcome::Sent)};
    first.answer = [&](const OutgoingMessage&, const std::stop_token&) {
        waitFor([&] { return !second.calls().isEmpty(); }); // Stop comes while both have one in hand
        run.run.stop();
        return answer(Outcome::Sent);
    };
    second.answer = [](const OutgoingMessage&, const std::stop_token& stop) {
        waitFor([] { return false; }, stop);
        return answer(Outcome::Sent);
    };
    run.start(numbers(8));
    ASSERT_TRUE(run.finish());
    EXPECT_EQ(first.calls().size(), 2);
    EXPECT_EQ(second.calls().size(), 1);
    for (const ScriptedDevice* device : {&first, &second})
        for (const ScriptedDevice::Call& call : device->calls())
            EXPECT_FALSE(call.afterStop) << call.number.toStdString();
    const QStringList handed = first.numbers() + second.numbers();
    for (const SendingItem& item : run.items()) // what was in hand when Stop came keeps its answer
        EXPECT_EQ(item.status, handed.contains(item.number) ? kStatusSent : kStopped);
    EXPECT_EQ(run.released, 1);
}

TEST_F(SendingEngineTest, WhileHeldNoDeviceTakesAMessage) {
    ScriptedDevice first("dev-1"), second("dev-2");
    EngineRun run(op, {&first, &second});
    run.run.hold(true); // as while the operator is asked whether to stop
    run.start(numbers(4));
    ASSERT_TRUE(spinUntil([&] { return first.prepared() > 0 && second.prepared() > 0; }));
    Clock::sleep(20s); // four hundred turns of the hold's wait
    EXPECT_TRUE(first.calls().isEmpty());
    EXPECT_TRUE(second.calls().isEmpty());
    run.run.hold(false);
    ASSERT_TRUE(run.finish());
    EXPECT_EQ(run.statuses(), QStringList(4, kStatusSent));
}

// The store's write-ahead file writes to /dev/full while it is filled: its next commit meets a
// full disk. Reads still find what was kept, as they do on a real full disk, once it is emptied.
class FullWal {
public:
    ~FullWal() { empty(); }
    bool fill() {
        const QByteArray wal = QFile::encodeName(
            QFileInfo(CampaignStore::path(DataFolder::fromEnvironment()) + "-wal").canonicalFilePath());
        const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        for (int fd = 3; fd < 1024 && full >= 0 && m_fd < 0; ++fd) {
            char target[4096];
            const ssize_t length =
                ::readlink(("/proc/self/fd/" + QByteArray::number(fd)).constData(), target, sizeof target);
            if (fd != full && length > 0 && QByteArray(target, length) == wal) {
                m_saved = ::dup(fd);
                if (::dup2(full, fd) == fd)
                    m_fd = fd;
            }
        }
        if (full >= 0)
            ::close(full);
        return m_fd >= 0;
    }
    void empty() {
        if (m_fd >= 0)
            ::dup2(m_saved, m_fd);
        if (m_saved >= 0)
            ::close(m_saved);
        m_fd = m_saved = -1;
    }

private:
    int m_fd = -1, m_saved = -1;
};

TEST_F(SendingEngineTest, ARecordThatCannotBeKeptStopsEveryHandOver) {
    struct Case {
        const char* name;
        bool fromTheStart; // else the disk fills while the second message is handed over
        int handed;
    };
    for (const Case& c : {Case{"full disk", false, 2}, Case{"folder in the store's place", true, 0}}) {
        SCOPED_TRACE(c.name);
        if (c.fromTheStart) {
            for (const char* file : {"", "-wal", "-shm"}) // left by the run before
                QFile::remove(CampaignStore::path(home.folder) + file);
            ASSERT_TRUE(QDir().mkpath(CampaignStore::path(home.folder) + "/in-the-way"));
        }
        ScriptedDevice device("dev-1");
        FullWal disk;
        bool filled = false;
        device.answer = [&](const OutgoingMessage& message, const std::stop_token&) {
            if (message.number == "2")
                filled = disk.fill();
            return answer(Outcome::Sent);
        };
        EngineRun run(op, {&device});
        run.start(numbers(5));
        ASSERT_TRUE(run.finish());
        EXPECT_EQ(device.numbers(), numbers(c.handed));
        EXPECT_TRUE(run.run.dataFailure().contains("Campaigns.db")) << run.run.dataFailure().toStdString();
        for (const SendingItem& item : run.items())
            EXPECT_EQ(item.status,
                      device.numbers().contains(item.number) ? kStatusSent : kNotSentDataFailure);
        run.run.endRecord(); // what is on the disk stays, for the next start to offer
        if (c.fromTheStart) {
            QDir(CampaignStore::path(home.folder)).removeRecursively();
            continue;
        }
        EXPECT_TRUE(filled);
        disk.empty();
        EXPECT_TRUE(run.run.dataFailure().contains("full")) << run.run.dataFailure().toStdString();
        // The second message's outcome never reached the disk: it may have gone.
        EXPECT_EQ(recorded(&UnfinishedCampaign::Entry::status),
                  (QStringList{kStatusSent, kStatusUnknown, "", "", ""}));
    }
}

TEST_F(SendingEngineTest, ABatchDeviceTakesTheWholeRunAtOnceOrOneAtATime) {
    struct Case {
        const char* name;
        std::optional<QList<SendOutcome>> outcomes;
        QStringList statuses, oneByOne;
    };
    const QList<Case> cases{
        {"in one go",
         QList{answer(Outcome::Sent), answer(Outcome::HandedToPhone), answer(Outcome::NotSent, "Too long")},
         {kStatusSent, kStatusHandedToPhone, "Too long"},
         {}},
        {"one at a time after all", std::nullopt, QStringList(3, kStatusSent), numbers(3)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedDevice phone("phone-1");
        phone.batch = [&](const QList<OutgoingMessage>&) { return c.outcomes; };
        RunSettings settings;
        settings.batch = true;
        EngineRun run(op, {&phone}, settings);
        run.start(numbers(3));
        ASSERT_TRUE(run.finish());
        EXPECT_EQ(phone.batches(), QList<QStringList>{numbers(3)});
        EXPECT_EQ(phone.numbers(), c.oneByOne);
        EXPECT_EQ(run.statuses(), c.statuses);
        for (const SendingItem& item : run.items())
            EXPECT_EQ(item.attempts, 1); // a batch not taken costs nothing
    }
}

TEST_F(SendingEngineTest, ExcludedAndRepeatedNumbersAreFinishedAtLoadingAndNeverHandedOver) {
    ScriptedDevice device("dev-1");
    RunSettings settings;
    settings.exclusion = true;
    settings.excludedNumbers = {"3"};
    settings.skipDuplicates = true;
    EngineRun run(op, {&device}, settings);
    run.start({"1", "2", " 1", " 3 ", "", "4"});
    ASSERT_TRUE(run.finish());
    EXPECT_EQ(device.numbers(), (QStringList{"1", "2", "4"}));
    EXPECT_EQ(run.statuses(), (QStringList{kStatusSent, kStatusSent, kSkipped, kExcluded, kStatusSent}));
}

TEST_F(SendingEngineTest, DeliveryIsPendingUntilItsReportAndSaysSoWhenNoneCame) {
    ScriptedDevice device("dev-1");
    device.reportsDelivery = true;
    device.reportStatus = {{"1", 0x00}, {"2", 0x46}}; // the network loses the report of "3"
    RunSettings settings;
    settings.deliveryReports = true;
    EngineRun run(op, {&device}, settings);
    run.start(numbers(3));
    ASSERT_TRUE(run.finish());
    const QStringList delivery{"Delivered", "Not delivered (validity period expired)", kNoReport};
    QStringList last(3); // as the window shows each item at the end
    for (const EngineRun::Change& change : run.changes) {
        if (change.counted) {
            EXPECT_EQ(change.item.delivery, kDeliveryPending) << change.index;
        }
        last[change.index] = change.item.delivery;
    }
    EXPECT_EQ(last, delivery);
    EXPECT_EQ(run.column(&SendingItem::delivery), delivery);
    EXPECT_EQ(recorded(&UnfinishedCampaign::Entry::delivery), delivery);

    ScriptedDevice mute("dev-2"); // asked for reports, it cannot hand them over: it sends without
    EngineRun other(op, {&mute}, settings);
    other.start({"1"});
    ASSERT_TRUE(other.finish());
    EXPECT_EQ(other.statuses(), QStringList{kStatusSent});
    EXPECT_EQ(other.items().value(0).delivery, "");
    EXPECT_EQ(other.notes.value("dev-2"), "No delivery reports here.");
}

TEST_F(SendingEngineTest, TwoRunsAtOnceKeepTheirItemsAndTheirStopsApart) {
    ScriptedDevice a("dev-a"), b("dev-b");
    EngineRun first(op, {&a}), second(op, {&b});
    a.script = {answer(Outcome::Sent)};
    a.answer = [&](const OutgoingMessage&, const std::stop_token&) {
        waitFor([&] { return !b.calls().isEmpty(); }); // both runs are sending
        first.run.stop();
        return answer(Outcome::Sent);
    };
    b.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        waitFor([&] { return a.closed(); }, stop); // goes on after the first run's Stop
        return answer(Outcome::Sent);
    };
    first.start(numbers(5, "a"));
    second.start(numbers(5, "b"));
    ASSERT_TRUE(first.finish());
    ASSERT_TRUE(second.finish());
    EXPECT_EQ(a.numbers(), numbers(2, "a"));
    EXPECT_EQ(b.numbers(), numbers(5, "b"));
    EXPECT_EQ(first.statuses(), (QStringList{kStatusSent, kStatusSent, kStopped, kStopped, kStopped}));
    EXPECT_EQ(second.statuses(), QStringList(5, kStatusSent));
    for (const auto& [run, prefix] : {std::pair{&first, "a"}, std::pair{&second, "b"}}) {
        EXPECT_EQ(run->released, 1);
        for (const EngineRun::Change& change : run->changes)
            EXPECT_TRUE(change.item.number.startsWith(prefix)) << change.item.number.toStdString();
    }
}

TEST_F(SendingEngineTest, APauseInOneRunDoesNotHoldUpAnother) {
    // Each run's pause is its own: another run's devices go on meanwhile.
    ScriptedDevice a("dev-a"), b("dev-b");
    RunSettings pausing;
    pausing.schedule = {true, 1, "M", 100000, false}; // after every message, a pause without end
    EngineRun first(op, {&a}, pausing), second(op, {&b});
    first.start(numbers(3, "a"));
    ASSERT_TRUE(spinUntil([&] { return first.pause.Pause_Timer_Running.load(); }));
    second.start(numbers(3, "b"));
    EXPECT_TRUE(spinUntil([&] { return second.released > 0; }));
    EXPECT_EQ(second.statuses(), QStringList(3, kStatusSent));
    EXPECT_EQ(a.numbers(), numbers(1, "a"));
    first.run.stop();
    ASSERT_TRUE(first.finish());
}

TEST_F(SendingEngineTest, TwoRunsKeepTheirOwnRecords) {
    // A GSM run and an Android run at once: the end of one never removes the other's record.
    ScriptedDevice a("dev-a"), b("dev-b");
    RunSettings throughAPhone;
    throughAPhone.road = kAndroidRoad;
    EngineRun first(op, {&a}), second(op, {&b}, throughAPhone);
    first.start(numbers(2, "a"));
    second.start(numbers(2, "b"));
    ASSERT_TRUE(first.finish());
    ASSERT_TRUE(second.finish());
    first.run.endRecord();
    EXPECT_FALSE(unfinishedIn(home.folder));
    const std::optional<UnfinishedCampaign> phones = recordedIn(home.folder, kAndroidRoad);
    ASSERT_TRUE(phones); // the second did not end
    EXPECT_EQ(phones->total(), 2);
    second.run.endRecord();
    EXPECT_FALSE(unfinishedIn(home.folder, kAndroidRoad));
}

} // namespace
