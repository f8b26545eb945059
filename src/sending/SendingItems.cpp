#include "SendingItems.h"

QString useStatusText(UseStatus status) {
    switch (status) {
    case UseStatus::WaitToDispatch: return kWaitToDispatch;
    case UseStatus::Sending: return QStringLiteral("Sending...");
    case UseStatus::Done: return kDone;
    case UseStatus::Stopped: break;
    }
    return kStoppedUse;
}
