#pragma once
// Failure messages show texts as text rather than as arrays of code units.
#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
