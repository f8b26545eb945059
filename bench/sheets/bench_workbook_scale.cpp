// Workbooks at scale, each figure beside its peer measured in the same run, every figure
// the whole process (wall time and peak resident memory of a child process):
//   write N rows x 3 columns: our writer, libxlsxwriter
//   read them back:           our one-pass reader, SheetJS on node
//   into the recipient list:  every row's number through the insert filter on the window's
//                             loading thread, as the column import does, skip duplicates on
//   a CSV file of N numbers:  through the load button of a window, without and with a
//                             default country
// at 10k, 100k and 1,048,576 rows (or the row counts given).
// Usage: bench_workbook_scale [rows...]
// Peers: SheetJS from bench/.peers (bench/install-peers) or NODE_PATH; libxlsxwriter when
// it was found at build time. A missing peer is skipped with a note.
#include "BenchSupport.h"
#include "list/DefaultCountry.h"
#include "list/ListLoad.h"
#include "list/LoadCounters.h"
#include "list/NumberLoader.h"
#include "sheets/SpreadsheetWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#ifdef BULKSMS_HAVE_XLSXWRITER
#include <xlsxwriter.h>
#endif

using namespace bench;

namespace {

QString number(qint64 i) { return QString::number(447700000000LL + i); }
QString message(qint64 i) { return QStringLiteral("Dear customer %1, your order is ready.").arg(i); }
QString name(qint64 i) { return QStringLiteral("Customer %1").arg(i); }

// ---- what the children do ----

int writeOurs(qint64 rows, const QString& path) {
    SpreadsheetData table;
    table.reserve(rows + 1);
    table.append({QStringLiteral("Phone"), QStringLiteral("Text"), QStringLiteral("Name")});
    for (qint64 i = 0; i < rows; ++i)
        table.append({number(i), message(i), name(i)});
    return SpreadsheetWriter::WriteWorkbook(path, table, false) ? 0 : 1;
}

int writeXlsxwriter(qint64 rows, const QString& path) {
#ifdef BULKSMS_HAVE_XLSXWRITER
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    const QByteArray file = QFile::encodeName(path);
    lxw_workbook* workbook = workbook_new_opt(file.constData(), &options);
    lxw_worksheet* sheet = workbook_add_worksheet(workbook, nullptr);
    worksheet_write_string(sheet, 0, 0, "Phone", nullptr);
    worksheet_write_string(sheet, 0, 1, "Text", nullptr);
    worksheet_write_string(sheet, 0, 2, "Name", nullptr);
    for (qint64 i = 0; i < rows; ++i) {
        const auto row = lxw_row_t(i + 1);
        worksheet_write_number(sheet, row, 0, double(447700000000LL + i), nullptr);
        worksheet_write_string(sheet, row, 1, message(i).toUtf8().constData(), nullptr);
        worksheet_write_string(sheet, row, 2, name(i).toUtf8().constData(), nullptr);
    }
    return workbook_close(workbook) == LXW_NO_ERROR ? 0 : 1;
#else
    Q_UNUSED(rows)
    Q_UNUSED(path)
    return 3;
#endif
}

int readOurs(const QString& path) {
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadWorkbook(path, true);
    if (spreadsheet.Read_Sheet_Name().isEmpty())
        return 1;
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    qint64 rows = 0, cells = 0;
    const bool ok = spreadsheet.ReadRows([&](QStringList& row) {
        ++rows;
        for (const QString& cell : row)
            cells += cell.isEmpty() ? 0 : 1;
        return true;
    });
    std::fprintf(stderr, "%lld rows, %lld cells\n", static_cast<long long>(rows),
                 static_cast<long long>(cells));
    return ok ? 0 : 1;
}

// Waits, as a window's event loop would, until the window's load has ended.
void waitForLoad(BulkSmsWindow& window) {
    ListLoad& load = ListLoad::of(window);
    if (!load.isRunning())
        return;
    QEventLoop loop;
    QObject::connect(&load, &ListLoad::runningChanged, &loop, [&](bool running) {
        if (!running)
            loop.quit();
    });
    loop.exec();
}

// As the column import loads a sheet: one pass on the window's loading thread, every
// number through the insert filter, the accepted ones going in when the sheet is done.
int intoList(const QString& path) {
    BenchOperator op;
    BenchWindow window(MainWindowController::Kind::Gsm, op);
    window.setSkipDuplicates(true);
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadWorkbook(path, true);
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    const QString message = QStringLiteral("Hello");
    bool ok = false;
    ListLoad::of(window).start(
        [&](ListLoad& load) {
            bool header = true;
            ok = spreadsheet.ReadRows([&](QStringList& row) {
                if (!std::exchange(header, false))
                    load.accept(row.value(0), message);
                return true;
            });
            return ok;
        },
        nullptr);
    waitForLoad(window);
    spreadsheet.releaseWorkbook();
    std::fprintf(stderr, "%d in the list\n", window.list().size());
    return ok ? 0 : 1;
}

// Through the load button of a window, with the default country given (or none).
int csvIntoList(const QString& path, const QString& country) {
    BenchOperator op;
    op.file = path;
    BenchWindow window(MainWindowController::Kind::Gsm, op);
    window.country().set(country);
    window.setSkipDuplicates(true);
    NumberLoader::of(window).Load_Number();
    waitForLoad(window);
    std::fprintf(stderr, "%d in the list\n", window.list().size());
    return 0;
}

int child(const QStringList& args) {
    const QString mode = args.value(0);
    if (mode == QLatin1String("write"))
        return writeOurs(args.value(1).toLongLong(), args.value(2));
    if (mode == QLatin1String("xlsxwriter"))
        return writeXlsxwriter(args.value(1).toLongLong(), args.value(2));
    if (mode == QLatin1String("read"))
        return readOurs(args.value(1));
    if (mode == QLatin1String("list"))
        return intoList(args.value(1));
    if (mode == QLatin1String("csv"))
        return csvIntoList(args.value(1), args.value(2));
    return 2;
}

// ---- the parent: runs each child, measures it ----

struct Figure {
    bool ran = false;
    double seconds = 0;
    double peakMiB = 0;
};

Figure measure(const QByteArray& program, const QList<QByteArray>& args) {
    QElapsedTimer timer;
    timer.start();
    const pid_t pid = ::fork();
    if (pid == 0) {
        std::vector<char*> argv{const_cast<char*>(program.constData())};
        for (const QByteArray& a : args)
            argv.push_back(const_cast<char*>(a.constData()));
        argv.push_back(nullptr);
        ::execvp(program.constData(), argv.data());
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage {};
    if (pid < 0 || ::wait4(pid, &status, 0, &usage) != pid)
        return {};
    Figure f;
    f.ran = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    f.seconds = timer.nsecsElapsed() / 1e9;
    f.peakMiB = usage.ru_maxrss / 1024.0;
    return f;
}

void print(const char* what, const Figure& f, const char* note = "") {
    if (!f.ran)
        std::printf("  %-38s %s\n", what, *note ? note : "failed");
    else
        std::printf("  %-38s %8.2f s %9.1f MiB\n", what, f.seconds, f.peakMiB);
    std::fflush(stdout);
}

// The folder holding the "xlsx" package for node: bench/.peers or NODE_PATH.
QByteArray sheetJsModules() {
    const QString peers = QStringLiteral(BULKSMS_BENCH_DIR "/.peers/node_modules");
    if (QFileInfo::exists(peers + QStringLiteral("/xlsx/package.json")))
        return QFile::encodeName(peers);
    for (const QString& dir : qEnvironmentVariable("NODE_PATH").split(QLatin1Char(':'), Qt::SkipEmptyParts))
        if (QFileInfo::exists(dir + QStringLiteral("/xlsx/package.json")))
            return QFile::encodeName(dir);
    return {};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (!qEnvironmentVariableIsSet("BULKSMS_RESOURCES"))
        qputenv("BULKSMS_RESOURCES", BULKSMS_BUILD_RESOURCES);
    QStringList args = app.arguments().mid(1);
    if (args.value(0) == QLatin1String("--child"))
        return child(args.mid(1));

    QList<qint64> sizes;
    for (const QString& a : args)
        sizes << a.toLongLong();
    if (sizes.isEmpty())
        sizes = {10000, 100000, 1048576};
    const QByteArray self = QFile::encodeName(QCoreApplication::applicationFilePath());
    const QByteArray node = QFile::encodeName(QStandardPaths::findExecutable(QStringLiteral("node")));
    const QByteArray modules = sheetJsModules();
    const char* sheetJsNote = node.isEmpty()      ? "skipped: node is not installed"
                              : modules.isEmpty() ? "skipped: SheetJS missing (run bench/install-peers)"
                                                  : "";
#ifdef BULKSMS_HAVE_XLSXWRITER
    const char* xlsxwriterNote = "";
#else
    const char* xlsxwriterNote = "skipped: libxlsxwriter was not found at build time";
#endif
    QTemporaryDir dir;
    std::printf("whole process: wall time, peak resident memory\n");
    for (qint64 rows : sizes) {
        std::printf("%lld rows x 3 columns (number, message, name)\n", static_cast<long long>(rows));
        const QByteArray n = QByteArray::number(rows);
        const QByteArray ours = QFile::encodeName(dir.path() + QStringLiteral("/ours.xlsx"));
        const QByteArray theirs = QFile::encodeName(dir.path() + QStringLiteral("/lxw.xlsx"));
        print("write: ours", measure(self, {"--child", "write", n, ours}));
        print("write: libxlsxwriter (constant memory)", measure(self, {"--child", "xlsxwriter", n, theirs}),
              xlsxwriterNote);
        // Both read the libxlsxwriter book when there is one: a workbook neither wrote for itself.
        const QByteArray book = QFileInfo::exists(QFile::decodeName(theirs)) ? theirs : ours;
        print("read: ours, one pass", measure(self, {"--child", "read", book}));
        if (*sheetJsNote) {
            print("read: SheetJS 0.18.5 on node", {}, sheetJsNote);
        } else {
            const QByteArray script = "const X=require(process.argv[2]);const wb=X.readFile(process.argv[1],"
                                      "{dense:true});const ws=wb.Sheets[wb.SheetNames[0]];"
                                      "const rows=X.utils.sheet_to_json(ws,{header:1});"
                                      "console.error(rows.length+' rows');";
            print("read: SheetJS 0.18.5 on node", measure(node, {"-e", script, book, modules + "/xlsx"}));
        }
        print("into the list, skip duplicates on", measure(self, {"--child", "list", book}));
        QFile csv(dir.path() + QStringLiteral("/numbers.csv"));
        if (csv.open(QIODevice::WriteOnly)) {
            QByteArray chunk;
            for (qint64 i = 0; i < rows; ++i) {
                chunk += number(i).toLatin1() + "\r\n";
                if (chunk.size() > (1 << 20)) {
                    csv.write(chunk);
                    chunk.clear();
                }
            }
            csv.write(chunk);
            csv.close();
            const QByteArray numbers = QFile::encodeName(csv.fileName());
            print("CSV of numbers into the list", measure(self, {"--child", "csv", numbers}));
            print("CSV of numbers, default country GB", measure(self, {"--child", "csv", numbers, "GB"}));
        }
        QFile::remove(QFile::decodeName(ours));
        QFile::remove(QFile::decodeName(theirs));
    }
    return 0;
}
