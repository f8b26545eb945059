// Loading numbers with skip-duplicates on: 100,000 new numbers, then the same 100,000
// again (all refused as duplicates). Both phases must grow linearly with the count.
#include "core/Operator.h"
#include "list/BulkSmsWindow.h"
#include "list/LoadCounters.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

#include "BenchSupport.h"

using namespace bench;

namespace {
double load(BenchWindow& window, int count) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        const QString number =
            window.Num_Able_To_insert(QStringLiteral("+44 7700 %1").arg(i, 6, 10, QLatin1Char('0')));
        if (!number.isEmpty())
            window.Create_Num_Msg_List(number, QStringLiteral("Hello"));
    }
    return timer.nsecsElapsed() / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    BenchOperator op;
    for (int count : {25000, 50000, 100000}) {
        BenchWindow window(MainWindowController::Kind::Gsm, op);
        window.setSkipDuplicates(true);
        assign_format_skip_exclude_var();
        const double fresh = load(window, count);
        const double again = load(window, count);
        std::printf("%6d numbers: insert %7.1f ms, duplicates %7.1f ms (list %d, skipped %d)\n", count, fresh,
                    again, window.list().size(), SKPD.load());
    }
    return 0;
}
