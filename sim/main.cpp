// bulksms-modem-sim: serves virtual GSM modems on pseudo-terminals until SIGINT or SIGTERM.
#include "SimOptions.h"
#include "VirtualModem.h"
#include "core/Log.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

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

// The link of the i-th of `count` modems.
QString linkOf(const QString& path, int i, int count) {
    return count > 1 ? QStringLiteral("%1-%2").arg(path).arg(i + 1) : path;
}

// Points `link` at `target`, replacing a link left by an earlier run in one step; anything
// else at that path is left alone.
bool makeLink(const QString& link, const QString& target) {
    const QByteArray to = QFile::encodeName(link);
    struct stat st {};
    if (::lstat(to.constData(), &st) == 0 && !S_ISLNK(st.st_mode)) {
        std::fprintf(stderr, "bulksms-modem-sim: %s exists and is no link\n", to.constData());
        return false;
    }
    const QByteArray temporary = to + ".new";
    ::unlink(temporary.constData());
    if (::symlink(QFile::encodeName(target).constData(), temporary.constData()) != 0 ||
        ::rename(temporary.constData(), to.constData()) != 0) {
        std::fprintf(stderr, "bulksms-modem-sim: cannot link %s: %s\n", to.constData(), std::strerror(errno));
        ::unlink(temporary.constData());
        return false;
    }
    return true;
}

// Removes `link` if it still points at `target` (another run may have taken the path over).
void removeLink(const QString& link, const QString& target) {
    if (QFileInfo(link).symLinkTarget() == QFileInfo(target).absoluteFilePath())
        ::unlink(QFile::encodeName(link).constData());
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
        modems.push_back(std::move(modem));
    }
    // The links before the paths are printed: whoever reads a path may count on its link.
    QStringList links; // made, in the order of the modems
    if (!options.linkPath.isEmpty()) {
        for (int i = 0; i < int(modems.size()); ++i) {
            const QString link = linkOf(options.linkPath, i, options.count);
            if (!makeLink(link, modems.at(i)->devicePath())) {
                for (int made = 0; made < int(links.size()); ++made)
                    removeLink(links.at(made), modems.at(made)->devicePath());
                return 1;
            }
            links << link;
        }
    }
    for (const auto& modem : modems)
        std::printf("%s\n", qPrintable(modem->devicePath()));
    std::fflush(stdout);

    int received = 0;
    sigwait(&stopSignals, &received);
    // The links first: nobody should open a path whose modem is going.
    for (int i = 0; i < int(links.size()); ++i)
        removeLink(links.at(i), modems.at(i)->devicePath());
    modems.clear(); // closes every line and logs unfinished messages
    return 0;
}
