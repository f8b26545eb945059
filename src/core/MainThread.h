#pragma once
// Hand-off of work to the thread that owns the QCoreApplication (the main thread).
// Without an application object (plain unit tests) the work runs on the calling thread.
//
// The hand-offs wait in a queue of our own. A main thread that waits for a worker (a join)
// runs that queue and nothing else: no input, no timers, no other Qt events are handled inside
// a wait, so a wait never re-enters the windows, yet a worker that hands something over
// (invokeAndWait: a change, a question to the operator) before it ends cannot deadlock it.
#include <functional>
#include <optional>
#include <type_traits>

namespace MainThread {

bool isCurrent();

// Queues fn on the main thread and returns at once.
void post(std::function<void()> fn);

// Waits until done() holds. On the main thread it runs the queued hand-offs meanwhile, and
// once done() holds, those still queued: what a worker handed over before it ended has run when
// a join returns. done() is looked at again after each hand-off and after wakeWaiters(); it
// must not post.
void waitUntil(const std::function<bool()>& done);
// Call after changing what a waitUntil's done() reads, from any thread.
void wakeWaiters();

// Runs fn on the main thread and waits for it; from the main thread it runs directly.
void invokeAndWaitVoid(const std::function<void()>& fn);

template <typename F> auto invokeAndWait(F&& fn) -> std::invoke_result_t<F> {
    using R = std::invoke_result_t<F>;
    if constexpr (std::is_void_v<R>) {
        invokeAndWaitVoid(std::forward<F>(fn));
    } else {
        std::optional<R> result;
        invokeAndWaitVoid([&] { result.emplace(fn()); });
        return std::move(*result);
    }
}

} // namespace MainThread
