#include "DeliveryState.h"

QString deliveryStateOf(int status) {
    if (status >= 0 && status <= 0x1F)
        return QStringLiteral("Delivered");
    if (status >= 0x20 && status <= 0x3F)
        return QStringLiteral("Pending");
    QString reason;
    switch (status) {
    case 0x40: reason = QStringLiteral("remote procedure error"); break;
    case 0x41: reason = QStringLiteral("incompatible destination"); break;
    case 0x42: reason = QStringLiteral("connection rejected by the recipient"); break;
    case 0x43: reason = QStringLiteral("recipient not obtainable"); break;
    case 0x44:
    case 0x64: reason = QStringLiteral("quality of service not available"); break;
    case 0x45: reason = QStringLiteral("no interworking available"); break;
    case 0x46: reason = QStringLiteral("validity period expired"); break;
    case 0x47: reason = QStringLiteral("deleted by the sender"); break;
    case 0x48: reason = QStringLiteral("deleted by the service centre"); break;
    case 0x49: reason = QStringLiteral("message does not exist"); break;
    case 0x60: reason = QStringLiteral("congestion"); break;
    case 0x61: reason = QStringLiteral("recipient busy"); break;
    case 0x62: reason = QStringLiteral("no response from the recipient"); break;
    case 0x63: reason = QStringLiteral("service rejected"); break;
    case 0x65: reason = QStringLiteral("error in the recipient's phone"); break;
    default: reason = QStringLiteral("status %1").arg(status); break;
    }
    return QStringLiteral("Not delivered (%1)").arg(reason);
}
