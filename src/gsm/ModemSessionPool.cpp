#include "ModemSessionPool.h"

#include "MFCSMS.h"

namespace {
std::array<MFCSMS*, kModemSessionSlots> createSessions() {
    std::array<MFCSMS*, kModemSessionSlots> sessions{};
    for (MFCSMS*& session : sessions)
        session = new MFCSMS; // never deleted: worker threads may still hold one at exit
    return sessions;
}
} // namespace

const std::array<MFCSMS*, kModemSessionSlots> mfc_sms_obj_arr = createSessions();
