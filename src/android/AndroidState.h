#pragma once
// Process-wide state of the Android window under the system's names. The stop flag and the
// sending mode are polled by workers without a lock; the selected device line is written by
// the search worker and read by the window, so it sits behind a mutex.
#include <QString>

#include <atomic>

// 1 once the operator asked to stop the current device search or connection.
extern std::atomic<int> Stop_Modem_SRCH;
// 0 single-shot, 1 (or 2) standard one-by-one, 3 classic one-by-one.
extern std::atomic<int> AND_SMS_sending_mode;
// The model details of the chosen phone (main thread only).
extern QString AND_Sel_Dev_Details;

QString Android_Selected_Device();
void setAndroidSelectedDevice(const QString& line);

// A serial the device list is narrowed to ("" = every phone): the command-line --serial.
// adb itself is pointed at it through ANDROID_SERIAL.
QString androidSerialFilter();
void setAndroidSerialFilter(const QString& serial);

enum class AndroidSendingMode { SingleShot = 0, Standard = 1, Classic = 3 };
