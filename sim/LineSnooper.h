#pragma once
// Another program holding a modem's device (a terminal left open on it, a modem manager):
// it opens the device on a descriptor of its own and reads whatever arrives, as fast as it
// arrives, so that the modem's answers go to whichever reader gets there first.
#include <QString>

#include <atomic>
#include <functional>
#include <thread>

namespace sim {

class LineSnooper {
public:
    // Opens the device now; reads from the moment `begin` holds (at once without it).
    explicit LineSnooper(const QString& path, std::function<bool()> begin = {});
    ~LineSnooper(); // stops reading and closes the device
    LineSnooper(const LineSnooper&) = delete;
    LineSnooper& operator=(const LineSnooper&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    qint64 taken() const { return m_taken.load(); } // bytes read so far

private:
    void run(const std::stop_token& stop, const std::function<bool()>& begin);

    const int m_fd;
    std::atomic<qint64> m_taken{0};
    std::jthread m_thread;
};

} // namespace sim
