// Numbers read in a default country: 1,000,000 numbers in the forms lists carry them in
// ("+44 7400 123456", "07400-123456", "0044 ...", spreadsheet numbers, some that cannot
// exist), first through the normaliser alone (and through libphonenumber alone, on a tenth),
// then loaded into a list with skip-duplicates on, against the same load without a country.
#include "list/DefaultCountry.h"
#include "list/LoadCounters.h"
#include "list/windows/BulkSmsWindow.h"
#include "text/NumberNormaliser.h"
#include "text/NumberRules.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>

#include <cstdio>

#include "BenchSupport.h"

using namespace bench;

namespace {
constexpr int kCount = 1000000;

// One in twenty cannot exist; the rest are 400,000 subscribers written four ways.
QStringList writtenNumbers() {
    QStringList numbers;
    numbers.reserve(kCount);
    for (int i = 0; i < kCount; ++i) {
        const QString subscriber = QStringLiteral("%1").arg(i % 400000, 6, 10, QLatin1Char('0'));
        if (i % 20 == 19) {
            numbers << QStringLiteral("+44 12") + subscriber.left(2);
            continue;
        }
        switch (i % 4) {
        case 0: numbers << QStringLiteral("+44 7400 ") + subscriber; break;
        case 1: numbers << QStringLiteral("07400-") + subscriber; break;
        case 2: numbers << QStringLiteral("0044 (0)7400 ") + subscriber; break;
        default: numbers << QStringLiteral("447400") + subscriber; break; // a spreadsheet number
        }
    }
    return numbers;
}

double loadInto(BulkSmsWindow& window, const QStringList& numbers, LoadCounters& counts) {
    QElapsedTimer timer;
    timer.start();
    for (const QString& raw : numbers)
        window.insertIfAble(raw, QStringLiteral("Hello"), counts);
    return timer.nsecsElapsed() / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList numbers = writtenNumbers();

    // The separators go first, as in every loader; then the normaliser alone.
    QElapsedTimer timer;
    timer.start();
    QStringList texts;
    texts.reserve(kCount);
    for (const QString& raw : numbers)
        texts << normaliseNumberText(raw);
    const double separators = timer.nsecsElapsed() / 1e6;
    std::printf("separators off %d numbers: %8.1f ms\n", kCount, separators);

    const NumberNormaliser gb(QStringLiteral("GB"));
    timer.restart();
    int valid = 0;
    for (const QString& text : texts)
        valid += gb.normalise(text).valid();
    const double alone = timer.nsecsElapsed() / 1e6;
    std::printf("normalising %d numbers (GB): %8.1f ms, %.2f us a number, %d valid\n", kCount, alone,
                alone * 1000.0 / kCount, valid);
    timer.restart();
    int libraryValid = 0;
    for (int i = 0; i < kCount / 10; ++i)
        libraryValid += gb.normaliseWithLibrary(texts.at(i)).valid();
    const double library = timer.nsecsElapsed() / 1e6;
    std::printf("  libphonenumber alone, %d numbers: %8.1f ms, %.2f us a number, %d valid\n", kCount / 10,
                library, library * 1000.0 / (kCount / 10), libraryValid);

    BenchOperator op;
    for (const QString& country : {QString(), QStringLiteral("GB")}) {
        BenchWindow window(MainWindowController::Kind::Gsm, op);
        window.country().set(country);
        window.setSkipDuplicates(true);
        resetPeak();
        LoadCounters counts;
        const double ms = loadInto(window, numbers, counts);
        std::printf("loading %d numbers, country %-4s: %8.1f ms (list %d, valid %d, duplicates %d, "
                    "cannot exist %d), peak %.0f MiB\n",
                    kCount, country.isEmpty() ? "none" : qPrintable(country), ms, window.list().size(),
                    counts.TOT, counts.SKPD, counts.impossibleNumbers, peakMiB());
    }
    return 0;
}
