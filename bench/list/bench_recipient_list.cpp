// Loading numbers with skip-duplicates on: 100,000 new numbers, then the same 100,000
// again (all refused as duplicates). Both phases must grow linearly with the count.
// Then the list's share of a million-row load, phase by phase, as the loaders run it
// (a batch flushed every 20,000 numbers), without and with a default country:
//   bench_recipient_list [ROWS]
#include "core/Operator.h"
#include "list/DefaultCountry.h"
#include "list/LoadCounters.h"
#include "list/windows/BulkSmsWindow.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <memory>

#include "BenchSupport.h"

using namespace bench;

namespace {
double load(BenchWindow& window, int count, LoadCounters& counts) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i)
        window.insertIfAble(QStringLiteral("+44 7700 %1").arg(i, 6, 10, QLatin1Char('0')),
                            QStringLiteral("Hello"), counts);
    return timer.nsecsElapsed() / 1e6;
}

// Numbers as a workbook's number cells give them (digits, the country's code without "+").
void million(BenchOperator& op, qint64 rows, const QString& country) {
    QStringList cells;
    cells.reserve(rows);
    for (qint64 i = 0; i < rows; ++i)
        cells << QString::number(447700000000LL + i);
    resetPeak();
    const double before = peakMiB();
    auto window = std::make_unique<BenchWindow>(MainWindowController::Kind::Gsm, op);
    window->country().set(country);
    window->setSkipDuplicates(true);
    LoadCounters counts;
    const QString message = QStringLiteral("Hello");
    QElapsedTimer timer;
    timer.start();
    double filter = 0, flush = 0;
    {
        BulkSmsWindow::BatchInsert batch(*window);
        for (const QString& cell : std::as_const(cells)) {
            window->insertIfAble(cell, message, counts);
            if (batch.pending() >= 20000) {
                const qint64 at = timer.nsecsElapsed();
                batch.flush();
                flush += (timer.nsecsElapsed() - at) / 1e6;
            }
        }
        filter = timer.nsecsElapsed() / 1e6 - flush;
        const qint64 at = timer.nsecsElapsed();
        batch.flush();
        flush += (timer.nsecsElapsed() - at) / 1e6;
    }
    const int size = window->list().size();
    const double peak = peakMiB() - before;
    const qint64 at = timer.nsecsElapsed();
    window.reset();
    const double destroy = (timer.nsecsElapsed() - at) / 1e6;
    std::printf("%lld numbers, country %-4s: filter+insert %7.1f ms, flushes %6.1f ms, "
                "freeing %6.1f ms, list %d, %.0f MiB above the cells\n",
                static_cast<long long>(rows), country.isEmpty() ? "none" : qPrintable(country), filter, flush,
                destroy, size, peak);
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    BenchOperator op;
    const qint64 rows = argc > 1 ? QString::fromLatin1(argv[1]).toLongLong() : 1000000;
    for (int count : {25000, 50000, 100000}) {
        BenchWindow window(MainWindowController::Kind::Gsm, op);
        window.setSkipDuplicates(true);
        LoadCounters counts;
        const double fresh = load(window, count, counts);
        const double again = load(window, count, counts);
        std::printf("%6d numbers: insert %7.1f ms, duplicates %7.1f ms (list %d, skipped %d)\n", count, fresh,
                    again, window.list().size(), counts.SKPD);
    }
    million(op, rows, QString());
    million(op, rows, QStringLiteral("GB"));
    return 0;
}
