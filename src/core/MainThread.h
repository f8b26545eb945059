#pragma once
// Hand-off of work to the thread that owns the QCoreApplication (the main thread).
// Without an application object (plain unit tests) the work runs on the calling thread.
#include <functional>
#include <optional>
#include <type_traits>

namespace MainThread {

bool isCurrent();

// Queues fn on the main thread and returns at once.
void post(std::function<void()> fn);

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
