// bulksms: the desktop application, or with a command ("send", "devices", "sent-items",
// "templates") the command-line tool.
#include "CommandLine.h"
#include "CommandLineStores.h"

#include <QCoreApplication>

#ifdef BULKSMS_GUI
#include "Desktop.h"
#endif

#include <cstdio>

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (arguments.size() == 2 && arguments.at(1) == QLatin1String("--version")) {
        std::printf("bulksms %s\n", BULKSMS_VERSION);
        return 0;
    }
    if (arguments.size() == 2 &&
        (arguments.at(1) == QLatin1String("--help") || arguments.at(1) == QLatin1String("-h"))) {
        std::printf("%s\n", commandUsage().toLocal8Bit().constData());
        return 0;
    }
    if (isCommandLine(arguments)) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("bulksms"));
        return runCommandLine(arguments);
    }
#ifdef BULKSMS_GUI
    return runDesktop(argc, argv);
#else
    std::fprintf(stderr, "bulksms: this build has no windows.\n%s\n",
                 commandUsage().toLocal8Bit().constData());
    return 2;
#endif
}
