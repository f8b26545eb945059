// The modem search and the checks before a run, against virtual modems on pseudo-terminals.
#include "services/ModemCheck.h"
#include "services/ModemSearch.h"

#include "TestEnvironment.h"
#include "VirtualModems.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {

using sim::ModemBehaviour;
using sim::VirtualModem;

using ModemServices = VirtualModemsTest;

TEST_F(ModemServices, TwoPortsOfOneModemGiveOneRowAndAListenerKeepsTheSameRows) {
    // The modem's first port answers slowly: its second port is claimed first, then gives way.
    attach(identity("333333333333333"), [](ModemBehaviour& b) { b.answerLatencyMs = 150; });
    attach(identity("333333333333333"));
    attach(identity("444444444444444"),
           [](ModemBehaviour& b) { b.cmgsTestAnswersError = true; }); // cannot send
    attach(identity("555555555555555"));
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

    const ModemSearch::Result found = ModemSearch::search(paths(), {}, listener);
    EXPECT_EQ(columnOf(found.modems, "PORT_DETAL"), (QStringList{paths().at(0), paths().at(3)}));
    EXPECT_EQ(mirror, found.modems);
    EXPECT_EQ(found.modems.at(0).value("Model"), "VM-100");
    EXPECT_EQ(opened, 4);
    EXPECT_TRUE(found.alerts().isEmpty());
}

TEST_F(ModemServices, AStopEndsAfterTheFirstPortAndNothingToProbeIsSaid) {
    attach(identity("777777777777777"));
    attach(identity("888888888888888"));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(columnOf(ModemSearch::search(paths(), stop.get_token()).modems, "PORT_DETAL"),
              QStringList{paths().at(0)});
    EXPECT_EQ(ModemSearch::search({}).alerts(), QStringList{"GSM device not found."});
}

TEST_F(ModemServices, AChosenModemIsCheckedInOrderAndOnlyAWorkingOneIsReadied) {
    VirtualModem& modem = attach(identity("666666666666666"));
    const Record found = ModemSearch::search(paths()).modems.value(0);
    ASSERT_FALSE(found.isEmpty());
    using ModemCheck::Problem;
    struct Row {
        const char* name;
        Record changes;
        bool silent;
        Problem problem;
        bool notSmsCapable;
    };
    const Row rows[] = {
        {"ready", {}, false, Problem::None, false},
        {"no service centre", {{"DefSMSC", ""}}, false, Problem::NoServiceCentre, false},
        {"no mode", {{"SMSMode", "NONE"}}, true, Problem::NoMode, false},
        {"silent", {{"UseCusSMSC", "Y"}, {"CusSMSC", ""}}, true, Problem::NotWorking, false},
        {"custom centre missing",
         {{"UseCusSMSC", "Y"}, {"CusSMSC", ""}},
         false,
         Problem::NoCustomServiceCentre,
         false},
        {"cannot send", {{"SMS_CAPABLE", "Not Detected"}}, false, Problem::None, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Record record = found;
        for (auto it = row.changes.cbegin(); it != row.changes.cend(); ++it)
            record.insert(it.key(), it.value());
        ModemBehaviour b;
        b.networkDelayMs = 0;
        b.silent = row.silent;
        modem.setBehaviour(b);
        const qsizetype readied = modem.commandLog().count("AT+CMMS=2");
        const ModemCheck::Verdict verdict = ModemCheck::forRun(record);
        EXPECT_EQ(verdict.problem, row.problem);
        EXPECT_EQ(verdict.notSmsCapable, row.notSmsCapable);
        EXPECT_EQ(modem.commandLog().count("AT+CMMS=2") - readied, row.problem == Problem::None ? 1 : 0);
        EXPECT_EQ(ModemCheck::answers(modem.devicePath()), !row.silent);
    }
}

} // namespace
