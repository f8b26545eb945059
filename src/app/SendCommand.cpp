#include "SendCommand.h"

#include "CommandLineInputs.h"
#include "CommandLineStores.h"
#include "CommandRun.h"
#include "CommandTimes.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "SendDevices.h"
#include "SendOptions.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignResume.h"
#include "campaigns/CampaignStore.h"
#include "core/Counted.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "core/ReplyOptions.h"
#include "delivery/DelaySchedule.h"
#include "list/DefaultCountry.h"
#include "list/ListNumbers.h"
#include "list/LoadCounters.h"
#include "stores/ExportFile.h"
#include "text/NumberRules.h"
#include "text/SendWindow.h"
#include "text/SmsParts.h"

#include <QRegularExpression>

using namespace std::chrono_literals;

namespace {

void out(const QString& text) { printOut(text); }
void err(const QString& text) { printErr(text); }

// The entry of a drop-down list that reads as the text, spacing aside; "" when none does.
QString choiceMatching(const QStringList& entries, const QString& text) {
    for (const QString& entry : entries)
        if (entry.simplified() == text.simplified())
            return entry;
    return {};
}

QString simplifiedChoices(const QStringList& entries) {
    QStringList choices;
    for (const QString& entry : entries)
        choices << QLatin1Char('"') + entry.simplified() + QLatin1Char('"');
    return choices.join(QStringLiteral(", "));
}

// Settles a run that did not end (one that no living sender holds): a new run never replaces
// its record unless told to discard it. An exit status when the command ends here.
std::optional<int> settleUnfinished(const DataFolder& folder, bool resuming, bool discardUnfinished,
                                    const QString& road) {
    if (resuming)
        return std::nullopt;
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    const std::optional<UnfinishedCampaign> unfinished =
        store ? unfinishedCampaign(*store, CampaignStore::folderKey(folder), road, &why) : std::nullopt;
    if (!why.isEmpty()) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    if (!unfinished)
        return std::nullopt;
    const QString counts = QStringLiteral("(%1 of %2 sent)").arg(unfinished->sent()).arg(unfinished->total());
    if (!discardUnfinished) {
        err(QStringLiteral(
                "A run that did not end %1 is kept in the data folder: resume it with --resume, or "
                "discard it with --discard-unfinished.")
                .arg(counts));
        return 2;
    }
    if (!closeCampaign(*store, unfinished->id, QStringLiteral("cancelled"),
                       QStringLiteral("discarded by the operator"), &why)) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    err(QStringLiteral("The run that did not end %1 was discarded.").arg(counts));
    return std::nullopt;
}

// What one "bulksms send" works on, gathered step by step.
struct SendRun {
    SendRun(const SendOptions& o, ConsoleOperator& op_, const DataFolder& folder_, DefaultCountry& country_)
        : options(o), op(op_), folder(folder_), country(country_), throughAndroid(o.isSet(o.android)),
          road(throughAndroid ? kAndroidRoad : kGsmRoad) {}
    const SendOptions& options;
    ConsoleOperator& op;
    const DataFolder& folder;
    DefaultCountry& country;
    const bool throughAndroid;
    const QString road;
    QList<Recipient> raw;     // as given, before the list's filter
    QList<Recipient> refused; // with a default country: the number, and why it cannot exist
    int invalid = 0;
    LoadCounters counts; // what the list's filter made of them
    ResumePlan resumed;
    Campaign campaign; // the rows in the order given (each number as it is sent), and how they go
};

// What --report and --report-filter ask for.
struct ReportChoice {
    ExportFormat format = ExportFormat::Text;
    int group = 0; // statusPassesFilter's
};

// The report's file format and item group; an exit status when they are wrong.
std::optional<int> readReportChoice(const SendOptions& o, ReportChoice& choice) {
    choice.group = reportFilterOf(o.value(o.reportFilter));
    if (o.isSet(o.report) && !reportFormatOf(o.value(o.report), choice.format)) {
        err(QStringLiteral("The report file must end in .txt, .html or .xlsx: %1").arg(o.value(o.report)));
        return 2;
    }
    if (choice.group < 0) {
        err(QStringLiteral("--report-filter is all, sent or unsent."));
        return 2;
    }
    return std::nullopt;
}

// The message and the recipients as given (arguments, then the file's, in order).
std::optional<int> readRecipients(const SendOptions& o, QList<Recipient>& raw) {
    QString text = o.value(o.message);
    QString reason;
    if (o.isSet(o.messageFile) && !messageFromFile(o.value(o.messageFile), text, reason)) {
        err(reason);
        return 2;
    }
    // Never cut without a word: a message over the limit is refused whole.
    if (text.size() > kMaxMessageLength) {
        err(QStringLiteral("The message is %1 characters long; the limit is %2.")
                .arg(text.size())
                .arg(kMaxMessageLength));
        return 2;
    }
    for (const QString& number : o.values(o.to))
        raw.append({number, text});
    if (!o.isSet(o.numbersFile))
        return std::nullopt;
    WorkbookInput workbook;
    workbook.sheet = o.value(o.sheet).toInt();
    workbook.header = o.isSet(o.header);
    workbook.numberColumns = o.values(o.numberColumn);
    workbook.messageColumn = o.value(o.messageColumn);
    workbook.templateText = o.value(o.templateText);
    if (!recipientsFromFile(o.value(o.numbersFile), text, workbook, raw, reason)) {
        err(reason);
        return 2;
    }
    return std::nullopt;
}

// Takes up the run that did not end: its recipients still to send join the list. An exit status
// when there is nothing to take up, or nothing left to send.
std::optional<int> resumeUnfinished(SendRun& run) {
    const SendOptions& o = run.options;
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(run.folder, &why);
    const std::optional<UnfinishedCampaign> unfinished =
        store ? unfinishedCampaign(*store, CampaignStore::folderKey(run.folder), run.road, &why,
                                   o.value(o.campaign).toLongLong())
              : std::nullopt;
    if (!why.isEmpty()) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    if (!unfinished) {
        err(QStringLiteral("There is no unfinished run to resume."));
        return 2;
    }
    const bool again = o.isSet(o.resendUnknown);
    const ResumePlan& resumed = run.resumed = planResume(*unfinished, again);
    err(QStringLiteral("Resuming the unfinished run: %1 of %2 sent, %3 to send.")
            .arg(resumed.sent)
            .arg(resumed.total)
            .arg(resumed.toSend.size()));
    for (const UnfinishedCampaign::Entry& entry : resumed.carried + resumed.toSend)
        if (entry.unknown)
            err(QStringLiteral("%1\t%2: %3")
                    .arg(entry.number, kStatusUnknown,
                         again ? QStringLiteral("sent again")
                               : QStringLiteral("--resend-unknown sends it again")));
    for (const UnfinishedCampaign::Entry& entry : resumed.toSend)
        run.raw.append({entry.number, entry.message});
    if (!run.raw.isEmpty())
        return std::nullopt;
    if (!closeCampaign(*store, unfinished->id, QStringLiteral("finished"),
                       QStringLiteral("nothing was left to send"), &why)) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    out(QStringLiteral("%1 of %2 sent.")
            .arg(localNumber(resumed.sent),
                 counted(resumed.total, QStringLiteral("recipient"), QStringLiteral("recipients"))));
    return resumed.sent + resumed.unknown == resumed.total ? 0 : RunReport::kSomeFailed;
}

// Puts every valid recipient in the campaign, in the order given; names each one refused.
std::optional<int> fillList(SendRun& run, const NumberNormaliser& numbers) {
    for (const Recipient& r : run.raw) {
        // A file's rejections are named by line ("line 3: ..."), so the operator can find them.
        const QString where = r.line > 0 ? QStringLiteral("line %1: ").arg(r.line) : QString();
        if (!r.rejected.isEmpty()) {
            err(where + r.rejected);
            ++run.invalid;
            continue;
        }
        const std::optional<AcceptedNumber> n = acceptNumber(r.number, numbers, run.counts);
        if (!n) {
            const QString written = r.number.trimmed();
            const QString why = numbers.active() ? numbers.refusalOf(r.number) : QString();
            err(where + (why.isEmpty()
                             ? QStringLiteral("Not a valid phone number: %1").arg(written)
                             : QStringLiteral("Not a valid phone number: %1 (%2)").arg(written, why)));
            run.refused.append({written, why});
            ++run.invalid;
            continue;
        }
        if (r.message.size() > kMaxMessageLength) {
            err(QStringLiteral("The message for %1 is %2 characters long; the limit is %3.")
                    .arg(r.number.trimmed())
                    .arg(r.message.size())
                    .arg(kMaxMessageLength));
            return 2;
        }
        run.campaign.rows.append({n->e164.isEmpty() ? n->written : n->e164, r.message});
    }
    if (run.invalid > 0 && run.options.isSet(run.options.strict))
        return 2;
    return std::nullopt;
}

// The numbers of the applied exclusion lists, in the form the rows are sent in.
std::optional<int> readExclusions(SendRun& run, const NumberNormaliser& numbers) {
    QString why;
    const std::optional<QStringList> listed = appliedExclusionNumbers(run.folder, why);
    if (!listed) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    for (const QString& number : *listed) {
        const QString e164 = numbers.active() ? numbers.normalise(number).e164 : QString();
        run.campaign.settings.excludedNumbers.insert(e164.isEmpty() ? number : e164);
    }
    return std::nullopt;
}

// A pause as --pause-every and --pause-for ask, in the window's own entries.
std::optional<int> readPause(SendRun& run) {
    const SendOptions& o = run.options;
    if (!o.isSet(o.pauseEvery) && !o.isSet(o.pauseFor))
        return std::nullopt;
    // The window's own entries, whatever the spacing typed ("5 Seconds" is "5  Seconds").
    const QString count = choiceMatching(delayedCountEntries(), o.value(o.pauseEvery));
    const QString length = choiceMatching(delayedTimeEntries(), o.value(o.pauseFor));
    if (count.isEmpty() || length.isEmpty()) {
        err(QStringLiteral("A pause needs --pause-every (one of %1) and --pause-for (one of %2).")
                .arg(simplifiedChoices(delayedCountEntries()), simplifiedChoices(delayedTimeEntries())));
        return 2;
    }
    run.campaign.settings.schedule = parseDelaySchedule(true, count, length);
    return std::nullopt;
}

// The recipients' hours (--window, --window-zone) and the end time (--until).
std::optional<int> readSendWindow(const SendOptions& o, RunSettings& s) {
    if (o.isSet(o.window)) {
        QString why;
        const std::optional<SendWindow> window = SendWindow::parse(o.value(o.window), &why);
        if (!window) {
            err(QStringLiteral("--window: %1").arg(why));
            return 2;
        }
        s.sendWindow = window->text();
    }
    if (o.isSet(o.windowZone)) {
        if (s.sendWindow.isEmpty()) {
            err(QStringLiteral("--window-zone goes with --window."));
            return 2;
        }
        if (const QString why = zoneRefusal(o.value(o.windowZone)); !why.isEmpty()) {
            err(QStringLiteral("--window-zone: %1").arg(why));
            return 2;
        }
        s.windowZone = o.value(o.windowZone);
    }
    if (o.isSet(o.until)) {
        s.until = timeOf(o.value(o.until));
        if (s.until == 0) {
            err(QStringLiteral("--until takes a time such as \"2026-11-27 18:00\", not \"%1\".")
                    .arg(o.value(o.until)));
            return 2;
        }
    }
    return std::nullopt;
}

// The limits per SIM or phone, and the random rest between messages.
std::optional<int> readDeviceLimits(const SendOptions& o, DeviceLimits& limits) {
    for (const auto& [option, limit] :
         {std::pair{&o.perMinute, &limits.perMinute}, std::pair{&o.perHour, &limits.perHour},
          std::pair{&o.perDay, &limits.perDay}}) {
        if (!o.isSet(*option))
            continue;
        bool ok = false;
        *limit = o.value(*option).toInt(&ok);
        if (!ok || *limit < 1) {
            err(QStringLiteral("--%1 takes a number of messages from 1, not \"%2\".")
                    .arg(option->names().first(), o.value(*option)));
            return 2;
        }
    }
    if (o.isSet(o.randomGap)) {
        static const QRegularExpression range(QStringLiteral("^(\\d{1,4})-(\\d{1,4})$"));
        const QRegularExpressionMatch m = range.match(o.value(o.randomGap).trimmed());
        limits.gapMin = m.hasMatch() ? m.captured(1).toInt() : -1;
        limits.gapMax = m.hasMatch() ? m.captured(2).toInt() : -1;
        if (!m.hasMatch() || limits.gapMax < limits.gapMin) {
            err(QStringLiteral("--random-gap takes MIN-MAX seconds such as \"5-20\", not \"%1\".")
                    .arg(o.value(o.randomGap)));
            return 2;
        }
    }
    return std::nullopt;
}

// How the run goes, as the options ask: coding, type, filters, what is kept, retries, pauses.
std::optional<int> applyOptions(SendRun& run, const NumberNormaliser& numbers) {
    const SendOptions& o = run.options;
    RunSettings& s = run.campaign.settings;
    bool retriesOk = false;
    s.retries = o.value(o.retries).toInt(&retriesOk);
    if (!retriesOk || s.retries < 0 || s.retries > RunSettings::kMaxRetries) {
        err(QStringLiteral("--retries takes 0 to %1, not \"%2\"")
                .arg(RunSettings::kMaxRetries)
                .arg(o.value(o.retries)));
        return 2;
    }
    s.road = run.road;
    s.skipDuplicates = o.isSet(o.skip);
    s.exclusion = o.isSet(o.exclusion);
    if (s.exclusion)
        if (const std::optional<int> end = readExclusions(run, numbers))
            return end;
    s.saveSentItems = o.isSet(o.saveSent);
    s.saveTemplates = o.isSet(o.saveTemplates);
    if (const std::optional<int> end = readSendWindow(o, s))
        return end;
    if (const std::optional<int> end = readDeviceLimits(o, s.limits))
        return end;
    s.footer = o.value(o.footer).trimmed();
    if (s.footer.size() > ReplyOptions::kMaxFooterLength) {
        err(QStringLiteral("--footer takes at most %1 characters.").arg(ReplyOptions::kMaxFooterLength));
        return 2;
    }
    run.campaign.resumes = run.resumed.campaign;
    if (run.throughAndroid) {
        // The phone chooses the coding.
        s.sentItemsPath = run.folder.SentItemAnd_File_Path();
    } else {
        s.unicode = o.isSet(o.unicode);
        s.plainPunctuation = o.isSet(o.plainPunctuation);
        s.flash = o.isSet(o.flash);
        s.deliveryReports = o.isSet(o.deliveryReports);
        s.sentItemsPath = run.folder.SentItem_File_Path();
        s.openingGap = 2s; // modems wake one after another
    }
    return readPause(run);
}

// The final list on standard output, each number with its fate; the cost on standard error.
int printDryRun(const SendRun& run, const NumberNormaliser& numbers) {
    const RunSettings& s = run.campaign.settings;
    QSet<QString> seen;
    int messages = 0, parts = 0, unicodeMessages = 0;
    for (const auto& [number, message] : run.campaign.rows) {
        QString fate = QStringLiteral("send");
        if (s.exclusion && s.excludedNumbers.contains(number))
            fate = QStringLiteral("excluded");
        else if (s.skipDuplicates && seen.contains(number))
            fate = QStringLiteral("skipped");
        seen.insert(number);
        out(QStringLiteral("%1\t%2\t%3").arg(number, fate, message));
        if (fate != QLatin1String("send"))
            continue;
        const QString asSent = outgoingMessage(number, message, s).text;
        const SmsParts::Cost cost = SmsParts::costOf(asSent, s.unicode);
        ++messages;
        parts += cost.parts;
        unicodeMessages += cost.coding == SmsCoding::Ucs2;
    }
    // With a default country the refused numbers follow, each with the reason.
    if (numbers.active())
        for (const Recipient& r : run.refused)
            out(QStringLiteral("%1\tinvalid: %2").arg(r.number, r.message));
    // The list stays alone on standard output, for scripts; the cost goes beside it.
    err(QStringLiteral("%1 to send in %2 (%3 as Unicode); %4 rejected.")
            .arg(counted(messages, QStringLiteral("message"), QStringLiteral("messages")),
                 counted(parts, QStringLiteral("SMS part"), QStringLiteral("SMS parts")),
                 localNumber(unicodeMessages), localNumber(run.invalid)));
    return 0;
}

// Everything before the devices: the list filled, the options read.
std::optional<int> prepareSend(SendRun& run) {
    const SendOptions& o = run.options;
    if (o.isSet(o.resume))
        if (const std::optional<int> end = resumeUnfinished(run))
            return end;
    if (o.isSet(o.country) && !run.country.set(o.value(o.country))) {
        err(QStringLiteral("--country takes a region code such as GB, or none, not \"%1\"")
                .arg(o.value(o.country)));
        return 2;
    }
    const NumberNormaliser numbers = run.country.normaliser();
    run.campaign.settings.country = numbers.region();
    // Only validity filters the list; duplicates and exclusions are marked by the run itself.
    if (const std::optional<int> end = fillList(run, numbers))
        return end;
    if (run.campaign.rows.isEmpty()) {
        err(QStringLiteral("No recipients."));
        return 2;
    }
    if (const std::optional<int> end = applyOptions(run, numbers))
        return end;
    if (o.isSet(o.dryRun))
        return printDryRun(run, numbers);
    return std::nullopt;
}

// A list of blank messages goes out only when the operator agrees (through a phone, never).
bool blankMessagesAccepted(const SendRun& run) {
    for (const auto& row : run.campaign.rows)
        if (!row.second.isEmpty())
            return true;
    if (run.throughAndroid) {
        run.op.Show_MessageBox(kBlankListRefusal);
        return false;
    }
    return run.op.Show_YES_NO_MessageBox(kBlankListQuestion);
}

// The devices chosen, opened by the run: the modems found (those of --device), or the phone.
std::optional<int> chooseDevices(SendRun& run, QList<DeviceOpener>& openers,
                                 std::shared_ptr<std::function<void()>> stopRun, QList<SmsMode>& modes) {
    const SendOptions& o = run.options;
    if (!run.throughAndroid)
        return chooseModems(run.op, run.folder, o.values(o.device), run.campaign.settings, openers, nullptr,
                            &run.campaign.rows, &modes);
    return choosePhone(run.op, run.folder, PhonesAsked{o.values(o.serial), o.isSet(o.allPhones)},
                       o.value(o.mode), run.campaign.settings, openers, std::move(stopRun));
}

// Creates the campaign in the store, waiting for any sender (from its start time, with --at),
// and prints its id.
int queueCampaign(SendRun& run) {
    const SendOptions& o = run.options;
    const qint64 startAt = o.isSet(o.at) ? timeOf(o.value(o.at)) : 0;
    if (o.isSet(o.at) && startAt == 0) {
        err(QStringLiteral(
                "--at takes a time such as \"2026-11-26 09:00\" or \"2026-11-26T09:00+01:00\", not "
                "\"%1\".")
                .arg(o.value(o.at)));
        return kExitUsage;
    }
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(run.folder, &why);
    const QList<SendingItem> items = loadItems(run.campaign.rows, run.campaign.settings);
    const qint64 id =
        store ? createCampaign(*store,
                               {CampaignStore::folderKey(run.folder), run.road,
                                optionsOf(run.campaign.settings), QStringLiteral("queued"), 0, startAt},
                               items, &why)
              : 0;
    if (id == 0) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    if (run.options.isSet(run.options.json))
        printOut(QStringLiteral("{\"campaign\":%1,\"recipients\":%2}").arg(id).arg(items.size()));
    else
        printOut(QString::number(id));
    const QString recipients =
        counted(items.size(), QStringLiteral("recipient"), QStringLiteral("recipients"));
    if (startAt > CampaignStore::now())
        err(QStringLiteral("Campaign %1 scheduled for %2: %3. A running bulksms worker or the open desktop "
                           "sends it then.")
                .arg(id)
                .arg(timeText(startAt), recipients));
    else
        err(QStringLiteral("Campaign %1 queued: %2.").arg(id).arg(recipients));
    return 0;
}

} // namespace

int runSend(const QStringList& arguments, SendMode mode) {
    SendOptions o;
    if (const std::optional<int> end = parseCommandLine(o.parser, arguments.mid(1)))
        return *end;
    ReportChoice report;
    QList<Recipient> raw;
    if (const std::optional<int> end = readReportChoice(o, report))
        return *end;
    if (const std::optional<int> end = readRecipients(o, raw))
        return *end;
    if (o.isSet(o.campaign) && (!o.isSet(o.resume) || o.value(o.campaign).toLongLong() <= 0)) {
        err(QStringLiteral("--campaign takes the id of an unfinished campaign, with --resume."));
        return 2;
    }
    if (o.isSet(o.resume) && o.isSet(o.discardUnfinished)) {
        err(QStringLiteral("--resume and --discard-unfinished exclude each other."));
        return 2;
    }

    ConsoleOperator op(o.isSet(o.yes));
    const DataFolder folder = DataFolder::fromEnvironment();
    if (!openDataFolder(op, folder))
        return 2;
    DefaultCountry country;
    country.load(folder);
    SendRun run(o, op, folder, country);
    run.raw = raw;
    if (!o.isSet(o.dryRun) && mode == SendMode::Send && !o.isSet(o.at))
        if (const std::optional<int> refused =
                settleUnfinished(folder, o.isSet(o.resume), o.isSet(o.discardUnfinished), run.road))
            return *refused;
    if (const std::optional<int> end = prepareSend(run))
        return *end;
    if (!blankMessagesAccepted(run))
        return RunReport::kNothingSent;
    if (mode == SendMode::Queue || o.isSet(o.at))
        return queueCampaign(run);
    QList<DeviceOpener> openers;
    const auto stopRun = std::make_shared<std::function<void()>>();
    QList<SmsMode> modes;
    if (const std::optional<int> end = chooseDevices(run, openers, stopRun, modes))
        return *end;
    PauseCountdown pause(PauseCountdown::Variant::SendingJob, [](const QString&) {});
    CampaignRun campaign(folder, std::move(run.campaign), std::move(openers), op, pause, {});
    *stopRun = [&campaign] { campaign.run().stop(); };
    CommandRunOptions how;
    how.format = o.isSet(o.json) ? RunReport::Format::Json : RunReport::Format::Lines;
    how.reportPath = o.value(o.report);
    how.reportFormat = report.format;
    how.reportGroup = report.group;
    takeNewDevices(how, o.isSet(o.takeNewDevices) && !run.throughAndroid, folder, modes);
    return runCampaign(campaign, op, how);
}
