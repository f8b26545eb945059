#include "ServeCommand.h"

#include "CommandStore.h"
#include "ConsoleOutput.h"
#include "ServeOptions.h"
#include "StopSignals.h"
#include "campaigns/CampaignStore.h"
#include "core/FileUtils.h"

#include <QCommandLineParser>
#include <QCoreApplication>

int runServe(const QStringList& arguments) {
    ServeOptions options;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Serves the HTTP API on the campaign store: other programs create campaigns (a running bulksms\n"
        "worker, or the open desktop, sends them) and read what became of them. Requests carry a token\n"
        "of bulksms token create. The API is described at /v1/openapi.json. Ctrl-C stops it.\n"
        "Exit status: 0 when stopped, 2 on bad usage or when the address cannot be listened on, 4 when\n"
        "the store cannot be opened."));
    parser.addHelpOption();
    parser.addOptions(options.all());
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    QString why;
    const std::optional<ApiServerOptions> serverOptions = options.read(parser, &why);
    if (!serverOptions) {
        printErr(why);
        return kExitUsage;
    }
    const std::variant<CommandStore, int> opened = openCommandStore();
    if (const int* status = std::get_if<int>(&opened))
        return *status;
    ApiServer server(std::get<CommandStore>(opened).store, std::get<CommandStore>(opened).folder,
                     *serverOptions);
    if (!server.start(&why)) {
        printErr(why);
        return kExitUsage;
    }
    printErr(QStringLiteral("Listening on %1").arg(server.address()));
    StopSignals::install([] {
        QCoreApplication::quit();
        return true;
    });
    QCoreApplication::exec();
    server.stop();
    printErr(QStringLiteral("Stopped."));
    return 0;
}
