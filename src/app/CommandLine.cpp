#include "CommandLine.h"

#include "CommandLineAndroid.h"
#include "CommandLineExclusion.h"
#include "CommandLineInputs.h"
#include "CommandLineStores.h"
#include "CommandLineTest.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "RunReport.h"
#include "StopSignals.h"
#include "core/AppState.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "core/SendingLock.h"
#include "delivery/DelaySchedule.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "list/DefaultCountry.h"
#include "list/LoadCounters.h"
#include "sending/Bulk_SMSAppDelegate.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"
#include "sending/ResumeRun.h"
#include "sending/SMS_Sending.h"
#include "stores/ExportDialogs.h"
#include "stores/ExportFile.h"
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
    Bulk_SMSAppDelegate android{op};
    Gsm_Bulk_Sms_Wnd gsm{op};
    explicit Session(bool yes) : op(yes) {}
    bool launch() { return Launch_Application(op, android, gsm); }
};

// Searches the attached modems (and BULKSMS_EXTRA_MODEMS) as the device window does.
GSM_Device_List_Wnd& searchDevices(Operator& op) {
    GSM_Device_List_Wnd& devices = GSM_Device_List_Wnd::defaultInstance(op);
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        devices.GetModemPath(iterator.paths);
    return devices;
}

int runDevices(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Searches the GSM modems attached (and those named in "
                                                    "BULKSMS_EXTRA_MODEMS) and prints what each reports."));
    parser.addHelpOption();
    const QCommandLineOption android(
        QStringLiteral("android"),
        QStringLiteral("List the Android phones adb sees, with their properties."));
    const QCommandLineOption serial(QStringLiteral("serial"), QStringLiteral("Android: only this phone."),
                                    QStringLiteral("serial"));
    parser.addOptions({android, serial});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    Session session(false);
    if (!session.launch())
        return 2;
    if (parser.isSet(android))
        return listAndroidDevices(parser.value(serial));
    const RecordTable& list = searchDevices(session.op).nsPortListData();
    for (const Record& r : list.records())
        out(QStringLiteral("%1\tmaker: %2\tmodel: %3\tIMEI: %4\tsignal: %5\tbattery: %6\toperator: %7\tSMSC: "
                           "%8\tmodes: %9")
                .arg(r.value(kPortDetailKey), r.value(kManufacturerKey), r.value(kModelKey),
                     r.value(kImeiKey), r.value(kSignalKey), r.value(kBatteryKey),
                     r.value(kNetworkOperatorKey), r.value(kDefaultSmscKey), r.value(kSupportedSmsModesKey)));
    return list.isEmpty() ? 1 : 0;
}

CarriedRun& carriedRunOf(Session& session, bool throughAndroid) {
    return throughAndroid ? session.android.carriedRun() : session.gsm.carriedRun();
}

// Takes the data folder's sending lock, and settles a run that did not end: a new run never
// replaces its record unless told to discard it. An exit status when the command ends here.
std::optional<int> claimDataFolder(std::shared_ptr<SendingLock>& lock, bool resuming, bool discardUnfinished,
                                   const QString& road) {
    qint64 holder = 0;
    QString why;
    lock = SendingLock::acquire(&holder, &why);
    if (!lock) {
        err(SendingLock::refusal(holder, why));
        return holder < 0 ? kExitDataNotWritten : RunReport::kAnotherSender;
    }
    QString unreadable;
    const std::optional<RunJournal::Unfinished> unfinished =
        resuming ? std::nullopt : RunJournal::load(&unreadable, road);
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
    RunJournal::discard(road);
    err(QStringLiteral("The run that did not end %1 was discarded.").arg(counts));
    return std::nullopt;
}

int runSend(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Sends one message to every recipient through GSM modems, as the GSM window does.\n"
        "Devices are given by path; each may carry its mode and a custom service centre:\n"
        "  --device /dev/ttyUSB0,mode=text,smsc=+447700900123\n"
        "Without --device every modem found is used (BULKSMS_EXTRA_MODEMS adds virtual ones).\n"
        "Exit status: 0 when everything sendable was sent (skipped and excluded numbers are no failures),\n"
        "1 when some failed, 2 on bad usage or input, 3 when nothing went out, 4 when sending stopped\n"
        "because data could not be written (the run's record, the sent items, the report) or a file\n"
        "of the data folder could not be read, 5 when another process is sending from this data folder.\n"
        "The log (every AT command and answer) goes to the troubleshooting log, Troubleshooting_Log.txt\n"
        "beside the data folder (private to the user); --verbose copies it to standard error too."));
    parser.addHelpOption();
    const QCommandLineOption to(QStringLiteral("to"), QStringLiteral("A recipient (repeatable)."),
                                QStringLiteral("number"));
    const QCommandLineOption numbersFile(
        QStringLiteral("numbers"),
        QStringLiteral("Recipients from a TXT, CSV or RTF file, or a workbook (XLSX, ODS, XML)."),
        QStringLiteral("file"));
    const QCommandLineOption sheet(QStringLiteral("sheet"),
                                   QStringLiteral("Workbook: the sheet to read (from 1)."),
                                   QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption header(QStringLiteral("header"),
                                    QStringLiteral("Workbook: the first row holds column titles."));
    const QCommandLineOption numberColumn(
        QStringLiteral("number-column"),
        QStringLiteral("Workbook: a column of numbers, by letters or title (repeatable; default A)."),
        QStringLiteral("column"));
    const QCommandLineOption messageColumn(QStringLiteral("message-column"),
                                           QStringLiteral("Workbook: each row's message from this column."),
                                           QStringLiteral("column"));
    const QCommandLineOption templateText(
        QStringLiteral("template"),
        QStringLiteral(
            "Workbook: each row's message from this text, <COL-n> replaced by the row's n-th cell."),
        QStringLiteral("text"));
    const QCommandLineOption message(QStringLiteral("message"), QStringLiteral("The message text."),
                                     QStringLiteral("text"));
    const QCommandLineOption messageFile(QStringLiteral("message-file"),
                                         QStringLiteral("The message text from a UTF-8 file."),
                                         QStringLiteral("file"));
    const QCommandLineOption device(
        QStringLiteral("device"),
        QStringLiteral("A device path, with optional ,mode=pdu|text and ,smsc=NUMBER (repeatable)."),
        QStringLiteral("path"));
    const QCommandLineOption unicode(QStringLiteral("unicode"), QStringLiteral("Send as Unicode."));
    const QCommandLineOption flash(QStringLiteral("flash"), QStringLiteral("Send as a flash message."));
    const QCommandLineOption retries(
        QStringLiteral("retries"),
        QStringLiteral("Further attempts for a message the network refused (default 1), on another device "
                       "where there is one."),
        QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption json(
        QStringLiteral("json"), QStringLiteral("Print one JSON line per recipient as its message finishes."));
    const QCommandLineOption strict(
        QStringLiteral("strict"),
        QStringLiteral("Refuse the whole run (exit status 2) when a number is invalid."));
    const QCommandLineOption resume(
        QStringLiteral("resume"),
        QStringLiteral("Go on with the run that did not end (its journal in the data "
                       "folder): who got a message is not sent to again."));
    const QCommandLineOption discardUnfinished(
        QStringLiteral("discard-unfinished"),
        QStringLiteral("Discard the record of the run that did not end, and send this run instead: its "
                       "recipients who were not sent yet will not be sent."));
    const QCommandLineOption resendUnknown(
        QStringLiteral("resend-unknown"),
        QStringLiteral(
            "With --resume: send again the messages that may have gone out when the run broke off."));
    const QCommandLineOption plainPunctuation(
        QStringLiteral("plain-punctuation"),
        QStringLiteral("Replace typographic quotes and dashes by plain ones (keeps texts in 7-bit)."));
    const QCommandLineOption skip(QStringLiteral("skip-duplicates"), QStringLiteral("Send a number once."));
    const QCommandLineOption exclusion(QStringLiteral("exclusion"),
                                       QStringLiteral("Leave out the applied exclusion lists' numbers."));
    const QCommandLineOption pauseEvery(QStringLiteral("pause-every"),
                                        QStringLiteral("Pause after every N messages."), QStringLiteral("N"));
    const QCommandLineOption pauseFor(
        QStringLiteral("pause-for"),
        QStringLiteral("Pause length, one of the window's entries (\"10 Seconds\", \"2 Minutes\", ...)."),
        QStringLiteral("length"));
    const QCommandLineOption saveSent(QStringLiteral("save-sent-items"),
                                      QStringLiteral("Log every message in the sent items."));
    const QCommandLineOption saveTemplates(QStringLiteral("save-templates"),
                                           QStringLiteral("Keep the message as a template."));
    const QCommandLineOption yes(QStringLiteral("yes"), QStringLiteral("Answer Yes to every question."));
    const QCommandLineOption dryRun(
        QStringLiteral("dry-run"),
        QStringLiteral("Print the final list without opening any device (and, on standard error, what "
                       "it costs in SMS parts)."));
    const QCommandLineOption report(
        QStringLiteral("report"),
        QStringLiteral("At the end, write the run's report (.txt, .html or .xlsx)."), QStringLiteral("file"));
    const QCommandLineOption reportFilter(
        QStringLiteral("report-filter"),
        QStringLiteral("The report's items: all, sent or unsent (default all)."), QStringLiteral("group"),
        QStringLiteral("all"));
    const QCommandLineOption country(
        QStringLiteral("country"),
        QStringLiteral("The country of numbers written without their code, for this run (a region code "
                       "such as GB, or none; default: the one chosen in the windows). Numbers are then "
                       "sent and compared in E.164, and numbers that cannot exist are refused."),
        QStringLiteral("code"));
    const QCommandLineOption android(
        QStringLiteral("android"),
        QStringLiteral("Send through the Android phone (adb) instead of GSM modems."));
    const QCommandLineOption serial(QStringLiteral("serial"),
                                    QStringLiteral("Android: the phone to use when several are attached."),
                                    QStringLiteral("serial"));
    const QCommandLineOption mode(
        QStringLiteral("mode"),
        QStringLiteral("Android: single-shot, standard or classic (default standard)."),
        QStringLiteral("mode"), QStringLiteral("standard"));
    parser.addOptions({to,
                       numbersFile,
                       sheet,
                       header,
                       numberColumn,
                       messageColumn,
                       templateText,
                       message,
                       messageFile,
                       device,
                       unicode,
                       flash,
                       skip,
                       exclusion,
                       pauseEvery,
                       pauseFor,
                       saveSent,
                       saveTemplates,
                       yes,
                       dryRun,
                       plainPunctuation,
                       retries,
                       json,
                       strict,
                       resume,
                       resendUnknown,
                       report,
                       reportFilter,
                       discardUnfinished});
    parser.addOptions({android, serial, mode, country});
    const QCommandLineOption deliveryReports(
        QStringLiteral("delivery-reports"),
        QStringLiteral("Ask the network for a delivery report of every message; each result waits for its "
                       "report (at most a minute after the last message)."));
    parser.addOption(deliveryReports);
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;

    ExportFormat reportFormat = ExportFormat::Text;
    const int reportGroup = reportFilterOf(parser.value(reportFilter));
    if (parser.isSet(report) && !reportFormatOf(parser.value(report), reportFormat)) {
        err(QStringLiteral("The report file must end in .txt, .html or .xlsx: %1").arg(parser.value(report)));
        return 2;
    }
    if (reportGroup < 0) {
        err(QStringLiteral("--report-filter is all, sent or unsent."));
        return 2;
    }

    QString text = parser.value(message);
    if (parser.isSet(messageFile)) {
        QString reason;
        if (!messageFromFile(parser.value(messageFile), text, reason)) {
            err(reason);
            return 2;
        }
    }
    // Never cut without a word: a message over the limit is refused whole.
    if (text.size() > kMaxMessageLength) {
        err(QStringLiteral("The message is %1 characters long; the limit is %2.")
                .arg(text.size())
                .arg(kMaxMessageLength));
        return 2;
    }
    QList<Recipient> raw;
    for (const QString& number : parser.values(to))
        raw.append({number, text});
    if (parser.isSet(numbersFile)) {
        WorkbookInput workbook;
        workbook.sheet = parser.value(sheet).toInt();
        workbook.header = parser.isSet(header);
        workbook.numberColumns = parser.values(numberColumn);
        workbook.messageColumn = parser.value(messageColumn);
        workbook.templateText = parser.value(templateText);
        QString reason;
        if (!recipientsFromFile(parser.value(numbersFile), text, workbook, raw, reason)) {
            err(reason);
            return 2;
        }
    }

    Session session(parser.isSet(yes));
    if (!session.launch())
        return 2;
    const bool throughAndroid = parser.isSet(android);
    if (throughAndroid)
        gsm_and_none = 2; // the shared filters and dialogs act on the Android window
    BulkSmsWindow& gsm = throughAndroid ? static_cast<BulkSmsWindow&>(session.android) : session.gsm;
    const QString road = throughAndroid ? kAndroidRoad : kGsmRoad;
    ResumePlan resumed;
    if (parser.isSet(resume) && parser.isSet(discardUnfinished)) {
        err(QStringLiteral("--resume and --discard-unfinished exclude each other."));
        return 2;
    }
    // Held until this process ends: one sender per data folder, and the unfinished run's
    // record is looked at only by the process that may continue it.
    std::shared_ptr<SendingLock> sendingLock;
    if (!parser.isSet(dryRun)) {
        if (const std::optional<int> refused =
                claimDataFolder(sendingLock, parser.isSet(resume), parser.isSet(discardUnfinished), road))
            return *refused;
    }
    if (parser.isSet(resume)) {
        QString unreadable;
        const std::optional<RunJournal::Unfinished> unfinished = RunJournal::load(&unreadable, road);
        if (!unreadable.isEmpty()) {
            err(errorInFileAccessing(unreadable));
            return kExitDataNotWritten;
        }
        if (!unfinished) {
            err(QStringLiteral("There is no unfinished run to resume."));
            return 2;
        }
        resumed = planResume(*unfinished, parser.isSet(resendUnknown));
        err(QStringLiteral("Resuming the unfinished run: %1 of %2 sent, %3 to send.")
                .arg(resumed.sent)
                .arg(resumed.total)
                .arg(resumed.toSend.size()));
        const bool again = parser.isSet(resendUnknown);
        for (const RunJournal::Entry& entry : resumed.carried + resumed.toSend)
            if (entry.unknown)
                err(QStringLiteral("%1\t%2: %3")
                        .arg(entry.number, RunJournal::kUnknown,
                             again ? QStringLiteral("sent again")
                                   : QStringLiteral("--resend-unknown sends it again")));
        for (const RunJournal::Entry& entry : resumed.toSend)
            raw.append({entry.number, entry.message});
        if (raw.isEmpty()) {
            RunJournal::discard(road);
            out(QStringLiteral("%1 of %2 recipients sent.").arg(resumed.sent).arg(resumed.total));
            return resumed.sent + resumed.unknown == resumed.total ? 0 : RunReport::kSomeFailed;
        }
    }
    if (parser.isSet(country) && !DefaultCountry::instance().set(parser.value(country))) {
        err(QStringLiteral("--country takes a region code such as GB, or none, not \"%1\"")
                .arg(parser.value(country)));
        return 2;
    }
    const NumberNormaliser numbers = DefaultCountry::instance().normaliser();
    // Only validity filters the list; duplicates and exclusions are marked by the run itself.
    assign_format_skip_exclude_var();
    QList<Recipient> valid;
    QList<Recipient> refused; // with a default country: the number, and why it cannot exist
    int invalid = 0;
    for (const Recipient& r : raw) {
        // A file's rejections are named by line ("line 3: ..."), so the operator can find them.
        const QString where = r.line > 0 ? QStringLiteral("line %1: ").arg(r.line) : QString();
        if (!r.rejected.isEmpty()) {
            err(where + r.rejected);
            ++invalid;
            continue;
        }
        const QString n = gsm.Num_Able_To_insert(r.number);
        if (n.isEmpty()) {
            const QString written = r.number.trimmed();
            const QString why = numbers.active() ? numbers.refusalOf(r.number) : QString();
            err(where + (why.isEmpty()
                             ? QStringLiteral("Not a valid phone number: %1").arg(written)
                             : QStringLiteral("Not a valid phone number: %1 (%2)").arg(written, why)));
            refused.append({written, why});
            ++invalid;
        } else {
            if (r.message.size() > kMaxMessageLength) {
                err(QStringLiteral("The message for %1 is %2 characters long; the limit is %3.")
                        .arg(r.number.trimmed())
                        .arg(r.message.size())
                        .arg(kMaxMessageLength));
                return 2;
            }
            valid.append({n, r.message});
        }
    }
    if (invalid > 0 && parser.isSet(strict))
        return 2;
    {
        BulkSmsWindow::BatchInsert batch(gsm);
        for (auto it = valid.crbegin(); it != valid.crend(); ++it)
            gsm.Create_Num_Msg_List(it->number, it->message); // the first given ends on top
    }
    if (parser.isSet(resume))
        carriedRunOf(session, throughAndroid).set(resumed.carried);
    if (gsm.list().isEmpty()) {
        err(QStringLiteral("No recipients."));
        return 2;
    }
    gsm.setUnicode(parser.isSet(unicode));
    gsm.setPlainPunctuation(parser.isSet(plainPunctuation));
    gsm.setMessageTypeIndex(
        parser.isSet(flash) ? int(BulkSmsWindow::messageTypes().indexOf(QStringLiteral("Notification"))) : 1);
    gsm.setSkipDuplicates(parser.isSet(skip));
    if (!gsm.Exclusion_Chk(parser.isSet(exclusion)))
        return kExitDataNotWritten; // the lists were named on standard error
    gsm.setSaveSentItems(parser.isSet(saveSent));
    gsm.setSaveTemplates(parser.isSet(saveTemplates));
    bool retriesOk = false;
    const int retryCount = parser.value(retries).toInt(&retriesOk);
    if (!retriesOk || retryCount < 0 || retryCount > Gsm_Bulk_Sms_Wnd::kMaxRetries) {
        err(QStringLiteral("--retries takes 0 to %1, not \"%2\"")
                .arg(Gsm_Bulk_Sms_Wnd::kMaxRetries)
                .arg(parser.value(retries)));
        return 2;
    }
    session.gsm.setRetries(retryCount);
    session.gsm.setDeliveryReports(parser.isSet(deliveryReports));
    if (parser.isSet(pauseEvery) || parser.isSet(pauseFor)) {
        // The window's own entries, whatever the spacing typed ("5 Seconds" is "5  Seconds").
        const QString count = choiceMatching(delayedCountEntries(), parser.value(pauseEvery));
        const QString length = choiceMatching(delayedTimeEntries(), parser.value(pauseFor));
        if (count.isEmpty() || length.isEmpty()) {
            err(QStringLiteral("A pause needs --pause-every (one of %1) and --pause-for (one of %2).")
                    .arg(simplifiedChoices(delayedCountEntries()), simplifiedChoices(delayedTimeEntries())));
            return 2;
        }
        gsm.Delayed_Delivery_Chk(true);
        gsm.setDelayedCountChoice(count);
        gsm.setDelayedTimeChoice(length);
    }

    if (parser.isSet(dryRun)) {
        QSet<QString> seen;
        int messages = 0, parts = 0, unicodeMessages = 0;
        for (const Record& r : gsm.list().records()) {
            const QString number = recipientNumber(r); // as it is sent
            QString fate = QStringLiteral("send");
            if (gsm.exclusion() && gsm.Check_Exclusion_Number(number))
                fate = QStringLiteral("excluded");
            else if (gsm.skipDuplicates() && seen.contains(number))
                fate = QStringLiteral("skipped");
            seen.insert(number);
            out(QStringLiteral("%1\t%2\t%3").arg(number, fate, r.value(kMessageKey)));
            if (fate != QLatin1String("send"))
                continue;
            const SmsParts::Cost cost = SmsParts::costOf(gsm.textAsSent(r.value(kMessageKey)), gsm.unicode());
            ++messages;
            parts += cost.parts;
            unicodeMessages += cost.coding == SmsCoding::Ucs2;
        }
        // With a default country the refused numbers follow, each with the reason.
        if (numbers.active())
            for (const Recipient& r : refused)
                out(QStringLiteral("%1\tinvalid: %2").arg(r.number, r.message));
        // The list stays alone on standard output, for scripts; the cost goes beside it.
        err(QStringLiteral("%1 messages to send in %2 SMS parts (%3 as Unicode); %4 rejected.")
                .arg(messages)
                .arg(parts)
                .arg(unicodeMessages)
                .arg(invalid));
        return 0;
    }

    if (throughAndroid)
        return sendThroughAndroid(session.android, session.op, parser.value(serial), parser.value(mode));

    // Devices: search, apply each one's settings, tick and select them as the window does.
    GSM_Device_List_Wnd& devices = searchDevices(session.op);
    QStringList wanted;
    for (const QString& deviceArgument : parser.values(device)) {
        const QStringList parts = deviceArgument.split(QLatin1Char(','));
        const QString& path = parts.first();
        if (devices.rowOf(path) < 0) {
            err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(path));
            return 2;
        }
        for (const QString& setting : parts.mid(1)) {
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
    Gsm_Bulk_Sms_Wnd& modems = session.gsm;
    modems.applyDeviceSelection();
    modems.prev_composer_msg = modems.composerText(); // the message is already in every row

    RunReport results(modems.sendingJob(),
                      parser.isSet(json) ? RunReport::Format::Json : RunReport::Format::Lines);
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
    if (parser.isSet(report)) {
        QList<ReportItem> reported;
        for (const SendingItem& item : modems.sendingJob().items().all())
            if (statusPassesFilter(item.status, reportGroup))
                reported.append({item.number, item.message, item.currentStatus, item.status});
        QString why;
        if (!writeSendingReport(parser.value(report), reportFormat, reported, &why)) {
            err(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        err(QStringLiteral("Report written to %1").arg(parser.value(report)));
    }
    return results.exitStatus();
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
