// Writes a workbook of 50,000 rows and 3 columns (a number and two texts), then imports it
// as the import windows do; prints the time and peak memory of each phase.
// Usage: bench_spreadsheet [rows]
#include "sheets/SpreadsheetWriter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>

#include "BenchSupport.h"

using bench::peakMiB;
using bench::resetPeak;

namespace {

// Peak resident memory in MiB since the last reset (VmHWM).

void report(const char* phase, qint64 ms) {
    std::printf("%-34s %7lld ms   peak %7.1f MiB\n", phase, static_cast<long long>(ms), peakMiB());
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int rows = argc > 1 ? std::atoi(argv[1]) : 50000;
    if (!qEnvironmentVariableIsSet("BULKSMS_RESOURCES"))
        qputenv("BULKSMS_RESOURCES", BULKSMS_BUILD_RESOURCES);

    SpreadsheetData table;
    table.reserve(rows + 1);
    table.append({QStringLiteral("Number"), QStringLiteral("Message"), QStringLiteral("Status")});
    for (int i = 0; i < rows; ++i)
        table.append({QString::number(5550100 + i),
                      QStringLiteral("Dear customer %1, your order is ready.").arg(i),
                      i % 3 ? QStringLiteral("Message sent successfully.") : QStringLiteral("Stopped.")});

    QTemporaryDir dir;
    const QString book = dir.path() + QStringLiteral("/bench.xlsx");
    std::printf("%d rows x 3 columns (baseline %.1f MiB with the table built)\n", rows, peakMiB());

    resetPeak();
    QElapsedTimer timer;
    timer.start();
    SpreadsheetWriter::WriteWorkbook(book, table, false);
    report("write", timer.elapsed());
    std::printf("%-34s %7lld KiB\n", "workbook size", static_cast<long long>(QFile(book).size() / 1024));
    table.clear();
    table.squeeze();

    resetPeak();
    timer.restart();
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadWorkbook(book, true);
    const QStringList sheets = spreadsheet.Read_Sheet_Name();
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    report("read: prepare, sheets, header", timer.elapsed());
    timer.restart();
    const SpreadsheetData read = spreadsheet.ReadWorkbook(book, false);
    report("read: all rows", timer.elapsed());

    const bool ok = read.size() == rows + 1 && read.last().size() == 3 && sheets.size() == 1;
    std::printf("rows read back: %lld (%s)\n", static_cast<long long>(read.size()), ok ? "ok" : "MISMATCH");
    return ok ? 0 : 1;
}
