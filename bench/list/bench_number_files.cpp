// Loads a 100,000-line number file into a list with skip duplicates on, through the load
// button and its loading thread, in each file kind; prints time and peak memory per kind.
// Usage: bench_number_files [lines]
#include "BenchSupport.h"
#include "core/Operator.h"
#include "list/ListLoad.h"
#include "list/LoadCounters.h"
#include "list/NumberLoader.h"
#include "list/windows/BulkSmsWindow.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace bench; // answers the file chooser with the file of the run, No to questions

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int lines = argc > 1 ? std::atoi(argv[1]) : 100000;
    QTemporaryDir dir;

    // Every tenth line repeats an earlier number, so the duplicate check is exercised too.
    QString text;
    QString csv;
    QByteArray rtf = "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0 Arial;}}\\f0 ";
    for (int i = 0; i < lines; ++i) {
        const QString number =
            QStringLiteral("+44 7700 %1").arg(i % 10 == 9 ? i - 5 : i, 6, 10, QLatin1Char('0'));
        text += number + QStringLiteral("\r\n");
        csv += QStringLiteral("Name %1,%2,Note\r").arg(i).arg(number);
        rtf += number.toLatin1() + "\\par\r\n";
    }
    rtf += "}";
    const struct {
        const char* kind;
        const char* name;
        QByteArray bytes;
    } files[] = {
        {"TXT UTF-8", "n.txt", text.toUtf8()},
        {"TXT UTF-16LE with BOM", "n16.txt",
         QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)(text)},
        {"TXT windows-1252 (detected)", "n1252.txt", (text + QStringLiteral("Jos\u00e9\r\n")).toLatin1()},
        {"CSV (3 cells a line)", "n.csv", csv.toUtf8()},
        {"RTF", "n.rtf", rtf},
    };

    std::printf("%d lines, skip duplicates on\n", lines);
    for (const auto& f : files) {
        BenchOperator op;
        op.file = dir.path() + QLatin1Char('/') + QLatin1String(f.name);
        QFile out(op.file);
        if (!out.open(QIODevice::WriteOnly) || out.write(f.bytes) != f.bytes.size())
            return 1;
        out.close();

        BenchWindow window(MainWindowController::Kind::Gsm, op);
        window.setSkipDuplicates(true);
        NumberLoader& loader = NumberLoader::of(window);
        resetPeak();
        QElapsedTimer timer;
        timer.start();
        // The event loop sleeps until the load is done, as a window's would.
        QEventLoop loop;
        QObject::connect(&ListLoad::of(window), &ListLoad::runningChanged, &loop, [&](bool running) {
            if (!running)
                loop.quit();
        });
        loader.Load_Number();
        if (loader.isLoading())
            loop.exec();
        std::printf("%-30s %6lld ms   peak %6.1f MiB   rows %d (read %d, valid %d, skipped %d)\n", f.kind,
                    static_cast<long long>(timer.elapsed()), peakMiB(), window.list().size(),
                    window.lastLoad().TOT_PROC, window.lastLoad().TOT, window.lastLoad().SKPD);
    }
    return 0;
}
