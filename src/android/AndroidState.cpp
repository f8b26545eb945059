#include "AndroidState.h"

#include <mutex>

std::atomic<int> Stop_Modem_SRCH{0};
std::atomic<int> AND_SMS_sending_mode{int(AndroidSendingMode::Standard)};
QString AND_Sel_Dev_Details;

namespace {
std::mutex g_mutex;
QString g_selectedDevice;
QString g_serialFilter;
} // namespace

QString Android_Selected_Device() {
    const std::lock_guard lock(g_mutex);
    return g_selectedDevice;
}

void setAndroidSelectedDevice(const QString& line) {
    const std::lock_guard lock(g_mutex);
    g_selectedDevice = line;
}

QString androidSerialFilter() {
    const std::lock_guard lock(g_mutex);
    return g_serialFilter;
}

void setAndroidSerialFilter(const QString& serial) {
    const std::lock_guard lock(g_mutex);
    g_serialFilter = serial;
}
