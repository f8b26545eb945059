#pragma once
// The counters every loader fills, and the summary shown when a load added nothing.
#include <QString>

#include <atomic>

extern std::atomic<int> TOT_PROC; // readable records
extern std::atomic<int> TOT;      // valid numbers
extern std::atomic<int> SKPD;     // skipped as duplicates
extern std::atomic<int> EXLD;     // excluded

void assign_format_skip_exclude_var();
QString format_skip_exclude_str();
