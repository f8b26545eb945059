#include "SendingFlags.h"

std::atomic<bool> Stop_SMS_Sending_Now{false};
