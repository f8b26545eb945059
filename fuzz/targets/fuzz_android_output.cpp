// What adb and the phone print: the device list and the choice of a phone in it, and the rows
// of the phone's SMS provider.
#include "FuzzInput.h"
#include "android/AndroidDevices.h"
#include "android/PhoneSentBox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    const QString list = deviceListFromOutput(in.text, in.selector() % 2 ? QString() : QStringLiteral("R58"));
    androidDeviceFromList(list);
    Check_More_Than_One_Android_Device(list);
    androidDeviceFromList(in.text);
    QString refusal;
    parseSmsRows(in.text, &refusal);
    return 0;
}
