#pragma once
// The one place a failure thrown by a library (Qt containers, the standard library, an
// allocation) is caught: the operation logs where it failed and returns its neutral value
// instead of throwing to its caller. Use it only around code that can throw.
#include "Log.h"

#include <QString>

#include <exception>
#include <utility>

namespace Guard {

void logFailure(const char* where, const char* reason);

// Runs fn and returns its result; on a failure, logs "<where>: <reason>" and returns fallback.
template <typename F, typename R> R run(const char* where, F&& fn, R fallback) {
    try {
        return std::forward<F>(fn)();
    } catch (const std::exception& e) {
        logFailure(where, e.what());
    } catch (...) {
        logFailure(where, "unknown failure");
    }
    return fallback;
}

// Runs fn; on a failure, logs "<where>: <reason>". True when fn ran to its end.
template <typename F> bool run(const char* where, F&& fn) {
    try {
        std::forward<F>(fn)();
        return true;
    } catch (const std::exception& e) {
        logFailure(where, e.what());
    } catch (...) {
        logFailure(where, "unknown failure");
    }
    return false;
}

} // namespace Guard
