// Messages from a 50,000-row workbook in per-row mode (and in template mode) into a list
// with skip duplicates on; prints time and peak memory of each run.
// Usage: bench_dynamic_messages [rows]
#include "BenchSupport.h"
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Excel_Dynamic_Msg.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace bench;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int rows = argc > 1 ? std::atoi(argv[1]) : 50000;
    if (!qEnvironmentVariableIsSet("BULKSMS_RESOURCES"))
        qputenv("BULKSMS_RESOURCES", BULKSMS_BUILD_RESOURCES);
    SpreadsheetData table;
    table.append({QStringLiteral("Phone"), QStringLiteral("Text"), QStringLiteral("Name")});
    for (int i = 0; i < rows; ++i)
        table.append({QString::number(447700000000LL + i),
                      QStringLiteral("Dear customer %1, your order is ready.").arg(i),
                      QStringLiteral("Customer %1").arg(i)});
    QTemporaryDir dir;
    BenchOperator op;
    op.file = dir.path() + QStringLiteral("/bench.xlsx");
    if (!SpreadsheetWriter::WriteWorkbook(op.file, table, false))
        return 1;
    table.clear();
    std::printf("%d rows x 3 columns, skip duplicates on\n", rows);

    for (int mode : {0, 1}) {
        BenchWindow window(MainWindowController::Kind::Gsm, op);
        window.setSkipDuplicates(true);
        SpreadsheetWriter spreadsheet;
        Excel_Dynamic_Msg wizard(window, spreadsheet);
        resetPeak();
        QElapsedTimer timer;
        timer.start();
        wizard.setMode(mode);
        wizard.rightButtonPressed();
        wizard.Browse();
        wizard.Sheet_ComboBox_changed(0);
        if (mode == 0) {
            wizard.Number_ComboBox_changed(0);
            wizard.Message_ComboBox_changed(1);
        } else {
            wizard.setColumnTicked(0, true);
            wizard.rightButtonPressed();
            wizard.setTemplateText(QStringLiteral("Hello <COL-3>, <COL-2>"));
        }
        wizard.rightButtonPressed();
        std::printf("%-22s %6lld ms   peak %6.1f MiB   rows %d\n",
                    mode == 0 ? "per-row messages" : "template messages",
                    static_cast<long long>(timer.elapsed()), peakMiB(), window.list().size());
    }
    return 0;
}
