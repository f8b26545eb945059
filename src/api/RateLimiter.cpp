#include "RateLimiter.h"

#include <cmath>

int RateLimiter::take(qint64 token) {
    if (m_perSecond <= 0)
        return 0;
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(m_mutex);
    auto found = m_buckets.find(token);
    if (found == m_buckets.end())
        found = m_buckets.insert(token, Bucket{double(m_perSecond), now});
    Bucket& b = *found;
    const double elapsed = std::chrono::duration<double>(now - b.at).count();
    b.left = std::min(double(m_perSecond), b.left + elapsed * m_perSecond);
    b.at = now;
    if (b.left >= 1) {
        b.left -= 1;
        return 0;
    }
    return std::max(1, int(std::ceil((1 - b.left) / m_perSecond)));
}
