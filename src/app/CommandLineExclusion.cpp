#include "CommandLineExclusion.h"

#include "ConsoleOutput.h"
#include "core/Counted.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "list/DefaultCountry.h"
#include "stores/ExclusionImport.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// The import's exit status when some lines gave no number (the others were added).
constexpr int kSomeLinesRejected = 1;

const QString kUsage = QStringLiteral("Usage: bulksms exclusion import FILE [--list NAME]\n"
                                      "       bulksms exclusion list [NAME] [--json]");

DataFolder locateData() {
    DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    folder.Check_Path_And_Create_Files();
    return folder;
}

void printJson(const QJsonObject& object) {
    printOut(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

int runImport(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Adds the numbers of a TXT, CSV or RTF file to an exclusion list, read as the exclusion window's "
        "\"Load from File\" reads it. The list is created when missing and applied, so \"bulksms send "
        "--exclusion\" leaves its numbers out. Prints how many numbers were added; every line that gives "
        "no number is named on standard error with its line number. Exit status: 0 when every line gave a "
        "number, 1 when some lines were rejected (the others were added), 2 on bad input (nothing is "
        "added), 4 when the list could not be written."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The file of numbers."));
    const QCommandLineOption list(
        QStringLiteral("list"),
        QStringLiteral("The exclusion list (default: the file's name without its extension)."),
        QStringLiteral("name"));
    parser.addOption(list);
    if (const std::optional<int> end = parseCommandLine(parser, arguments))
        return *end;
    if (parser.positionalArguments().size() != 1) {
        printErr(QStringLiteral("One file of numbers, please.\n") + kUsage);
        return kExitUsage;
    }
    const QString path = parser.positionalArguments().constFirst();
    const QString name =
        parser.isSet(list) ? parser.value(list).trimmed() : QFileInfo(path).completeBaseName();
    if (const QString problem = exclusionListNameProblem(name); !problem.isEmpty()) {
        printErr(problem);
        return kExitUsage;
    }
    if (!QFileInfo(path).isFile()) {
        printErr(QStringLiteral("%1 is not a file.").arg(path));
        return kExitUsage;
    }
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (!QStringList{QStringLiteral("txt"), QStringLiteral("csv"), QStringLiteral("rtf")}.contains(suffix)) {
        printErr(QStringLiteral("%1: exclusion numbers are read from .txt, .csv or .rtf files "
                                "(a workbook goes through the exclusion window).")
                     .arg(path));
        return kExitUsage;
    }
    QList<ImportLine> lines;
    if (!readImportLines(path, lines)) {
        printErr(QStringLiteral("%1 could not be read, or holds no text.").arg(path));
        return kExitUsage;
    }
    const DataFolder folder = locateData();
    QString unread;
    const QStringList listed = exclusionListNumbers(folder, name, &unread);
    if (!unread.isEmpty()) {
        printErr(errorInFileAccessing(unread));
        return kExitDataNotWritten;
    }
    DefaultCountry country; // numbers are compared as the windows compare them
    country.load(folder);
    const ExclusionImport taken = takeExclusionNumbers(lines, listed, country.normaliser());
    for (const ExclusionImport::Rejected& line : taken.rejected)
        printErr(QStringLiteral("line %1: %2: %3").arg(line.line).arg(line.text, line.why));
    if (taken.added.isEmpty() && taken.alreadyListed == 0) {
        printErr(QStringLiteral("%1 gives no number; the list \"%2\" was left as it was.").arg(path, name));
        return kExitUsage;
    }
    QString why;
    if (!addToExclusionList(folder, name, taken.added, &why)) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    printOut(QStringLiteral("%1 added to the exclusion list \"%2\" (%3 already in it), %4 rejected. The list "
                            "is applied when sending.")
                 .arg(counted(taken.added.size(), QStringLiteral("number"), QStringLiteral("numbers")), name,
                      localNumber(taken.alreadyListed),
                      counted(taken.rejected.size(), QStringLiteral("line"), QStringLiteral("lines"))));
    return taken.rejected.isEmpty() ? 0 : kSomeLinesRejected;
}

int runList(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Without a name: every exclusion list, a line each (name, count of numbers, \"applied\" or "
        "\"not applied\", tab-separated). With a name: that list's numbers, one a line. Exit "
        "status: 0, 2 on bad input (a list that does not exist), 4 when a list's file cannot be read."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("NAME"), QStringLiteral("A list whose numbers to show."),
                                 QStringLiteral("[NAME]"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("One JSON object."));
    parser.addOption(json);
    if (const std::optional<int> end = parseCommandLine(parser, arguments))
        return *end;
    if (parser.positionalArguments().size() > 1) {
        printErr(QStringLiteral("At most one list name, please.\n") + kUsage);
        return kExitUsage;
    }
    const DataFolder folder = locateData();
    QString unread;
    const QStringList names = exclusionListNames(folder, &unread);
    const QStringList applied = unread.isEmpty() ? appliedExclusionListNames(folder, &unread) : QStringList();
    // A list that cannot be read is never shown as empty.
    const auto numbersOf = [&unread, &folder](const QString& name) {
        return unread.isEmpty() ? exclusionListNumbers(folder, name, &unread) : QStringList();
    };
    if (parser.positionalArguments().isEmpty()) {
        QJsonArray lists;
        QStringList lines;
        for (const QString& name : names) {
            const qsizetype count = numbersOf(name).size();
            const bool on = applied.contains(name);
            lists.append(QJsonObject{{QStringLiteral("name"), name},
                                     {QStringLiteral("numbers"), count},
                                     {QStringLiteral("applied"), on}});
            lines << QStringLiteral("%1\t%2\t%3")
                         .arg(name)
                         .arg(count)
                         .arg(on ? QStringLiteral("applied") : QStringLiteral("not applied"));
        }
        if (!unread.isEmpty()) {
            printErr(errorInFileAccessing(unread));
            return kExitDataNotWritten;
        }
        if (parser.isSet(json))
            printJson({{QStringLiteral("lists"), lists}});
        else
            for (const QString& line : std::as_const(lines))
                printOut(line);
        return 0;
    }
    const QString name = parser.positionalArguments().constFirst();
    if (!names.contains(name)) {
        printErr(QStringLiteral("There is no exclusion list called \"%1\".").arg(name));
        return kExitUsage;
    }
    const QStringList numbers = numbersOf(name);
    if (!unread.isEmpty()) {
        printErr(errorInFileAccessing(unread));
        return kExitDataNotWritten;
    }
    if (parser.isSet(json)) {
        printJson({{QStringLiteral("name"), name},
                   {QStringLiteral("applied"), applied.contains(name)},
                   {QStringLiteral("numbers"), QJsonArray::fromStringList(numbers)}});
        return 0;
    }
    for (const QString& number : numbers)
        printOut(number);
    return 0;
}

} // namespace

int runExclusion(const QStringList& arguments) {
    // arguments: the program, "exclusion", then the subcommand and its own arguments.
    const QString sub = arguments.value(2);
    // The parser takes its first argument for the program: the command words stand there.
    QStringList rest = arguments.mid(2);
    if (!rest.isEmpty())
        rest.first() = QStringLiteral("exclusion ") + sub;
    if (sub == QLatin1String("import"))
        return runImport(rest);
    if (sub == QLatin1String("list"))
        return runList(rest);
    if (sub == QLatin1String("--help") || sub == QLatin1String("-h")) {
        printOut(kUsage + QLatin1Char('\n'));
        runImport({QStringLiteral("exclusion import"), QStringLiteral("--help")});
        printOut({});
        return runList({QStringLiteral("exclusion list"), QStringLiteral("--help")});
    }
    printErr((sub.isEmpty() ? QStringLiteral("bulksms exclusion: which command?\n")
                            : QStringLiteral("bulksms exclusion: unknown command \"%1\"\n").arg(sub)) +
             kUsage);
    return kExitUsage;
}
