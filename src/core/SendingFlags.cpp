#include "SendingFlags.h"

std::atomic<bool> Stop_SMS_Sending_Now{false};
std::atomic<bool> Pause_Timer_Running{false};
std::atomic<int> msg_cnt{0};
