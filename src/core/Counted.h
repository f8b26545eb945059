#pragma once
// Counts in the program's own words: the number in the user's locale ("1,234" in English,
// "1.234" in German) and the noun in its singular or plural form ("1 recipient",
// "2 recipients"). Texts that the product prescribes word for word do not go through here.
#include <QString>

// n in the locale's digits and group separators.
QString localNumber(qint64 n);

// "<n> <one>" when n is 1 (or -1), "<n> <many>" otherwise, n as localNumber gives it.
QString counted(qint64 n, const QString& one, const QString& many);
