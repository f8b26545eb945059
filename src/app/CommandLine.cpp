#include "CommandLine.h"

#include "AppContext.h"
#include "CommandLineAndroid.h"
#include "CommandLineExclusion.h"
#include "CommandLineInputs.h"
#include "CommandLineStores.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "DevicesCommand.h"
#include "RunReport.h"
#include "SendOptions.h"
#include "StopSignals.h"
#include "TestDeviceCommand.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "core/MainWindows.h"
#include "core/SendingLock.h"
#include "delivery/DelaySchedule.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "list/DefaultCountry.h"
#include "list/LoadCounters.h"
#include "sending/ResumeRun.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "stores/ExportFile.h"
#include "stores/windows/ExportDialogs.h"
#include "text/NumberRules.h"
#include "text/SmsParts.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFile>
#include <QRegularExpression>
#include <QTimer>

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

// A service centre number: digits, with an optional "+" in front.
bool isServiceCentreNumber(const QString& number) {
    static const QRegularExpression pattern(QStringLiteral("^\\+?[0-9]{3,20}$"));
    return pattern.match(number).hasMatch();
}

struct Session {
    ConsoleOperator op;
    AppContext context{op, DataFolder::fromEnvironment()};
    // The default country is loaded by the windows as they open, then --country for this run.
    Bulk_SMSAppDelegate android{op, context.folder(), &context.country()};
    Gsm_Bulk_Sms_Wnd gsm{op, context.folder(), &context.country()};
    MainWindows windows{android, gsm};
    explicit Session(bool yes) : op(yes) {}
    const DataFolder& folder() const { return context.folder(); }
    bool launch() { return Launch_Application(op, context.folder(), windows); }
};

// Searches the attached modems (and BULKSMS_EXTRA_MODEMS) as the device window does.
void searchDevices(GSM_Device_List_Wnd& devices) {
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        devices.GetModemPath(iterator.paths);
}

CarriedRun& carriedRunOf(Session& session, bool throughAndroid) {
    return throughAndroid ? session.android.carriedRun() : session.gsm.carriedRun();
}

// Takes the data folder's sending lock, and settles a run that did not end: a new run never
// replaces its record unless told to discard it. An exit status when the command ends here.
std::optional<int> claimDataFolder(const DataFolder& folder, std::shared_ptr<SendingLock>& lock,
                                   bool resuming, bool discardUnfinished, const QString& road) {
    qint64 holder = 0;
    QString why;
    lock = SendingLock::acquire(folder, &holder, &why);
    if (!lock) {
        err(SendingLock::refusal(holder, why));
        return holder < 0 ? kExitDataNotWritten : RunReport::kAnotherSender;
    }
    QString unreadable;
    const std::optional<RunJournal::Unfinished> unfinished =
        resuming ? std::nullopt : RunJournal::load(folder, &unreadable, road);
    if (!unreadable.isEmpty()) {
        err(errorInFileAccessing(unreadable));
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
    RunJournal::discard(folder, road);
    err(QStringLiteral("The run that did not end %1 was discarded.").arg(counts));
    return std::nullopt;
}

// What one "bulksms send" works on, gathered step by step.
struct SendRun {
    SendRun(const SendOptions& o, Session& s)
        : options(o), session(s), throughAndroid(o.isSet(o.android)),
          road(throughAndroid ? kAndroidRoad : kGsmRoad) {}
    const SendOptions& options;
    Session& session;
    const bool throughAndroid;
    const QString road;
    QList<Recipient> raw;     // as given, before the list's filter
    QList<Recipient> refused; // with a default country: the number, and why it cannot exist
    int invalid = 0;
    LoadCounters counts; // what the list's filter made of them
    ResumePlan resumed;
    BulkSmsWindow& window() const {
        return throughAndroid ? static_cast<BulkSmsWindow&>(session.android) : session.gsm;
    }
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
    QString unreadable;
    const std::optional<RunJournal::Unfinished> unfinished =
        RunJournal::load(run.session.folder(), &unreadable, run.road);
    if (!unreadable.isEmpty()) {
        err(errorInFileAccessing(unreadable));
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
    for (const RunJournal::Entry& entry : resumed.carried + resumed.toSend)
        if (entry.unknown)
            err(QStringLiteral("%1\t%2: %3")
                    .arg(entry.number, RunJournal::kUnknown,
                         again ? QStringLiteral("sent again")
                               : QStringLiteral("--resend-unknown sends it again")));
    for (const RunJournal::Entry& entry : resumed.toSend)
        run.raw.append({entry.number, entry.message});
    if (!run.raw.isEmpty())
        return std::nullopt;
    RunJournal::discard(run.session.folder(), run.road);
    out(QStringLiteral("%1 of %2 recipients sent.").arg(resumed.sent).arg(resumed.total));
    return resumed.sent + resumed.unknown == resumed.total ? 0 : RunReport::kSomeFailed;
}

// Puts every valid recipient in the window's list, in the order given; names each one refused.
std::optional<int> fillList(SendRun& run, const NumberNormaliser& numbers) {
    BulkSmsWindow& window = run.window();
    QList<Recipient> valid;
    for (const Recipient& r : run.raw) {
        // A file's rejections are named by line ("line 3: ..."), so the operator can find them.
        const QString where = r.line > 0 ? QStringLiteral("line %1: ").arg(r.line) : QString();
        if (!r.rejected.isEmpty()) {
            err(where + r.rejected);
            ++run.invalid;
            continue;
        }
        const QString n = window.Num_Able_To_insert(r.number, run.counts);
        if (n.isEmpty()) {
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
        valid.append({n, r.message});
    }
    if (run.invalid > 0 && run.options.isSet(run.options.strict))
        return 2;
    BulkSmsWindow::BatchInsert batch(window);
    for (auto it = valid.crbegin(); it != valid.crend(); ++it)
        window.Create_Num_Msg_List(it->number, it->message); // the first given ends on top
    return std::nullopt;
}

// The window's options as the command asks: coding, type, filters, what is kept, retries, pauses.
std::optional<int> applyOptions(SendRun& run) {
    const SendOptions& o = run.options;
    BulkSmsWindow& window = run.window();
    window.setUnicode(o.isSet(o.unicode));
    window.setPlainPunctuation(o.isSet(o.plainPunctuation));
    window.setMessageTypeIndex(
        o.isSet(o.flash) ? int(BulkSmsWindow::messageTypes().indexOf(QStringLiteral("Notification"))) : 1);
    window.setSkipDuplicates(o.isSet(o.skip));
    if (!window.Exclusion_Chk(o.isSet(o.exclusion)))
        return kExitDataNotWritten; // the lists were named on standard error
    window.setSaveSentItems(o.isSet(o.saveSent));
    window.setSaveTemplates(o.isSet(o.saveTemplates));
    bool retriesOk = false;
    const int retryCount = o.value(o.retries).toInt(&retriesOk);
    if (!retriesOk || retryCount < 0 || retryCount > RunSettings::kMaxRetries) {
        err(QStringLiteral("--retries takes 0 to %1, not \"%2\"")
                .arg(RunSettings::kMaxRetries)
                .arg(o.value(o.retries)));
        return 2;
    }
    run.session.gsm.setRetries(retryCount);
    run.session.gsm.setDeliveryReports(o.isSet(o.deliveryReports));
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
    window.Delayed_Delivery_Chk(true);
    window.setDelayedCountChoice(count);
    window.setDelayedTimeChoice(length);
    return std::nullopt;
}

// The final list on standard output, each number with its fate; the cost on standard error.
int printDryRun(const SendRun& run, const NumberNormaliser& numbers) {
    BulkSmsWindow& window = run.window();
    QSet<QString> seen;
    int messages = 0, parts = 0, unicodeMessages = 0;
    for (const Record& r : window.list().records()) {
        const QString number = recipientNumber(r); // as it is sent
        QString fate = QStringLiteral("send");
        if (window.exclusion() && window.Check_Exclusion_Number(number))
            fate = QStringLiteral("excluded");
        else if (window.skipDuplicates() && seen.contains(number))
            fate = QStringLiteral("skipped");
        seen.insert(number);
        out(QStringLiteral("%1\t%2\t%3").arg(number, fate, r.value(kMessageKey)));
        if (fate != QLatin1String("send"))
            continue;
        const SmsParts::Cost cost =
            SmsParts::costOf(window.textAsSent(r.value(kMessageKey)), window.unicode());
        ++messages;
        parts += cost.parts;
        unicodeMessages += cost.coding == SmsCoding::Ucs2;
    }
    // With a default country the refused numbers follow, each with the reason.
    if (numbers.active())
        for (const Recipient& r : run.refused)
            out(QStringLiteral("%1\tinvalid: %2").arg(r.number, r.message));
    // The list stays alone on standard output, for scripts; the cost goes beside it.
    err(QStringLiteral("%1 messages to send in %2 SMS parts (%3 as Unicode); %4 rejected.")
            .arg(messages)
            .arg(parts)
            .arg(unicodeMessages)
            .arg(run.invalid));
    return 0;
}

// Applies one --device's settings ("mode=pdu", "smsc=+44...") to its row of the device list.
std::optional<int> applyDeviceSettings(GSM_Device_List_Wnd& devices, const QString& path,
                                       const QStringList& settings) {
    for (const QString& setting : settings) {
        if (setting == QLatin1String("mode=pdu"))
            devices.Update_Column_Value(path, kSmsModeKey, smsModeText(SmsMode::Pdu));
        else if (setting == QLatin1String("mode=text"))
            devices.Update_Column_Value(path, kSmsModeKey, smsModeText(SmsMode::Text));
        else if (setting.startsWith(QLatin1String("smsc=")) && isServiceCentreNumber(setting.mid(5)))
            devices.Set_SMSC_Use_Status(path, QStringLiteral("Y"), setting.mid(5));
        else if (setting.startsWith(QLatin1String("smsc="))) {
            err(QStringLiteral("Not a valid service centre number: %1").arg(setting.mid(5)));
            return 2;
        } else {
            err(QStringLiteral("Unknown device setting: %1").arg(setting));
            return 2;
        }
    }
    return std::nullopt;
}

// Searches the modems, applies each --device's settings, and selects them (every modem found
// without --device) as the device window does.
std::optional<int> selectModems(const SendOptions& o, Session& session) {
    GSM_Device_List_Wnd devices(session.op, session.gsm.selection());
    searchDevices(devices);
    QStringList wanted;
    for (const QString& deviceArgument : o.values(o.device)) {
        const QStringList parts = deviceArgument.split(QLatin1Char(','));
        const QString& path = parts.first();
        if (devices.rowOf(path) < 0) {
            err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(path));
            return 2;
        }
        if (const std::optional<int> refused = applyDeviceSettings(devices, path, parts.mid(1)))
            return refused;
        wanted << path;
    }
    if (wanted.isEmpty())
        for (const Record& r : devices.nsPortListData().records())
            wanted << r.value(kPortDetailKey);
    if (wanted.isEmpty()) {
        err(QStringLiteral("No device to send with."));
        return 2;
    }
    for (const QString& path : wanted)
        devices.setRowTicked(devices.rowOf(path), true);
    devices.beginModal();
    devices.Multi_Phone_Selected_Func();
    devices.waitForWorkers();
    if (!devices.isEnded()) {
        err(QStringLiteral("No device could be selected."));
        return 2;
    }
    session.gsm.applyDeviceSelection();
    return std::nullopt;
}

// Writes the run's report when --report asks for one.
std::optional<int> writeReport(const SendOptions& o, const ReportChoice& choice, const SMS_Sending& job) {
    QList<ReportItem> reported;
    for (const SendingItem& item : job.items().all())
        if (statusPassesFilter(item.status, choice.group))
            reported.append({item.number, item.message, item.currentStatus, item.status});
    QString why;
    if (!writeSendingReport(o.value(o.report), choice.format, reported, &why)) {
        err(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    err(QStringLiteral("Report written to %1").arg(o.value(o.report)));
    return std::nullopt;
}

// Sends the list through the selected modems, printing each result; the run's exit status.
int sendThroughModems(const SendOptions& o, const ReportChoice& report, Session& session) {
    Gsm_Bulk_Sms_Wnd& modems = session.gsm;
    modems.prev_composer_msg = modems.composerText(); // the message is already in every row
    RunReport results(modems.sendingJob(),
                      o.isSet(o.json) ? RunReport::Format::Json : RunReport::Format::Lines);
    StopSignals::install([&modems] {
        SMS_Sending& job = modems.sendingJob();
        if (!job.running() && !job.finished())
            return false; // not sending yet: the stop waits for the run
        job.stopNow();
        return true;
    });
    modems.Send_SMS_Btn();
    // The ports are checked and the job shown after Send returns: the events turn until it closed.
    QEventLoop sending;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &sending, [&] {
        if (!modems.sendingUnderWay())
            sending.quit();
    });
    poll.start(20);
    if (modems.sendingUnderWay())
        sending.exec();
    results.finish();
    if (o.isSet(o.report))
        if (const std::optional<int> failed = writeReport(o, report, modems.sendingJob()))
            return *failed;
    return results.exitStatus();
}

// Everything before the devices: the data folder claimed, the list filled, the options set.
std::optional<int> prepareSend(SendRun& run) {
    const SendOptions& o = run.options;
    if (o.isSet(o.resume))
        if (const std::optional<int> end = resumeUnfinished(run))
            return end;
    if (o.isSet(o.country) && !run.session.context.country().set(o.value(o.country))) {
        err(QStringLiteral("--country takes a region code such as GB, or none, not \"%1\"")
                .arg(o.value(o.country)));
        return 2;
    }
    const NumberNormaliser numbers = run.session.context.country().normaliser();
    // Only validity filters the list; duplicates and exclusions are marked by the run itself.
    if (const std::optional<int> end = fillList(run, numbers))
        return end;
    if (o.isSet(o.resume))
        carriedRunOf(run.session, run.throughAndroid).set(run.resumed.carried);
    if (run.window().list().isEmpty()) {
        err(QStringLiteral("No recipients."));
        return 2;
    }
    if (const std::optional<int> end = applyOptions(run))
        return end;
    if (o.isSet(o.dryRun))
        return printDryRun(run, numbers);
    return std::nullopt;
}

int runSend(const QStringList& arguments) {
    SendOptions o;
    if (const std::optional<int> end = parseCommandLine(o.parser, arguments.mid(1)))
        return *end;
    ReportChoice report;
    QList<Recipient> raw;
    if (const std::optional<int> end = readReportChoice(o, report))
        return *end;
    if (const std::optional<int> end = readRecipients(o, raw))
        return *end;

    Session session(o.isSet(o.yes));
    if (!session.launch())
        return 2;
    SendRun run(o, session);
    run.raw = raw;
    if (run.throughAndroid) // the shared filters and dialogs act on the Android window
        session.windows.setFront(MainWindowController::Kind::Android);
    if (o.isSet(o.resume) && o.isSet(o.discardUnfinished)) {
        err(QStringLiteral("--resume and --discard-unfinished exclude each other."));
        return 2;
    }
    // Held until this process ends: one sender per data folder, and the unfinished run's
    // record is looked at only by the process that may continue it.
    std::shared_ptr<SendingLock> sendingLock;
    if (!o.isSet(o.dryRun))
        if (const std::optional<int> refused = claimDataFolder(
                session.folder(), sendingLock, o.isSet(o.resume), o.isSet(o.discardUnfinished), run.road))
            return *refused;
    if (const std::optional<int> end = prepareSend(run))
        return *end;
    if (run.throughAndroid)
        return sendThroughAndroid(session.android, session.op, o.value(o.serial), o.value(o.mode));
    if (const std::optional<int> end = selectModems(o, session))
        return *end;
    return sendThroughModems(o, report, session);
}

} // namespace

bool isCommandLine(const QStringList& arguments) {
    // Any first word is a command (an unknown one gets the usage); options alone start the desktop.
    return arguments.size() > 1 && !arguments.at(1).startsWith(QLatin1Char('-'));
}

int runCommandLine(const QStringList& arguments) {
    // The modem traffic goes to the troubleshooting log; --verbose shows it here too.
    QStringList rest = arguments;
    setLogToStandardError(rest.removeAll(QStringLiteral("--verbose")) > 0);
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
    err(QStringLiteral("bulksms: unknown command \"%1\"\n").arg(command) + commandUsage());
    return 2;
}
