#include "LoadCounters.h"

#include "core/Counted.h"

namespace {
QString rejectionDetails(const LoadCounters& c) {
    QString details;
    const int impossible = c.impossibleNumbers;
    const int invalid = c.TOT_PROC - c.TOT - impossible;
    if (invalid > 0)
        details += QStringLiteral("\nNot valid phone numbers (letters, a misplaced \"+\" or more than 20 "
                                  "characters) = %1\n")
                       .arg(localNumber(invalid));
    if (impossible > 0)
        details +=
            QStringLiteral("\nNumbers that cannot exist in their country (too short, too long, no such "
                           "number) = %1\n")
                .arg(localNumber(impossible));
    if (c.ignoredCells > 0)
        details +=
            QStringLiteral("\nCells that are not phone numbers (names, ids, amounts, dates), ignored = "
                           "%1\n")
                .arg(localNumber(c.ignoredCells));
    return details;
}
} // namespace

QString LoadCounters::summary() const {
    const QString rule = QStringLiteral("==========================");
    return QStringLiteral("No contacts have been imported to the list.") + QStringLiteral("\n\n\n") +
           QStringLiteral("Here is the summary:\n\n") + rule + QStringLiteral("\n") +
           QStringLiteral("Total readable records = ") + QString::number(TOT_PROC) + QStringLiteral("\n\n") +
           QStringLiteral("Valid numbers = ") + QString::number(TOT) + QStringLiteral("\n\n") +
           QStringLiteral("Skipped due to user settings = ") + QString::number(SKPD) +
           QStringLiteral("\n\n") + QStringLiteral("Excluded due to user settings = ") +
           QString::number(EXLD) + QStringLiteral("\n") + rule + QStringLiteral("\n") +
           rejectionDetails(*this);
}
