#pragma once
// The pool of modem sessions the GSM sending job gives one port each.
#include "device/SendingDevice.h"

#include <array>

class MFCSMS;

inline constexpr int kModemSessionSlots = kMaxRunDevices; // a slot for every port of a run
// A port's slot index selects its session. The sessions live as long as the process.
extern const std::array<MFCSMS*, kModemSessionSlots> mfc_sms_obj_arr;
