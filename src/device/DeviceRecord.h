#pragma once
// The keys of a device record: one row of a device list, for a modem the GSM search found or
// a phone of the Android search window (whose property rows put a property's name under
// kPortNameKey and its value under kPortDetailKey). The keys are the system's own texts; the
// device windows, the selection and every run read the rows through them.
#include <QString>

inline const QString kDeviceTickedKey = QStringLiteral("State");    // "1" ticked in the list, "0" not
inline const QString kPortNameKey = QStringLiteral("COM_PORT");     // "ttyUSB0"
inline const QString kPortDetailKey = QStringLiteral("PORT_DETAL"); // the port's path: what names a device
inline const QString kPortStatusKey = QStringLiteral("PORT_STATUS");
inline const QString kImeiKey = QStringLiteral("IMEI");
inline const QString kIccidKey = QStringLiteral("ICCID"); // the SIM's number, 19-20 digits; "" when unread
inline const QString kManufacturerKey = QStringLiteral("Manufacture");
inline const QString kModelKey = QStringLiteral("Model");
inline const QString kFirmwareRevisionKey = QStringLiteral("Revision");
inline const QString kBatteryKey = QStringLiteral("Battery");
inline const QString kSignalKey = QStringLiteral("Signal");
inline const QString kNetworkOperatorKey = QStringLiteral("Operator");
inline const QString kDefaultSmscKey = QStringLiteral("DefSMSC"); // the service centre the modem holds
inline const QString kCustomSmscKey = QStringLiteral("CusSMSC");
inline const QString kUseCustomSmscKey = QStringLiteral("UseCusSMSC");     // "Y" or "N"
inline const QString kSmsModeKey = QStringLiteral("SMSMode");              // "PDU Mode", "Text Mode", "NONE"
inline const QString kSupportedSmsModesKey = QStringLiteral("SUPSMSMode"); // ";PDU Mode;Text Mode;"
inline const QString kSmsCapableKey = QStringLiteral("SMS_CAPABLE");       // "Yes" or "Not Detected"
inline const QString kTestHistoryKey = QStringLiteral("TEST_HISTORY");     // the mode test's outcome per case
inline const QString kLastTestSmscKey = QStringLiteral("Last_SMSC");       // the custom centre last tested
// A modem's USB slot ("1-1.4": bus, then the hub ports down to it); "" when not on USB
// Where the modem stands with the network: "Home network", "Roaming", "Searching for a network…"
inline const QString kNetworkKey = QStringLiteral("Network");
inline const QString kSlotKey = QStringLiteral("Slot");
