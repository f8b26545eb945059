#pragma once
// The options of "bulksms send", with their help texts, on one parser.
#include "SendDevices.h"
#include "sending/SendingRun.h"

#include "CommandRun.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

struct SendOptions {
    SendOptions();
    bool isSet(const QCommandLineOption& option) const { return parser.isSet(option); }
    QString value(const QCommandLineOption& option) const { return parser.value(option); }
    QStringList values(const QCommandLineOption& option) const { return parser.values(option); }

    // Recipients and the message.
    const QCommandLineOption to{QStringLiteral("to"), QStringLiteral("A recipient (repeatable)."),
                                QStringLiteral("number")};
    const QCommandLineOption numbersFile{
        QStringLiteral("numbers"),
        QStringLiteral("Recipients from a TXT, CSV or RTF file, or a workbook (XLSX, ODS, XML)."),
        QStringLiteral("file")};
    const QCommandLineOption sheet{QStringLiteral("sheet"),
                                   QStringLiteral("Workbook: the sheet to read (from 1)."),
                                   QStringLiteral("N"), QStringLiteral("1")};
    const QCommandLineOption header{QStringLiteral("header"),
                                    QStringLiteral("Workbook: the first row holds column titles.")};
    const QCommandLineOption numberColumn{
        QStringLiteral("number-column"),
        QStringLiteral("Workbook: a column of numbers, by letters or title (repeatable; default A)."),
        QStringLiteral("column")};
    const QCommandLineOption messageColumn{QStringLiteral("message-column"),
                                           QStringLiteral("Workbook: each row's message from this column."),
                                           QStringLiteral("column")};
    const QCommandLineOption templateText{
        QStringLiteral("template"),
        QStringLiteral(
            "Workbook: each row's message from this text, <COL-n> replaced by the row's n-th cell."),
        QStringLiteral("text")};
    const QCommandLineOption message{QStringLiteral("message"), QStringLiteral("The message text."),
                                     QStringLiteral("text")};
    const QCommandLineOption messageFile{QStringLiteral("message-file"),
                                         QStringLiteral("The message text from a UTF-8 file."),
                                         QStringLiteral("file")};
    const QCommandLineOption country{
        QStringLiteral("country"),
        QStringLiteral("The country of numbers written without their code, for this run (a region code "
                       "such as GB, or none; default: the one chosen in the windows). Numbers are then "
                       "sent and compared in E.164, and numbers that cannot exist are refused."),
        QStringLiteral("code")};
    const QCommandLineOption strict{
        QStringLiteral("strict"),
        QStringLiteral("Refuse the whole run (exit status 2) when a number is invalid.")};

    // How the messages go.
    const QCommandLineOption device{
        QStringLiteral("device"),
        QStringLiteral("A device path, with optional ,mode=pdu|text and ,smsc=NUMBER (repeatable)."),
        QStringLiteral("path")};
    const QCommandLineOption unicode{QStringLiteral("unicode"), QStringLiteral("Send as Unicode.")};
    const QCommandLineOption flash{QStringLiteral("flash"), QStringLiteral("Send as a flash message.")};
    const QCommandLineOption plainPunctuation{
        QStringLiteral("plain-punctuation"),
        QStringLiteral("Replace typographic quotes and dashes by plain ones (keeps texts in 7-bit).")};
    const QCommandLineOption at{
        QStringLiteral("at"),
        QStringLiteral("Send at this time (\"2026-11-26 09:00\" in this computer's zone, or with an offset): "
                       "the campaign waits in the store as scheduled and a running bulksms worker (or the "
                       "open desktop) sends it then."),
        QStringLiteral("time")};
    const QCommandLineOption window{
        QStringLiteral("window"),
        QStringLiteral(
            "Text each recipient only within these hours of their own clock (\"09:00-20:00\"; the zone "
            "from the number's country and area, the careful choice where it has several); the "
            "others wait."),
        QStringLiteral("hours")};
    const QCommandLineOption windowZone{
        QStringLiteral("window-zone"),
        QStringLiteral("With --window: one time zone for every recipient (\"Europe/London\")."),
        QStringLiteral("zone")};
    const QCommandLineOption until{
        QStringLiteral("until"),
        QStringLiteral("Leave unsent what has not gone by this time (\"2026-11-27 18:00\")."),
        QStringLiteral("time")};
    const QCommandLineOption perMinute{
        QStringLiteral("max-per-device-minute"),
        QStringLiteral("At most N messages a minute through each SIM or phone, "
                       "counted over every campaign and sender."),
        QStringLiteral("N")};
    const QCommandLineOption perHour{QStringLiteral("max-per-device-hour"),
                                     QStringLiteral("At most N messages an hour through each SIM or phone."),
                                     QStringLiteral("N")};
    const QCommandLineOption perDay{QStringLiteral("max-per-device-day"),
                                    QStringLiteral("At most N messages a day through each SIM or phone."),
                                    QStringLiteral("N")};
    const QCommandLineOption randomGap{
        QStringLiteral("random-gap"),
        QStringLiteral("A random rest of MIN to MAX seconds between the messages of each device (\"5-20\")."),
        QStringLiteral("MIN-MAX")};
    const QCommandLineOption footer{
        QStringLiteral("footer"),
        QStringLiteral(
            "A line put after every message, e.g. \"Reply STOP to opt out\" (counted in its parts)."),
        QStringLiteral("text")};
    const QCommandLineOption retries{
        QStringLiteral("retries"),
        QStringLiteral("Further attempts for a message the network refused (default %1), on another device "
                       "where there is one.")
            .arg(RunSettings::kDefaultRetries),
        QStringLiteral("N"), QString::number(RunSettings::kDefaultRetries)};
    const QCommandLineOption skip{QStringLiteral("skip-duplicates"), QStringLiteral("Send a number once.")};
    const QCommandLineOption exclusion{QStringLiteral("exclusion"),
                                       QStringLiteral("Leave out the applied exclusion lists' numbers.")};
    const QCommandLineOption pauseEvery{QStringLiteral("pause-every"),
                                        QStringLiteral("Pause after every N messages."), QStringLiteral("N")};
    const QCommandLineOption pauseFor{
        QStringLiteral("pause-for"),
        QStringLiteral("Pause length, one of the window's entries (\"10 Seconds\", \"2 Minutes\", ...)."),
        QStringLiteral("length")};
    const QCommandLineOption deliveryReports{
        QStringLiteral("delivery-reports"),
        QStringLiteral("Ask the network for a delivery report of every message; each result waits for its "
                       "report (at most a minute after the last message).")};
    const QCommandLineOption android{
        QStringLiteral("android"),
        QStringLiteral("Send through the Android phone (adb) instead of GSM modems.")};
    const QCommandLineOption takeNewDevices = takeNewDevicesOption();
    const QCommandLineOption serial = serialOption();
    const QCommandLineOption allPhones = allPhonesOption();
    const QCommandLineOption mode{
        QStringLiteral("mode"),
        QStringLiteral("Android: single-shot, standard or classic (default standard)."),
        QStringLiteral("mode"), QStringLiteral("standard")};

    // What is kept, asked and reported.
    const QCommandLineOption saveSent{QStringLiteral("save-sent-items"),
                                      QStringLiteral("Log every message in the sent items.")};
    const QCommandLineOption saveTemplates{QStringLiteral("save-templates"),
                                           QStringLiteral("Keep the message as a template.")};
    const QCommandLineOption yes{QStringLiteral("yes"), QStringLiteral("Answer Yes to every question.")};
    const QCommandLineOption dryRun{
        QStringLiteral("dry-run"),
        QStringLiteral("Print the final list without opening any device (and, on standard error, what "
                       "it costs in SMS parts).")};
    const QCommandLineOption json{
        QStringLiteral("json"), QStringLiteral("Print one JSON line per recipient as its message finishes.")};
    const QCommandLineOption report{
        QStringLiteral("report"),
        QStringLiteral("At the end, write the run's report (.txt, .html or .xlsx)."), QStringLiteral("file")};
    const QCommandLineOption reportFilter{
        QStringLiteral("report-filter"),
        QStringLiteral("The report's items: all, sent or unsent (default all)."), QStringLiteral("group"),
        QStringLiteral("all")};

    // A run that did not end.
    const QCommandLineOption resume{
        QStringLiteral("resume"),
        QStringLiteral("Go on with the run that did not end (kept in the campaign store): who got a "
                       "message is not sent to again.")};
    const QCommandLineOption discardUnfinished{
        QStringLiteral("discard-unfinished"),
        QStringLiteral("Discard the record of the run that did not end, and send this run instead: its "
                       "recipients who were not sent yet will not be sent.")};
    const QCommandLineOption campaign{
        QStringLiteral("campaign"),
        QStringLiteral(
            "With --resume: the unfinished campaign to go on with (its id in bulksms campaign list), "
            "instead of the latest one of this data folder."),
        QStringLiteral("id")};
    const QCommandLineOption resendUnknown{
        QStringLiteral("resend-unknown"),
        QStringLiteral(
            "With --resume: send again the messages that may have gone out when the run broke off.")};

    QCommandLineParser parser;
};
