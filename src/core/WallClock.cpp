#include "WallClock.h"

#include "Clock.h"

#include <QFile>
#include <QTimeZone>

#include <chrono>
#include <memory>
#include <mutex>

namespace Clock {
namespace {

QDateTime parsedTime(const QByteArray& text) {
    QDateTime time = QDateTime::fromString(QString::fromUtf8(text.trimmed()), Qt::ISODateWithMs);
    return time.isValid() ? time.toUTC() : QDateTime();
}

// A faked time: where it was set, and when (real, steady time) it was set there.
class FakeNow {
public:
    FakeNow()
        : m_file(QString::fromLocal8Bit(qgetenv("BULKSMS_FAKE_NOW_FILE"))),
          m_active(!m_file.isEmpty() || qEnvironmentVariableIsSet("BULKSMS_FAKE_NOW")) {
        set(parsedTime(qgetenv("BULKSMS_FAKE_NOW")).toMSecsSinceEpoch());
    }
    bool active() const { return m_active; }

    qint64 now() {
        std::lock_guard lock(m_mutex);
        readFile();
        if (m_base == 0)
            return QDateTime::currentMSecsSinceEpoch(); // no time set yet
        const auto real = std::chrono::steady_clock::now() - m_setAt;
        const double passed = double(std::chrono::duration_cast<std::chrono::microseconds>(real).count()) /
                              1000.0 / Clock::scale();
        return m_base + qint64(passed);
    }

private:
    void set(qint64 time) {
        if (time <= 0)
            return;
        m_base = time;
        m_setAt = std::chrono::steady_clock::now();
    }
    // The file is looked at again at most every few milliseconds.
    void readFile() {
        if (m_file.isEmpty())
            return;
        const auto real = std::chrono::steady_clock::now();
        if (real < m_nextLook)
            return;
        m_nextLook = real + std::chrono::milliseconds(5);
        QFile file(m_file);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const QByteArray text = file.read(64);
        const QDateTime time = parsedTime(text);
        if (text == m_fileText || !time.isValid())
            return; // unchanged, or not (yet) a time: looked at again next time
        m_fileText = text;
        set(time.toMSecsSinceEpoch());
    }

    std::mutex m_mutex;
    const QString m_file;
    const bool m_active;
    qint64 m_base = 0;
    std::chrono::steady_clock::time_point m_setAt;
    std::chrono::steady_clock::time_point m_nextLook;
    QByteArray m_fileText;
};

// The clock in force; replaced whole when a test asks for the environment to be read again.
struct FakeNowHolder {
    std::mutex mutex;
    std::shared_ptr<FakeNow> clock;
};
FakeNowHolder& holder() {
    static FakeNowHolder held;
    return held;
}

std::shared_ptr<FakeNow> fake() {
    FakeNowHolder& h = holder();
    std::lock_guard lock(h.mutex);
    if (!h.clock)
        h.clock = std::make_shared<FakeNow>();
    return h.clock;
}

} // namespace

qint64 nowMs() {
    const std::shared_ptr<FakeNow> clock = fake();
    return clock->active() ? clock->now() : QDateTime::currentMSecsSinceEpoch();
}

QDateTime now() { return QDateTime::fromMSecsSinceEpoch(nowMs(), QTimeZone::utc()); }

bool nowIsFaked() { return fake()->active(); }

void readNowFromEnvironment() {
    FakeNowHolder& h = holder();
    std::lock_guard lock(h.mutex);
    h.clock = std::make_shared<FakeNow>();
}

} // namespace Clock
