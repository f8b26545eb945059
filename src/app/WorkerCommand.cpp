#include "WorkerCommand.h"

#include "CommandRun.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "SendDevices.h"
#include "ServeOptions.h"
#include "StopSignals.h"
#include "WorkerDevices.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "core/ReplyOptions.h"
#include "services/ReplyReader.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

using namespace std::chrono_literals;

namespace {

struct WorkerOptions {
    WorkerOptions() {
        parser.setApplicationDescription(QStringLiteral(
            "Takes up the queued campaigns of the store (bulksms campaign create, or a send that other\n"
            "senders may help) and sends their items through this computer's devices, beside any other\n"
            "sender of the same store: nobody is texted twice. Prints a line per recipient it sent, as send\n"
            "does. While it has nothing to send it reads the replies its devices received (every minute)\n"
            "and keeps them in the store, a line for each new one on standard error (with --json, an object\n"
            "with \"event\": \"received\" on standard output); it lets the devices go before each campaign.\n"
            "Ctrl-C stops it once the messages in its devices' hands are finished.\n"
            "Exit status: 0 when stopped or idle, 2 on bad usage or when no device can be used, 4 when the\n"
            "store could not be read or written."));
        parser.addHelpOption();
        parser.addOptions(
            {device, android, serial, allPhones, mode, untilIdle, json, noReceive, serve, takeNewDevices});
        parser.addOptions(api.all());
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
    const QCommandLineOption takeNewDevices = takeNewDevicesOption();
    const QCommandLineOption mode{QStringLiteral("mode"), QStringLiteral("Android: standard or classic."),
                                  QStringLiteral("mode"), QStringLiteral("standard")};
    const QCommandLineOption untilIdle{
        QStringLiteral("until-idle"),
        QStringLiteral("End once no campaign has anything waiting or in any sender's hands.")};
    const QCommandLineOption json{QStringLiteral("json"),
                                  QStringLiteral("One JSON line per recipient (and per new reply).")};
    const QCommandLineOption noReceive{QStringLiteral("no-receive"),
                                       QStringLiteral("Do not read replies while waiting for a campaign.")};
    const QCommandLineOption serve{
        QStringLiteral("serve"),
        QStringLiteral(
            "Serve the HTTP API too, as bulksms serve does (with its --listen, --tls-cert, --tls-key,\n"
            "--insecure-lan, --rate-limit and --max-body).")};
    const ServeOptions api;
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

QString changeName(OptOutWord change) {
    switch (change) {
    case OptOutWord::Stop: return QStringLiteral("stop");
    case OptOutWord::Start: return QStringLiteral("start");
    case OptOutWord::None: break;
    }
    return QStringLiteral("-");
}

void printReply(const ReplyReader::Reply& reply, bool json) {
    const ReceivedMessage& m = reply.message;
    const qint64 campaign = reply.stored.campaign;
    if (json) {
        printOut(QString::fromUtf8(
            QJsonDocument(QJsonObject{{"event", "received"},
                                      {"time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                                      {"id", reply.stored.id},
                                      {"sender", m.sender},
                                      {"number", reply.stored.number},
                                      {"campaign", campaign == 0 ? QJsonValue() : QJsonValue(campaign)},
                                      {"device", m.device},
                                      {"road", m.road},
                                      {"text", m.text},
                                      {"complete", m.complete},
                                      {"change", changeName(reply.stored.change)}})
                .toJson(QJsonDocument::Compact)));
        return;
    }
    QString text = m.text;
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
    printErr(
        QStringLiteral("Reply from %1 (%2)%3: %4")
            .arg(m.sender,
                 campaign == 0 ? QStringLiteral("no campaign") : QStringLiteral("campaign %1").arg(campaign),
                 reply.stored.change == OptOutWord::Stop    ? QStringLiteral(", opted out")
                 : reply.stored.change == OptOutWord::Start ? QStringLiteral(", opted back in")
                                                            : QString(),
                 text));
}

// The replies read while the worker waits: through the devices it would send with, chosen
// once a wait begins, let go before a campaign starts.
class IdleReplies {
public:
    IdleReplies(const WorkerOptions& o, Operator& op, const DataFolder& folder,
                std::shared_ptr<CampaignStore> store, QString road)
        : m_o(o), m_op(op), m_folder(folder), m_road(std::move(road)),
          m_reader(
              std::move(store),
              {[json = o.parser.isSet(o.json)](const ReplyReader::Reply& reply) { printReply(reply, json); },
               [](const QString& device, const QString& problem) {
                   printErr(QStringLiteral("Replies that reached %1 could not be kept (they stay on "
                                           "the device): %2")
                                .arg(device, problem));
               },
               [](const QString& device, const QString& why) {
                   printErr(device + QStringLiteral(": ") + why);
               }}) {}

    void whileWaiting() {
        if (m_chosen || m_o.parser.isSet(m_o.noReceive))
            return;
        m_chosen = true;
        RunSettings unused;
        QList<DeviceOpener> openers;
        const auto noRun = std::make_shared<std::function<void()>>();
        const std::optional<int> refused =
            m_road == kAndroidRoad
                ? choosePhone(m_op, m_folder,
                              PhonesAsked{m_o.parser.values(m_o.serial), m_o.parser.isSet(m_o.allPhones)},
                              m_o.parser.value(m_o.mode), unused, openers, noRun)
                : chooseModems(m_op, m_folder, m_o.parser.values(m_o.device), unused, openers);
        if (refused)
            printErr(QStringLiteral("Replies are not read while waiting: no device to read them with."));
        else
            m_reader.start(openers, m_road, replyRulesOf(readReplyOptions(m_folder)));
    }
    // The campaign's run opens the devices: the reading lets them go first.
    void beforeCampaign() {
        m_reader.stop();
        m_chosen = false;
    }

private:
    const WorkerOptions& m_o;
    Operator& m_op;
    const DataFolder& m_folder;
    const QString m_road;
    ReplyReader m_reader;
    bool m_chosen = false; // this wait's devices were chosen (or could not be)
};

// The API beside the sending, on the same store: what it queues, this worker sends. Null (and
// why told) when it cannot listen.
std::unique_ptr<ApiServer> startApi(const WorkerOptions& o, std::shared_ptr<CampaignStore> store,
                                    const DataFolder& folder) {
    QString why;
    const std::optional<ApiServerOptions> options = o.api.read(o.parser, &why);
    auto server = options ? std::make_unique<ApiServer>(std::move(store), folder, *options) : nullptr;
    if (!server || !server->start(&why)) {
        printErr(why);
        return nullptr;
    }
    printErr(QStringLiteral("Listening on %1").arg(server->address()));
    return server;
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
    std::unique_ptr<ApiServer> server;
    if (o.parser.isSet(o.serve) && !(server = startApi(o, store, folder)))
        return kExitUsage;
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
    // While it waits for a campaign, the devices it would send with are read for replies.
    IdleReplies replies(o, op, folder, store, road);
    while (!stopped) {
        const std::optional<CampaignToSend> next = nextCampaignToSend(*store, road, &why);
        if (!why.isEmpty()) {
            printErr(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        if (!next) {
            if (o.parser.isSet(o.untilIdle) && !anyInHand(*store, road))
                break;
            replies.whileWaiting();
            idle(stopped);
            continue;
        }
        replies.beforeCampaign();
        Campaign campaign{settingsOf(next->options, road), {}, 0, next->id};
        QList<DeviceOpener> openers;
        QList<StoredDevice> chosen;
        QList<SmsMode> modes;
        const auto stopRun = std::make_shared<std::function<void()>>();
        const std::optional<int> refused =
            road == kAndroidRoad
                ? choosePhone(op, folder, PhonesAsked{o.parser.values(o.serial), o.parser.isSet(o.allPhones)},
                              o.parser.value(o.mode), campaign.settings, openers, stopRun, &chosen)
                : chooseModems(op, folder, o.parser.values(o.device), campaign.settings, openers, &chosen,
                               nullptr, &modes);
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
        takeNewDevices(how, o.parser.isSet(o.takeNewDevices) && road != kAndroidRoad, folder, modes);
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
