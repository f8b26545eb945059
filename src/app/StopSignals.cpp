#include "StopSignals.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace StopSignals {
namespace {

// A signal handler reaches nothing but process-wide state: the count of signals received.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
std::atomic<int> g_signals{0};

void onSignal(int signal) {
    if (g_signals.fetch_add(1) > 0)
        ::_exit(128 + signal);
}

} // namespace

void install(std::function<bool()> stop) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // Owned by the application object: it lives as long as the process, since the run may end any time.
    auto* poll = new QTimer(QCoreApplication::instance());
    QObject::connect(poll, &QTimer::timeout, poll, [stop = std::move(stop), poll] {
        if (g_signals.load() > 0 && stop())
            poll->stop();
    });
    poll->start(50);
}

} // namespace StopSignals
