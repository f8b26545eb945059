#include "WorkerCommand.h"

#include "CommandRun.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "SendDevices.h"
#include "StopSignals.h"
#include "WorkerDevices.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Launch.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QTimer>

using namespace std::chrono_literals;

namespace {

struct WorkerOptions {
    WorkerOptions() {
        parser.setApplicationDescription(QStringLiteral(
            "Takes up the queued campaigns of the store (bulksms campaign create, or a send that other\n"
            "senders may help) and sends their items through this computer's devices, beside any other\n"
            "sender of the same store: nobody is texted twice. Prints a line per recipient it sent, as send\n"
            "does. Ctrl-C stops it once the messages in its devices' hands are finished.\n"
            "Exit status: 0 when stopped or idle, 2 on bad usage or when no device can be used, 4 when the\n"
            "store could not be read or written."));
        parser.addHelpOption();
        parser.addOptions({device, android, serial, allPhones, mode, untilIdle, json});
    }
    const QCommandLineOption device{
        QStringLiteral("device"),
        QStringLiteral(
            "A device path, with optional ,mode=pdu|text and ,smsc=NUMBER (repeatable; default every "
            "modem found)."),
        QStringLiteral("path")};
    const QCommandLineOption android{QStringLiteral("android"),
                                     QStringLiteral("Send the Android campaigns, through the phone (adb).")};
    const QCommandLineOption serial = serialOption();
    const QCommandLineOption allPhones = allPhonesOption();
    const QCommandLineOption mode{QStringLiteral("mode"), QStringLiteral("Android: standard or classic."),
                                  QStringLiteral("mode"), QStringLiteral("standard")};
    const QCommandLineOption untilIdle{
        QStringLiteral("until-idle"),
        QStringLiteral("End once no campaign has anything waiting or in any sender's hands.")};
    const QCommandLineOption json{QStringLiteral("json"), QStringLiteral("One JSON line per recipient.")};
    QCommandLineParser parser;
};

// Waits a prescribed while for work to come, the event loop turning (Ctrl-C is heard there).
void idle(const bool& stopped) {
    QEventLoop loop;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &loop, [&] {
        if (stopped)
            loop.quit();
    });
    tick.start(20);
    QTimer::singleShot(int(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::scaled(2s)).count()) +
                           1,
                       &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int runWorker(const QStringList& arguments) {
    WorkerOptions o;
    if (const std::optional<int> end = parseCommandLine(o.parser, arguments.mid(1)))
        return *end;
    ConsoleOperator op(true);
    const DataFolder folder = DataFolder::fromEnvironment();
    if (!openDataFolder(op, folder))
        return kExitUsage;
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    if (!store) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    const QString road = o.parser.isSet(o.android) ? kAndroidRoad : kGsmRoad;
    WorkerDevices devices(store, road);
    bool stopped = false;
    CampaignRun* current = nullptr;
    StopSignals::install([&] {
        stopped = true;
        if (current)
            current->run().stop();
        return true;
    });
    while (!stopped) {
        const std::optional<CampaignToSend> next = nextCampaignToSend(*store, road, &why);
        if (!why.isEmpty()) {
            printErr(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        if (!next) {
            if (o.parser.isSet(o.untilIdle) && !anyInHand(*store, road))
                break;
            idle(stopped);
            continue;
        }
        Campaign campaign{settingsOf(next->options, road), {}, 0, next->id};
        QList<DeviceOpener> openers;
        QList<StoredDevice> chosen;
        const auto stopRun = std::make_shared<std::function<void()>>();
        const std::optional<int> refused =
            road == kAndroidRoad
                ? choosePhone(op, folder, PhonesAsked{o.parser.values(o.serial), o.parser.isSet(o.allPhones)},
                              o.parser.value(o.mode), campaign.settings, openers, stopRun, &chosen)
                : chooseModems(op, folder, o.parser.values(o.device), campaign.settings, openers, &chosen);
        if (refused)
            return *refused;
        const DelaySchedule pauses = campaign.settings.schedule;
        printErr(QStringLiteral("Sending campaign %1.").arg(next->id));
        PauseCountdown pause(PauseCountdown::Variant::SendingJob, [](const QString&) {});
        CampaignRun run(folder, std::move(campaign), std::move(openers), op, pause, {});
        current = &run;
        *stopRun = [&run] { run.run().stop(); };
        devices.sending(chosen, next->id, pauses, run.run());
        CommandRunOptions how;
        how.format = o.parser.isSet(o.json) ? RunReport::Format::Json : RunReport::Format::Lines;
        how.scope = RunReport::Scope::Own;
        how.stopOnSignal = false; // the worker's own handler stops the run and the worker
        const int status = runCampaign(run, op, how);
        current = nullptr;
        devices.idle();
        if (status == kExitDataNotWritten)
            return status;
        if (run.run().startedDevices() == 0)
            idle(stopped); // its devices could not take it now: not straight back at them
    }
    return 0;
}
