#include "ActivityIndicator.h"

using namespace std::chrono_literals;

void ActivityIndicator::startTimerThread() {
    m_timer.start(500ms, [this] {
        m_advance();
        return true;
    });
}
