#include "Guard.h"

void Guard::logFailure(const char* where, const char* reason) {
    Show_NSLog_Message(QStringLiteral("%1: %2").arg(QString::fromUtf8(where), QString::fromUtf8(reason)));
}
