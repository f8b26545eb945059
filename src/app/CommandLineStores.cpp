#include "CommandLineStores.h"

#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "core/Counted.h"
#include "core/DataFolder.h"
#include "core/DataTreePrivacy.h"
#include "core/FileUtils.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"

#include <QCommandLineParser>

namespace {

// The data and resource folders as the application finds them, without any window; the
// data tree narrowed as at every start.
DataFolder locateData() {
    DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    if (const QStringList problems = makeDataTreePrivate(folder); !problems.isEmpty())
        printErr(errorInFileAccessing(problems.join(QLatin1Char('\n'))));
    folder.Check_Path_And_Create_Files();
    return folder;
}

// A store's file; false, after saying why, when it cannot be read (nothing is exported then).
bool readData(const QString& path, QByteArray& content) {
    QString why;
    if (readPrivateFile(path, &content, &why))
        return true;
    printErr(errorInFileAccessing(why));
    return false;
}

// The export file and its format from --export; prints the reason and returns false when unusable.
bool exportTarget(const QCommandLineParser& parser, const QCommandLineOption& option, QString& path,
                  ExportFormat& format) {
    path = parser.value(option);
    if (path.isEmpty()) {
        printErr(QStringLiteral("--export FILE is required (.txt, .html or .xlsx)."));
        return false;
    }
    if (!reportFormatOf(path, format)) {
        printErr(QStringLiteral("The export file must end in .txt, .html or .xlsx: %1").arg(path));
        return false;
    }
    return true;
}

} // namespace

int reportFilterOf(const QString& name) {
    const QStringList names = {QStringLiteral("all"), QStringLiteral("sent"), QStringLiteral("unsent")};
    return int(names.indexOf(name.toLower()));
}

QString commandUsage() {
    return QStringLiteral(
        "Usage: bulksms [COMMAND] [OPTIONS]\n"
        "Without a command the desktop application starts.\n\n"
        "Commands:\n"
        "  send         send one message to every recipient through GSM modems\n"
        "  devices      list the GSM modems found\n"
        "  test-device  find out which mode and service centre work on a modem\n"
        "  sent-items   export the sent items (--export FILE.txt|.html|.xlsx)\n"
        "  templates    export the message templates (--export FILE.txt|.html|.xlsx)\n"
        "  exclusion    add a file's numbers to an exclusion list, or show the lists\n"
        "  campaign     queue a campaign for the workers, list, show or cancel campaigns\n"
        "  worker       send the queued campaigns through this computer's devices\n"
        "  inbox        the replies the devices received (--watch: as they come)\n"
        "  opt-out      the numbers that asked for no more messages: list, add, remove\n"
        "  serve        the HTTP API other programs send through (and its dashboard)\n"
        "  token        create, revoke or list the HTTP API's bearer tokens\n"
        "  webhooks     the webhooks other programs registered: list, or enable a disabled one\n\n"
        "\"bulksms COMMAND --help\" lists a command's options; \"bulksms --version\" "
        "prints the version.\n"
        "--verbose (the desktop and every command) copies the log, which goes to "
        "Troubleshooting_Log.txt\nbeside the data folder, to standard error.\n"
        "--database URL (every command) keeps the campaigns in a PostgreSQL server "
        "(postgresql://…)\ninstead of the data folder's file; BULKSMS_DATABASE does the same.");
}

int runSentItems(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Exports the sent items as the sent-items window does: text and HTML as UTF-8, or a "
                       "workbook. Exit status: 0 when written, 2 on bad input, 4 when the file could not be "
                       "written (a file already there is then left as it was) or the sent items could not be "
                       "read."));
    parser.addHelpOption();
    const QCommandLineOption exportFile(QStringLiteral("export"), QStringLiteral("The file to write."),
                                        QStringLiteral("file"));
    const QCommandLineOption android(QStringLiteral("android"),
                                     QStringLiteral("The Android window's sent items."));
    const QCommandLineOption filter(QStringLiteral("filter"),
                                    QStringLiteral("All, sent or unsent items (default all)."),
                                    QStringLiteral("group"), QStringLiteral("all"));
    parser.addOptions({exportFile, android, filter});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    QString path;
    ExportFormat format = ExportFormat::Text;
    if (!exportTarget(parser, exportFile, path, format))
        return 2;
    const int group = reportFilterOf(parser.value(filter));
    if (group < 0) {
        printErr(QStringLiteral("--filter is all, sent or unsent."));
        return 2;
    }
    const DataFolder folder = locateData();
    QByteArray stored;
    if (!readData(parser.isSet(android) ? folder.SentItemAnd_File_Path() : folder.SentItem_File_Path(),
                  stored))
        return kExitDataNotWritten;
    QList<SentItem> items;
    for (const SentItem& item : parseSentItems(stored))
        if (statusPassesFilter(item.status, group))
            items << item;
    bool written = false;
    QString why;
    switch (format) {
    case ExportFormat::Text: written = writeExportBytes(path, sentItemsText(items), &why); break;
    case ExportFormat::Html: written = writeExportBytes(path, sentItemsHtml(items), &why); break;
    case ExportFormat::Xlsx: written = writeExportWorkbook(path, sentItemsRows(items), &why); break;
    }
    if (!written) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    printOut(
        QStringLiteral("%1 written to %2")
            .arg(counted(items.size(), QStringLiteral("sent item"), QStringLiteral("sent items")), path));
    return 0;
}

int runTemplates(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Exports the message templates as the templates window does. Exit status: 0 when "
                       "written, 2 on bad input, 4 when the file could not be written (a file already "
                       "there is then left as it was) or the templates could not be read."));
    parser.addHelpOption();
    const QCommandLineOption exportFile(QStringLiteral("export"), QStringLiteral("The file to write."),
                                        QStringLiteral("file"));
    parser.addOption(exportFile);
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    QString path;
    ExportFormat format = ExportFormat::Text;
    if (!exportTarget(parser, exportFile, path, format))
        return 2;
    const DataFolder folder = locateData();
    QByteArray stored;
    if (!readData(folder.Templates_File_Path(), stored))
        return kExitDataNotWritten;
    const QStringList all = storedTemplates(stored);
    QString why;
    const bool written = format == ExportFormat::Xlsx   ? writeExportWorkbook(path, templatesRows(all), &why)
                         : format == ExportFormat::Html ? writeExportBytes(path, templatesHtml(all), &why)
                                                        : writeExportBytes(path, templatesText(all), &why);
    if (!written) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    printOut(QStringLiteral("%1 templates written to %2").arg(all.size()).arg(path));
    return 0;
}
