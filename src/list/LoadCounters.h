#pragma once
// What one load into a list counted, filled by the insert filter as the load goes, and the
// summary shown when the load added nothing.
#include <QString>

struct LoadCounters {
    int TOT_PROC = 0; // readable records
    int TOT = 0;      // valid numbers
    int SKPD = 0;     // skipped as duplicates
    int EXLD = 0;     // excluded
    // Cells of a table (CSV, pasted block) that were no candidates because they do not look
    // like phone numbers (names, ids, amounts, dates).
    int ignoredCells = 0;
    // Numbers refused because they cannot exist in their country (only with a default country);
    // counted among the readable records, not among the valid numbers.
    int impossibleNumbers = 0;

    // The summary; below it, when there were any, the rejected numbers and the ignored cells,
    // so the operator sees why nothing came in.
    QString summary() const;
};
