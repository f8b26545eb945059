#include "CommandRun.h"

#include "ConsoleOutput.h"
#include "StopSignals.h"
#include "core/FileUtils.h"
#include "core/Operator.h"
#include "gsm/ModemHotplug.h"
#include "sending/ItemReport.h"
#include "services/NewModemIntake.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <unistd.h>

namespace {

// "3 / 10 Message or 30.00%", as the job window counts: a bar redrawn in place on a
// terminal, a line per step otherwise.
class ProgressLines {
public:
    explicit ProgressLines(int total) : m_total(total), m_terminal(::isatty(STDERR_FILENO) == 1) {}
    ~ProgressLines() {
        if (m_terminal && m_shown)
            std::fprintf(stderr, "\n");
    }
    void finished() {
        if (m_total <= 0)
            return;
        const int current = qBound(1, ++m_done, m_total);
        const int percent = current * 100 / m_total;
        const QString text = QStringLiteral("%1 / %2 Message or %3%")
                                 .arg(current)
                                 .arg(m_total)
                                 .arg(QString::number(percent, 'f', 2));
        m_shown = true;
        if (!m_terminal) {
            printErr(text);
            return;
        }
        constexpr int kWidth = 30;
        const int filled = kWidth * current / m_total;
        const QString bar = QStringLiteral("[") + QString(filled, u'#') + QString(kWidth - filled, u'.') +
                            QStringLiteral("] ");
        std::fprintf(stderr, "\r%s%s   ", bar.toLocal8Bit().constData(), text.toLocal8Bit().constData());
    }

private:
    const int m_total;
    const bool m_terminal;
    int m_done = 0;
    bool m_shown = false;
};

// What the job window says at the run's end.
QString endWords(const SendingRun& run) {
    if (const QString failure = run.dataFailure(); !failure.isEmpty())
        // What was written stays: once the disk has room, a resume sends the rest and nobody twice.
        return failure + QStringLiteral("\n\nNothing more was sent. Once the data can be written again, "
                                        "resume the run to send the rest.");
    return run.stopRequested() ? QStringLiteral("SMS Sending process is stopped")
                               : QStringLiteral("SMS Sending process is finished.");
}

// Writes the run's report; an exit status when it could not be written.
std::optional<int> writeReport(const SendingRun& run, const CommandRunOptions& options) {
    QList<ReportItem> reported;
    for (const SendingItem& item : run.record().all())
        if (statusPassesFilter(item.status, options.reportGroup))
            reported.append(reportItemOf(item));
    QString why;
    if (!writeSendingReport(options.reportPath, options.reportFormat, reported, &why)) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    printErr(QStringLiteral("Report written to %1").arg(options.reportPath));
    return std::nullopt;
}

} // namespace

SmsMode runModeOf(const QList<SmsMode>& modes) {
    if (modes.isEmpty() || modes.count(modes.first()) != modes.size())
        return SmsMode::Unknown;
    return modes.first();
}

void takeNewDevices(CommandRunOptions& how, bool asked, const DataFolder& folder,
                    const QList<SmsMode>& modes) {
    how.takeNewDevices = asked;
    if (asked) {
        how.keptSettings = DeviceSettingsMemory(folder).read();
        how.runMode = runModeOf(modes);
    }
}

int runCampaign(CampaignRun& campaign, Operator& op, const CommandRunOptions& options) {
    SendingRun& run = campaign.run();
    RunReport results(run, options.format, options.scope);
    std::optional<ProgressLines> progress;
    QEventLoop ended;
    QObject::connect(&run, &SendingRun::loaded, &ended, [&progress, &run](const QList<SendingItem>& items) {
        // A campaign taken up from the store loads nothing: its size is the store's.
        progress.emplace(items.isEmpty() ? run.record().size() : int(items.size()));
    });
    QObject::connect(&run, &SendingRun::itemChanged, &ended,
                     [&progress](int, const SendingItem&, bool counted) {
                         if (counted && progress)
                             progress->finished();
                     });
    QObject::connect(&run, &SendingRun::devicesReleased, &ended, &QEventLoop::quit);
    // Modems plugged in while it sends are handed to the run, each told in one line.
    std::optional<NewModemIntake> intake;
    std::optional<ModemHotplug> plugging;
    if (options.takeNewDevices) {
        intake.emplace(run, options.keptSettings, options.runMode,
                       [json = options.format == RunReport::Format::Json](const QString& line) {
                           if (json)
                               printOut(QString::fromUtf8(
                                   QJsonDocument(QJsonObject{{"event", "device-taken"}, {"text", line}})
                                       .toJson(QJsonDocument::Compact)));
                           else
                               printErr(line);
                       });
        plugging.emplace();
        QObject::connect(&*plugging, &ModemHotplug::plugged, &ended,
                         [&intake](const ModemPortGroups::Group& modem) { intake->take(modem); });
        QObject::connect(&*plugging, &ModemHotplug::storageMode, &ended,
                         [](const QString& line) { printErr(line); });
        plugging->start();
    }
    if (options.stopOnSignal)
        StopSignals::install([&run] {
            run.stop(); // as after Stop: the rest is marked, the record kept
            return true;
        });
    campaign.start();
    ended.exec();
    plugging.reset();
    intake.reset(); // before the run: nothing more joins it
    run.join();
    progress.reset();
    campaign.end();
    op.Show_MessageBox(endWords(run));
    results.finish();
    if (!options.reportPath.isEmpty())
        if (const std::optional<int> failed = writeReport(run, options))
            return *failed;
    return results.exitStatus();
}
