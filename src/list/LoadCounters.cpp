#include "LoadCounters.h"

std::atomic<int> TOT_PROC{0};
std::atomic<int> TOT{0};
std::atomic<int> SKPD{0};
std::atomic<int> EXLD{0};
std::atomic<int> ignoredCells{0};
std::atomic<int> impossibleNumbers{0};

void assign_format_skip_exclude_var() {
    TOT_PROC = 0;
    TOT = 0;
    SKPD = 0;
    EXLD = 0;
    ignoredCells = 0;
    impossibleNumbers = 0;
}

namespace {
QString rejectionDetails() {
    QString details;
    const int impossible = impossibleNumbers.load();
    const int invalid = TOT_PROC.load() - TOT.load() - impossible;
    if (invalid > 0)
        details += QStringLiteral("\nNot valid phone numbers (letters, a misplaced \"+\" or more than 20 "
                                  "characters) = %1\n")
                       .arg(invalid);
    if (impossible > 0)
        details +=
            QStringLiteral("\nNumbers that cannot exist in their country (too short, too long, no such "
                           "number) = %1\n")
                .arg(impossible);
    if (ignoredCells.load() > 0)
        details +=
            QStringLiteral("\nCells that are not phone numbers (names, ids, amounts, dates), ignored = "
                           "%1\n")
                .arg(ignoredCells.load());
    return details;
}
} // namespace

QString format_skip_exclude_str() {
    const QString rule = QStringLiteral("==========================");
    return QStringLiteral("No contacts have been imported to the list.") + QStringLiteral("\n\n\n") +
           QStringLiteral("Here is the summary:\n\n") + rule + QStringLiteral("\n") +
           QStringLiteral("Total readable records = ") + QString::number(TOT_PROC.load()) +
           QStringLiteral("\n\n") + QStringLiteral("Valid numbers = ") + QString::number(TOT.load()) +
           QStringLiteral("\n\n") + QStringLiteral("Skipped due to user settings = ") +
           QString::number(SKPD.load()) + QStringLiteral("\n\n") +
           QStringLiteral("Excluded due to user settings = ") + QString::number(EXLD.load()) +
           QStringLiteral("\n") + rule + QStringLiteral("\n") + rejectionDetails();
}
