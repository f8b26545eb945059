#pragma once
// Failure messages show texts as text rather than as arrays of code units, and outcomes by name.
#include "device/SendOutcome.h"

#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
inline void PrintTo(Outcome outcome, std::ostream* os) { *os << outcomeKey(outcome).toStdString(); }
