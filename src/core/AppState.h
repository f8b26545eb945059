#pragma once
// The application's name, as windows, messages and the data folder show it.
#include <QString>

inline const QString kApplicationName = QStringLiteral("Ostrel Bulk SMS");
