// The phone services the search window and the command line share: the typed outcome of a
// search, the phone it chooses by the serial adb knows, and the listing of every phone.
#include "services/PhoneSearch.h"
#include "PhoneFixture.h"
#include "device/DeviceRecord.h"
#include "services/PhoneList.h"

namespace {

using PhoneSearchTest = PhoneFixture;
using Outcome = PhoneSearch::Outcome;

TEST_F(PhoneSearchTest, EachAttachmentEndsInItsOutcome) {
    const QList<QPair<QStringList, Outcome>> cases = {
        {{}, Outcome::NoDevice},          {{"unauthorized"}, Outcome::Unauthorized},
        {{"offline"}, Outcome::Failed},   {{"device", "device"}, Outcome::More},
        {{"device"}, Outcome::Connected},
    };
    for (const auto& [states, expected] : cases) {
        SCOPED_TRACE(states.join(',').toStdString());
        QList<sim::PhoneConfig> phones;
        for (const QString& state : states) {
            phones << phone(phones.isEmpty() ? "emulator-5554" : "R58B");
            phones.last().state = state;
        }
        startPhones(phones);
        PhoneSearch search(op, home.folder, PhoneQuery{});
        EXPECT_EQ(onWorker([&] { return search.searchOnce(); }), expected);
        EXPECT_EQ(PhoneSearch::problemOf(expected).has_value(),
                  expected == Outcome::NoDevice || expected == Outcome::Unauthorized);
        if (expected == Outcome::Connected) {
            EXPECT_EQ(onWorker([&] { return search.recheck(); }), Outcome::Connected);
            const QString serial = onWorker([&] { return search.attachedSerial(); });
            const ChosenPhone chosen = chosenPhone(search.rows(), search.deviceLine(), serial);
            EXPECT_EQ(chosen.serial, "emulator-5554"); // as adb names it: the device line is upper-cased
            EXPECT_EQ(chosen.caption, "VIRTUAL PHONE 5G");
            EXPECT_TRUE(chosen.details.startsWith("Model Details:\n"));
        }
        server->stop();
    }
}

TEST_F(PhoneSearchTest, ListingReadsEachReadyPhoneAndLeavesAdbWhereItWas) {
    sim::PhoneConfig locked = phone("R58LOCK");
    locked.state = "unauthorized";
    startPhones({phone("R58AAAA"), locked, phone("R58CCCC")});
    qputenv("ANDROID_SERIAL", "R58LOCK"); // as a command pointed it before
    const QList<ListedPhone> phones = onWorker([this] { return listPhones(home.folder, {}); });
    QStringList seen;
    for (const ListedPhone& p : phones)
        seen << p.serial + " " + p.state + " " +
                    p.properties.value(p.properties.size() - 1).value(kPortDetailKey);
    EXPECT_EQ(seen,
              (QStringList{"R58AAAA device R58AAAA", "R58LOCK unauthorized ", "R58CCCC device R58CCCC"}));
    EXPECT_EQ(qgetenv("ANDROID_SERIAL"), "R58LOCK");
    qunsetenv("ANDROID_SERIAL");
}

} // namespace
