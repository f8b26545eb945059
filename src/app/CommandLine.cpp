#include "CommandLine.h"

#include "CommandLineAndroid.h"
#include "CommandLineInputs.h"
#include "ConsoleOperator.h"
#include "android/Bulk_SMSAppDelegate.h"
#include "core/AppState.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "list/LoadCounters.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"
#include "sending/SMS_Sending.h"
#include "text/NumberRules.h"

#include <QCommandLineParser>
#include <QFile>

#include <cstdio>

namespace {

void out(const QString& text) {
    std::fprintf(stdout, "%s\n", text.toLocal8Bit().constData());
    std::fflush(stdout);
}

void err(const QString& text) {
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    std::fflush(stderr);
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
    parser.process(arguments.mid(1));
    Session session(false);
    if (!session.launch())
        return 2;
    if (parser.isSet(android))
        return listAndroidDevices(parser.value(serial));
    const RecordTable& list = searchDevices(session.op).nsPortListData();
    for (const Record& r : list.records())
        out(QStringLiteral("%1\tmaker: %2\tmodel: %3\tIMEI: %4\tsignal: %5\tbattery: %6\toperator: %7\tSMSC: "
                           "%8\tmodes: %9")
                .arg(r.value("PORT_DETAL"), r.value("Manufacture"), r.value("Model"), r.value("IMEI"),
                     r.value("Signal"), r.value("Battery"), r.value("Operator"), r.value("DefSMSC"),
                     r.value("SUPSMSMode")));
    return list.isEmpty() ? 1 : 0;
}

int runSend(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Sends one message to every recipient through GSM modems, as the GSM window does.\n"
        "Devices are given by path; each may carry its mode and a custom service centre:\n"
        "  --device /dev/ttyUSB0,mode=text,smsc=+447700900123\n"
        "Without --device every modem found is used (BULKSMS_EXTRA_MODEMS adds virtual ones).\n"
        "Exit status: 0 when every recipient was sent, 1 otherwise, 2 on bad input.\n"
        "--verbose copies the log (every AT command and answer) to standard error."));
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
    const QCommandLineOption skip(QStringLiteral("skip-duplicates"), QStringLiteral("Send a number once."));
    const QCommandLineOption exclusion(QStringLiteral("exclusion"),
                                       QStringLiteral("Leave out the applied exclusion lists' numbers."));
    const QCommandLineOption pauseEvery(QStringLiteral("pause-every"),
                                        QStringLiteral("Pause after every N messages."), QStringLiteral("N"));
    const QCommandLineOption pauseFor(
        QStringLiteral("pause-for"),
        QStringLiteral("Pause length, as the window offers it (\"10 Seconds\", \" 2  Minutes\")."),
        QStringLiteral("length"));
    const QCommandLineOption saveSent(QStringLiteral("save-sent-items"),
                                      QStringLiteral("Log every message in the sent items."));
    const QCommandLineOption saveTemplates(QStringLiteral("save-templates"),
                                           QStringLiteral("Keep the message as a template."));
    const QCommandLineOption yes(QStringLiteral("yes"), QStringLiteral("Answer Yes to every question."));
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
    const QCommandLineOption dryRun(QStringLiteral("dry-run"),
                                    QStringLiteral("Print the final list without opening any device."));
    parser.addOptions({to,           numbersFile, sheet,       header,   numberColumn, messageColumn,
                       templateText, message,     messageFile, device,   unicode,      flash,
                       skip,         exclusion,   pauseEvery,  pauseFor, saveSent,     saveTemplates,
                       yes,          dryRun});
    parser.addOptions({android, serial, mode});
    parser.process(arguments.mid(1));

    QString text = parser.value(message);
    if (parser.isSet(messageFile)) {
        QFile file(parser.value(messageFile));
        if (!file.open(QIODevice::ReadOnly)) {
            err(QStringLiteral("Cannot read %1").arg(parser.value(messageFile)));
            return 2;
        }
        text = QString::fromUtf8(file.readAll());
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
    // Only validity filters the list; duplicates and exclusions are marked by the run itself.
    assign_format_skip_exclude_var();
    QList<Recipient> valid;
    for (const Recipient& r : raw) {
        const QString n = gsm.Num_Able_To_insert(r.number);
        if (n.isEmpty())
            err(QStringLiteral("Not a valid phone number: %1").arg(r.number.trimmed()));
        else
            valid.append({n, r.message.left(kMaxMessageLength)});
    }
    for (auto it = valid.crbegin(); it != valid.crend(); ++it)
        gsm.Create_Num_Msg_List(it->number, it->message); // the first given ends on top
    if (gsm.list().isEmpty()) {
        err(QStringLiteral("No recipients."));
        return 2;
    }
    gsm.setUnicode(parser.isSet(unicode));
    gsm.setMessageTypeIndex(
        parser.isSet(flash) ? int(BulkSmsWindow::messageTypes().indexOf(QStringLiteral("Notification"))) : 1);
    gsm.setSkipDuplicates(parser.isSet(skip));
    gsm.Exclusion_Chk(parser.isSet(exclusion));
    gsm.setSaveSentItems(parser.isSet(saveSent));
    gsm.setSaveTemplates(parser.isSet(saveTemplates));
    if (parser.isSet(pauseEvery) || parser.isSet(pauseFor)) {
        gsm.Delayed_Delivery_Chk(true);
        gsm.setDelayedCountChoice(parser.value(pauseEvery));
        gsm.setDelayedTimeChoice(parser.value(pauseFor));
    }

    if (parser.isSet(dryRun)) {
        QSet<QString> seen;
        for (const Record& r : gsm.list().records()) {
            const QString number = r.value(QStringLiteral("Number"));
            QString fate = QStringLiteral("send");
            if (gsm.exclusion() && gsm.Check_Exclusion_Number(number))
                fate = QStringLiteral("excluded");
            else if (gsm.skipDuplicates() && seen.contains(number))
                fate = QStringLiteral("skipped");
            seen.insert(number);
            out(QStringLiteral("%1\t%2\t%3").arg(number, fate, r.value(QStringLiteral("Message"))));
        }
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
                devices.Update_Column_Value(path, QStringLiteral("SMSMode"), smsModeText(SmsMode::Pdu));
            else if (setting == QLatin1String("mode=text"))
                devices.Update_Column_Value(path, QStringLiteral("SMSMode"), smsModeText(SmsMode::Text));
            else if (setting.startsWith(QLatin1String("smsc=")))
                devices.Set_SMSC_Use_Status(path, QStringLiteral("Y"), setting.mid(5));
            else {
                err(QStringLiteral("Unknown device setting: %1").arg(setting));
                return 2;
            }
        }
        wanted << path;
    }
    if (wanted.isEmpty())
        for (const Record& r : devices.nsPortListData().records())
            wanted << r.value(QStringLiteral("PORT_DETAL"));
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

    modems.Send_SMS_Btn();

    int sent = 0;
    const QList<SendingItem> items = modems.sendingJob().items().all();
    for (const SendingItem& item : items) {
        const bool ok = item.status == QLatin1String("Message sent successfully.") ||
                        item.status == QLatin1String("Message sent to device.");
        sent += ok;
        out(QStringLiteral("%1\t%2\t%3").arg(item.number, item.usePort, item.status));
    }
    out(QStringLiteral("%1 of %2 recipients sent.").arg(sent).arg(items.size()));
    return !items.isEmpty() && sent == items.size() ? 0 : 1;
}

} // namespace

bool isCommandLine(const QStringList& arguments) {
    return arguments.size() > 1 &&
           (arguments.at(1) == QLatin1String("send") || arguments.at(1) == QLatin1String("devices"));
}

int runCommandLine(const QStringList& arguments) {
    // The modem traffic goes to the system log; --verbose shows it here too.
    QStringList rest = arguments;
    setLogToStandardError(rest.removeAll(QStringLiteral("--verbose")) > 0);
    return rest.at(1) == QLatin1String("send") ? runSend(rest) : runDevices(rest);
}
