#pragma once
// The one clock behind every wait the system prescribes (rests, answer waits, pauses,
// time-outs). The durations in the code stay as stated; the scale shrinks them all at once
// (BULKSMS_CLOCK_SCALE=0.01 makes each wait last 1% of its time), so tests and end-to-end
// runs are fast without skipping a single tick.
#include <chrono>
#include <functional>

class QObject;

namespace Clock {

using Duration = std::chrono::milliseconds;

// The scale in force: the one set (or BULKSMS_CLOCK_SCALE) times BULKSMS_CLOCK_SLOWDOWN, a
// factor for slow builds (sanitizers) that stretches every shrunk wait alike.
double scale();
void setScale(double scale);

// The real time a prescribed duration lasts under the current scale.
std::chrono::microseconds scaled(Duration prescribed);

void sleep(Duration prescribed);

// Sleeps, waking early when stop() turns true. Returns false when woken by stop().
bool sleepUnless(Duration prescribed, const std::function<bool()>& stop);

// Runs then on context's thread once the prescribed duration has passed, or sooner once
// early() holds (looked at every few milliseconds); never when context is gone first. It returns
// at once: a rest before a window opens is a continuation, the main thread is never blocked.
void after(Duration prescribed, QObject* context, std::function<void()> then,
           std::function<bool()> early = {});

} // namespace Clock
