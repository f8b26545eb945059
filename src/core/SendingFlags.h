#pragma once
// Flags every sending run shares across its threads (modem workers, the Android sender,
// the pause countdown). Atomic: they are polled without a lock.
#include <atomic>

// 1 once the operator has asked the GSM run to stop: what the windows show. The run's
// threads stop on the run's own stop token, so one sender's Stop never stops another's.
extern std::atomic<bool> Stop_SMS_Sending_Now;
