// bulksms-modem-sim: serves virtual GSM modems on pseudo-terminals until SIGINT or SIGTERM.
#include "SimOptions.h"
#include "VirtualModem.h"
#include "core/Log.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

#include <pthread.h>

namespace {

// The number with i added to its last two digits (a padding "F" after them kept), as the
// n-th of several modems has it; a number too short to vary stays as it is.
QString withLastDigitsPlus(const QString& number, int i) {
    const bool padded = number.endsWith(QLatin1Char('F'));
    const QString digits = padded ? number.chopped(1) : number;
    if (digits.size() < 2)
        return number;
    return digits.left(digits.size() - 2) +
           QStringLiteral("%1").arg((digits.right(2).toInt() + i) % 100, 2, 10, QLatin1Char('0')) +
           (padded ? QStringLiteral("F") : QString());
}

} // namespace

int main(int argc, char** argv) {
    // Block the stop signals before any modem thread exists, so that every thread inherits
    // the mask and the main thread alone takes them with sigwait.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    QCoreApplication app(argc, argv);
    // The virtual modem's own failures (no pseudo-terminal, a log it cannot append to) are for
    // whoever started it; it has no troubleshooting log.
    setLogToStandardError(true);
    const sim::SimOptions options = sim::SimOptionsParser::parse(QCoreApplication::arguments());
    if (options.help) {
        std::fputs(qPrintable(sim::SimOptionsParser::usage()), stdout);
        return 0;
    }
    if (!options.error.isEmpty()) {
        std::fprintf(stderr, "bulksms-modem-sim: %s\n", qPrintable(options.error));
        return 2;
    }

    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
    for (int i = 0; i < options.count; ++i) {
        sim::ModemIdentity identity = options.identity;
        if (options.count > 1) { // modems of one run differ by IMEI, and so by SIM
            identity.imei = withLastDigitsPlus(identity.imei, i);
            identity.iccid = withLastDigitsPlus(identity.iccid, i);
        }
        auto modem = std::make_unique<sim::VirtualModem>(identity, options.behaviour, options.logPath);
        if (!options.incomingPath.isEmpty())
            modem->followIncoming(options.incomingPath);
        if (!modem->start()) {
            std::fprintf(stderr, "bulksms-modem-sim: cannot open a pseudo-terminal\n");
            return 1;
        }
        std::printf("%s\n", qPrintable(modem->devicePath()));
        modems.push_back(std::move(modem));
    }
    std::fflush(stdout);

    int received = 0;
    sigwait(&stopSignals, &received);
    modems.clear(); // closes every line and logs unfinished messages
    return 0;
}
