#include "CommandLine.h"
#include "CampaignCommand.h"

#include "CommandLineExclusion.h"
#include "CommandLineStores.h"
#include "ConsoleOutput.h"
#include "DatabaseOption.h"
#include "DevicesCommand.h"
#include "RepliesCommand.h"
#include "SendCommand.h"
#include "ServeCommand.h"
#include "TestDeviceCommand.h"
#include "TokenCommand.h"
#include "WebhooksCommand.h"
#include "WorkerCommand.h"
#include "core/Log.h"

bool isCommandLine(const QStringList& arguments) {
    // Any first word is a command (an unknown one gets the usage); options alone start the desktop.
    return arguments.size() > 1 && !arguments.at(1).startsWith(QLatin1Char('-'));
}

int runCommandLine(const QStringList& arguments) {
    // The modem traffic goes to the troubleshooting log; --verbose shows it here too.
    QStringList rest = arguments;
    setLogToStandardError(rest.removeAll(QStringLiteral("--verbose")) > 0);
    adoptDatabaseOption(rest);
    const QString command = rest.at(1);
    if (command == QLatin1String("send"))
        return runSend(rest);
    if (command == QLatin1String("devices"))
        return runDevices(rest);
    if (command == QLatin1String("sent-items"))
        return runSentItems(rest);
    if (command == QLatin1String("templates"))
        return runTemplates(rest);
    if (command == QLatin1String("test-device"))
        return runTestDevice(rest);
    if (command == QLatin1String("exclusion"))
        return runExclusion(rest);
    if (command == QLatin1String("campaign"))
        return runCampaignCommand(rest);
    if (command == QLatin1String("worker"))
        return runWorker(rest);
    if (command == QLatin1String("inbox"))
        return runInbox(rest);
    if (command == QLatin1String("opt-out"))
        return runOptOut(rest);
    if (command == QLatin1String("serve"))
        return runServe(rest);
    if (command == QLatin1String("token"))
        return runToken(rest);
    if (command == QLatin1String("webhooks"))
        return runWebhooks(rest);
    printErr(QStringLiteral("bulksms: unknown command \"%1\"\n").arg(command) + commandUsage());
    return 2;
}
