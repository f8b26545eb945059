// What adb and the phone print: the device list and the choice of a phone in it.
#include "FuzzInput.h"
#include "android/AndroidDevices.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    const QString list = deviceListFromOutput(in.text, in.selector() % 2 ? QString() : QStringLiteral("R58"));
    androidDeviceFromList(list);
    Check_More_Than_One_Android_Device(list);
    androidDeviceFromList(in.text);
    return 0;
}
