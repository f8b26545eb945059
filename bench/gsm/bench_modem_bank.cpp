// The device search of a 32-module modem bank: each module a silent diagnostics port and an AT
// port answering with a real module's latency (30 to 80 ms a command), on the real clock.
// Prints the time to the full list beside the goal (all modules listed within 3 s).
#include "core/Clock.h"
#include "core/Log.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemPortGroups.h"
#include "services/ModemSearch.h"
#include "sim/VirtualModem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <vector>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    setLogToStandardError(qEnvironmentVariableIsSet("BENCH_VERBOSE"));
    Clock::setScale(1.0); // every prescribed wait lasts its time
    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(home.path()));
    const int moduleCount = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 32;

    std::vector<std::unique_ptr<sim::VirtualModem>> ports;
    QList<ModemPortGroups::Group> bank;
    for (int m = 0; m < moduleCount; ++m) {
        sim::ModemIdentity id;
        id.imei = QString::number(359000000000000LL + m);
        ModemPortGroups::Group module;
        module.slot = QStringLiteral("1-%1.%2").arg(m / 8 + 1).arg(m % 8 + 1);
        for (const bool answers : {false, true}) {
            sim::ModemBehaviour b;
            b.silent = !answers;
            b.networkDelayMs = 0;
            b.answerLatencyMs = 30 + (m * 17) % 51; // 30 to 80 ms, spread over the bank
            ports.push_back(std::make_unique<sim::VirtualModem>(id, b));
            if (!ports.back()->start()) {
                std::printf("could not start virtual modem %d\n", m);
                return 1;
            }
            module.ports << ModemPortGroups::Port{ports.back()->devicePath(), answers ? 2 : 0};
        }
        // The AT interface first, as a known module's table puts it.
        std::swap(module.ports[0], module.ports[1]);
        bank << module;
    }

    QElapsedTimer timer;
    timer.start();
    const ModemSearch::Result found = ModemSearch::searchModems(bank);
    const double seconds = timer.nsecsElapsed() / 1e9;
    bool slotsRight = found.modems.size() == moduleCount;
    for (int m = 0; slotsRight && m < moduleCount; ++m)
        slotsRight = found.modems.at(m).value(kSlotKey) == bank.at(m).slot;
    std::printf("Device search of a %d-module bank (%d ports, half of them silent):\n", moduleCount,
                int(ports.size()));
    std::printf("  %lld of %d modules listed%s in %6.2f s   goal all within 3.0 s: %s\n",
                static_cast<long long>(found.modems.size()), moduleCount, slotsRight ? ", slots right," : "",
                seconds,
                found.modems.size() == moduleCount && slotsRight && seconds <= 3.0 ? "met" : "MISSED");
    std::fflush(stdout);
    return 0;
}
