#include "Clock.h"

#include <QByteArray>
#include <QTimer>
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
constexpr std::chrono::milliseconds kEarlyPollInterval{2};
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

void after(Duration prescribed, QObject* context, std::function<void()> then, std::function<bool()> early) {
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(scaled(prescribed));
    if (!early) {
        QTimer::singleShot(wait, Qt::PreciseTimer, context, std::move(then));
        return;
    }
    // The poll belongs to the context: it goes when the context goes.
    auto* poll = new QTimer(context);
    const auto deadline = std::chrono::steady_clock::now() + wait;
    QObject::connect(poll, &QTimer::timeout, context,
                     [poll, deadline, then = std::move(then), early = std::move(early)] {
                         if (std::chrono::steady_clock::now() < deadline && !early())
                             return;
                         poll->stop();
                         poll->deleteLater();
                         then();
                     });
    poll->start(kEarlyPollInterval);
}

} // namespace Clock
