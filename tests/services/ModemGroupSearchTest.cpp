// The search of modems with several ports each, against virtual modems on pseudo-terminals:
// which port stands for the modem, one row per module of a bank, and modems that never answer.
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemPortGroups.h"
#include "services/ModemSearch.h"

#include "TestEnvironment.h"
#include "VirtualModems.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {

using ModemPortGroups::Group;
using sim::ModemBehaviour;

const auto silent = [](ModemBehaviour& b) { b.silent = true; };

class ModemGroupSearch : public VirtualModemsTest {
protected:
    // Sixteen ports answer at once here: read time-outs with room for a loaded machine.
    ModemGroupSearch() : VirtualModemsTest(0.2) {}
    // One modem of the ports attached from `first` on, in that order.
    Group modem(const QString& slot, int first, int count) const {
        Group g;
        g.slot = slot;
        for (int i = first; i < first + count; ++i)
            g.ports << ModemPortGroups::Port{paths().at(i), i - first};
        return g;
    }
    int atCommands(int port) const { return int(modems.at(port)->commandLog().count("AT")); }
    bool askedFor(int port, const char* command) const {
        return modems.at(port)->commandLog().contains(command);
    }
};

TEST_F(ModemGroupSearch, TheAnsweringPortStandsForItsModemAndTheOthersAreLetGo) {
    // Diagnostics and GPS ports say nothing; the AT port answers; on the second modem the data
    // port answers too (and faster), yet the port tried first is the one kept.
    attach(identity("111111111111111"), silent);
    attach(identity("111111111111111"));
    attach(identity("111111111111111"), silent);
    attach(identity("222222222222222"), [](ModemBehaviour& b) { b.answerLatencyMs = 120; });
    attach(identity("222222222222222"), [](ModemBehaviour& b) { b.answerLatencyMs = 5; });
    std::mutex lock;
    RecordList mirror;
    int opened = 0;
    ModemSearch::Listener listener;
    listener.portOpened = [&] {
        std::lock_guard guard(lock);
        ++opened;
    };
    listener.inserted = [&](int row, const Record& r) { mirror.insert(row, r); };
    listener.described = [&](int row, const Record& r) { mirror.replace(row, r); };
    listener.removed = [&](int row) { mirror.removeAt(row); };

    const ModemSearch::Result found =
        ModemSearch::searchModems({modem("3-1", 0, 3), modem("3-2", 3, 2)}, {}, listener);
    ASSERT_EQ(found.modems.size(), 2);
    EXPECT_EQ(found.modems.at(0).value(kPortDetailKey), paths().at(1));
    EXPECT_EQ(found.modems.at(0).value(kSlotKey), "3-1");
    EXPECT_EQ(found.modems.at(0).value(kImeiKey), "111111111111111");
    EXPECT_EQ(found.modems.at(1).value(kPortDetailKey), paths().at(3));
    EXPECT_EQ(found.modems.at(1).value(kSlotKey), "3-2");
    EXPECT_TRUE(found.unanswered.isEmpty());
    EXPECT_EQ(mirror, found.modems);
    EXPECT_EQ(opened, 5);
    // Every port was asked; only the one kept was read for the SIM and the rest.
    for (int port = 0; port < 5; ++port) {
        SCOPED_TRACE(port);
        EXPECT_GE(atCommands(port), 1);
        EXPECT_EQ(askedFor(port, "AT+CCID"), port == 1 || port == 3);
    }
    EXPECT_TRUE(ModemSearch::detailsOf(found.modems.at(1)).endsWith("Slot : 3-2\r\n"));
}

TEST_F(ModemGroupSearch, AModemThatNeverAnswersIsOneRowSayingSoInItsPlace) {
    attach(identity("333333333333333"));
    attach(identity("444444444444444"), silent);
    attach(identity("444444444444444"), [](ModemBehaviour& b) { b.cmgsTestAnswersError = true; });
    attach(identity("555555555555555"));
    attach(identity("666666666666666"), [](ModemBehaviour& b) { b.cmgsTestAnswersError = true; });
    Group dead = modem("1-1.2", 1, 2);
    dead.manufacturer = "Quectel";
    dead.product = "EC25-AF";
    RecordList mirror;
    ModemSearch::Listener listener;
    listener.inserted = [&](int row, const Record& r) { mirror.insert(row, r); };
    listener.described = [&](int row, const Record& r) { mirror.replace(row, r); };
    // A lone port of no known slot that cannot send leaves no row, as before.
    Group lone = modem("", 4, 1);

    const ModemSearch::Result found =
        ModemSearch::searchModems({modem("1-1.1", 0, 1), dead, lone, modem("1-1.3", 3, 1)}, {}, listener);
    EXPECT_EQ(columnOf(found.modems, "PORT_DETAL"), (QStringList{paths().at(0), paths().at(3)}));
    ASSERT_EQ(found.unanswered.size(), 1);
    const Record& row = found.unanswered.at(0);
    EXPECT_EQ(row.value(kSlotKey), "1-1.2");
    EXPECT_EQ(row.value(kPortDetailKey), paths().at(1));
    EXPECT_EQ(row.value(kSmsCapableKey), "Not Detected");
    EXPECT_EQ(row.value(kModelKey), "EC25-AF");
    const QString status = row.value(kPortStatusKey);
    EXPECT_TRUE(status.contains(modems.at(1)->devicePath().mid(5)) && status.contains(paths().at(2).mid(5)))
        << status.toStdString();
    EXPECT_TRUE(ModemSearch::detailsOf(row).contains("Status : " + status));
    // The listener's rows: the modems and the silent one between them, in discovery order.
    EXPECT_EQ(columnOf(mirror, "PORT_DETAL"), (QStringList{paths().at(0), paths().at(1), paths().at(3)}));
    EXPECT_TRUE(found.alerts().isEmpty());
}

TEST_F(ModemGroupSearch, ABankGivesOneRowPerModuleWithItsSlotAndSim) {
    // Eight modules, each a silent diagnostics port and an AT port, named through the
    // environment as `bulksms devices` and the window see them.
    QStringList entries;
    QStringList bankSlots;
    for (int m = 0; m < 8; ++m) {
        attach(identity(QByteArray::number(860000000000000LL + m).constData()), silent);
        attach(identity(QByteArray::number(860000000000000LL + m).constData()));
        bankSlots << QStringLiteral("1-2.%1").arg(m + 1);
        entries << QStringLiteral("%1=%2,%3").arg(bankSlots.last(), paths().at(2 * m), paths().at(2 * m + 1));
    }
    qputenv("BULKSMS_EXTRA_MODEMS", entries.join(QLatin1Char(':')).toUtf8());
    const ModemSearch::Result found = ModemSearch::search(ModemDiscovery::extraModemPorts());
    qunsetenv("BULKSMS_EXTRA_MODEMS");
    ASSERT_EQ(found.modems.size(), 8);
    EXPECT_EQ(columnOf(found.modems, kSlotKey), bankSlots);
    QStringList iccids = columnOf(found.modems, kIccidKey);
    iccids.removeDuplicates();
    EXPECT_EQ(iccids.size(), 8);
    for (int m = 0; m < 8; ++m)
        EXPECT_EQ(found.modems.at(m).value(kPortDetailKey), paths().at(2 * m + 1));
}

} // namespace
