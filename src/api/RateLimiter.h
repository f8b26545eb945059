#pragma once
// Requests a second per token: a bucket that holds a second's worth and refills steadily, so a
// client may burst up to the limit and then goes at its pace. Safe from any thread.
#include <QHash>

#include <chrono>
#include <mutex>

class RateLimiter {
public:
    explicit RateLimiter(int perSecond) : m_perSecond(perSecond) {}
    int perSecond() const { return m_perSecond; }

    // 0 when the request may go now (and it is counted); else the whole seconds to wait.
    int take(qint64 token);

private:
    struct Bucket {
        double left = 0;
        std::chrono::steady_clock::time_point at;
    };
    const int m_perSecond;
    std::mutex m_mutex;
    QHash<qint64, Bucket> m_buckets;
};
