// How fast numbers are normalised and trimmed: every loaded number goes through both.
#include "core/TextUtils.h"

#include <QElapsedTimer>
#include <QStringList>

#include <cstdio>

int main() {
    constexpr int kNumbers = 200000;
    QStringList numbers;
    numbers.reserve(kNumbers);
    for (int i = 0; i < kNumbers; ++i)
        numbers << QStringLiteral(" +44 (20) %1-%2 ").arg(7000 + i % 1000).arg(i, 6, 10, QLatin1Char('0'));

    QElapsedTimer timer;
    timer.start();
    qsizetype total = 0;
    for (const QString& n : numbers)
        total += Replace_Char_For_Valid_Number(n).size();
    const double ms = timer.nsecsElapsed() / 1e6;
    std::printf("Replace_Char_For_Valid_Number: %d numbers in %.1f ms (%.0f ns/number, %lld chars)\n",
                kNumbers, ms, ms * 1e6 / kNumbers, static_cast<long long>(total));

    timer.restart();
    total = 0;
    for (const QString& n : numbers)
        total += Trim_Str(n).size();
    const double trimMs = timer.nsecsElapsed() / 1e6;
    std::printf("Trim_Str: %d texts in %.1f ms (%.0f ns/text)\n", kNumbers, trimMs, trimMs * 1e6 / kNumbers);
    return 0;
}
