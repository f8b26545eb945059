#pragma once
// The counters every loader fills, and the summary shown when a load added nothing.
#include <QString>

#include <atomic>

extern std::atomic<int> TOT_PROC; // readable records
extern std::atomic<int> TOT;      // valid numbers
extern std::atomic<int> SKPD;     // skipped as duplicates
extern std::atomic<int> EXLD;     // excluded
// Cells of a table (CSV, pasted block) that were no candidates because they do not look
// like phone numbers (names, ids, amounts, dates); reset with the counters above.
extern std::atomic<int> ignoredCells;
// Numbers refused because they cannot exist in their country (only with a default country);
// counted among the readable records, not among the valid numbers.
extern std::atomic<int> impossibleNumbers;

void assign_format_skip_exclude_var();
// The summary; below it, when there were any, the rejected numbers and the ignored cells,
// so the operator sees why nothing came in.
QString format_skip_exclude_str();
