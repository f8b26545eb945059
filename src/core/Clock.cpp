#include "Clock.h"

#include <QByteArray>
#include <QtGlobal>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace Clock {
namespace {
double scaleFromEnvironment() {
    const QByteArray value = qgetenv("BULKSMS_CLOCK_SCALE");
    bool ok = false;
    const double parsed = value.toDouble(&ok);
    return ok && parsed > 0 ? parsed : 1.0;
}

double slowdownFromEnvironment() {
    bool ok = false;
    const double parsed = qgetenv("BULKSMS_CLOCK_SLOWDOWN").toDouble(&ok);
    return ok && parsed >= 1 ? parsed : 1.0;
}

std::atomic<double>& currentScale() {
    static std::atomic<double> value{scaleFromEnvironment()};
    return value;
}

constexpr std::chrono::microseconds kStopPollInterval{2000};
} // namespace

double scale() {
    static const double slowdown = slowdownFromEnvironment();
    return qMin(1.0, currentScale().load() * slowdown);
}

void setScale(double s) {
    if (s > 0)
        currentScale().store(s);
}

std::chrono::microseconds scaled(Duration prescribed) {
    const double micros = static_cast<double>(prescribed.count()) * 1000.0 * scale();
    return std::chrono::microseconds(static_cast<long long>(micros));
}

void sleep(Duration prescribed) { std::this_thread::sleep_for(scaled(prescribed)); }

bool sleepUnless(Duration prescribed, const std::function<bool()>& stop) {
    const auto deadline = std::chrono::steady_clock::now() + scaled(prescribed);
    while (true) {
        if (stop && stop())
            return false;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            return true;
        std::this_thread::sleep_for(
            std::min<std::chrono::steady_clock::duration>(deadline - now, kStopPollInterval));
    }
}

} // namespace Clock
