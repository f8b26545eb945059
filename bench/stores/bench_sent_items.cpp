// 100,000 stored sent items: the window's load (file read and parsed on its worker, table
// filled on the main thread), the rewrite at close, and the export in each format. The
// figures say whether a person opening or exporting a large log would wait.
#include "core/DataFolder.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"
#include "stores/SentItemFile.h"
#include "stores/windows/Sent_Items.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

#include "BenchSupport.h"

using namespace bench;

namespace {

QList<SentItem> makeItems(int count) {
    QList<SentItem> items;
    items.reserve(count);
    for (int i = 0; i < count; ++i)
        items.append(
            {QStringLiteral("+4477009%1").arg(i, 5, 10, QLatin1Char('0')),
             QStringLiteral("Dear customer %1,\nyour order is ready for collection. Reply STOP to opt out.")
                 .arg(i),
             QStringLiteral("23/11/2026"),
             i % 10 == 0 ? QStringLiteral("+CMS ERROR: 38") : QStringLiteral("Message sent successfully.")});
    return items;
}

double msSince(const QElapsedTimer& timer) { return timer.nsecsElapsed() / 1e6; }

void report(const char* what, double ms, const QString& file = {}) {
    if (file.isEmpty())
        std::printf("  %-34s %8.1f ms\n", what, ms);
    else
        std::printf("  %-34s %8.1f ms  (%.1f MiB)\n", what, ms, QFileInfo(file).size() / 1048576.0);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(dir.path() + QStringLiteral("/data")));
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    folder.Check_Path_And_Create_Files();
    BenchOperator op;

    for (int count : {25000, 100000}) {
        std::printf("%d sent items\n", count);
        if (!writeSentItemsFile(folder.SentItem_File_Path(), makeItems(count)))
            return 1;
        std::printf("  file %.1f MiB\n", QFileInfo(folder.SentItem_File_Path()).size() / 1048576.0);

        Sent_Items window(op, folder);
        QElapsedTimer timer;
        // The longest time the main thread's events waited while the log loaded: what a
        // person would feel as a frozen window.
        QElapsedTimer sinceTick;
        qint64 longestStall = 0;
        QTimer ticker;
        ticker.setInterval(1);
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            longestStall = qMax(longestStall, sinceTick.nsecsElapsed());
            sinceTick.restart();
        });
        timer.start();
        sinceTick.start();
        ticker.start();
        window.startLoading();
        QEventLoop loading;
        QObject::connect(&ticker, &QTimer::timeout, &loading, [&] {
            if (!window.loading())
                loading.quit();
        });
        if (window.loading())
            loading.exec();
        ticker.stop();
        report("open: load into the table", msSince(timer));
        report("  longest main-thread stall", longestStall / 1e6);
        if (window.nsSendListData().size() != count)
            return 1;

        timer.start();
        const QList<SentItem> items = window.items();
        report("items from the table", msSince(timer));

        timer.start();
        writeSentItemsFile(folder.SentItem_File_Path(), items);
        report("close: atomic rewrite", msSince(timer));

        const QString text = dir.path() + QStringLiteral("/sent.txt");
        timer.start();
        writeExportBytes(text, sentItemsText(items));
        report("export text (UTF-16 pieces)", msSince(timer), text);

        const QString html = dir.path() + QStringLiteral("/sent.html");
        timer.start();
        writeExportBytes(html, sentItemsHtml(items));
        report("export HTML", msSince(timer), html);

        const QString xlsx = dir.path() + QStringLiteral("/sent.xlsx");
        timer.start();
        const bool ok = writeExportWorkbook(xlsx, sentItemsRows(items));
        report(ok ? "export XLSX" : "export XLSX (FAILED)", msSince(timer), xlsx);
        std::printf("  peak memory %.0f MiB\n", peakMiB());
    }
    return 0;
}
