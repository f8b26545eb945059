#include "RepliesCommand.h"

#include "CommandTimes.h"
#include "ConsoleOutput.h"
#include "StopSignals.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>
#include <atomic>

using namespace std::chrono_literals;

namespace {

const QString kInboxHelp = QStringLiteral(
    "Prints the replies the devices received, oldest first, one a line (tab-separated): id, kept at,\n"
    "sender, campaign (\"-\" when it answers none), what it did (\"stop\", \"start\" or \"-\"), text\n"
    "(line breaks as \\n). Replies are read by every run and worker. Exit status: 0, 2 on bad input,\n"
    "4 when the store could not be read.");

const QString kOptOutUsage = QStringLiteral(
    "Usage: bulksms opt-out list [--all] [--json] | add NUMBER | remove NUMBER\n"
    "  list            the numbers opted out (--all: every opt-out ever, ended ones too): number,\n"
    "                  since, how, active (tab-separated)\n"
    "  add NUMBER      no later run texts the number (write it with its \"+\" to match every form)\n"
    "  remove NUMBER   the number may be texted again\n"
    "A reply that is only STOP (or STOPALL, UNSUBSCRIBE, CANCEL, END, QUIT) opts its sender out by\n"
    "itself; START or UNSTOP opts back in.");

QString changeText(OptOutWord change) {
    switch (change) {
    case OptOutWord::Stop: return QStringLiteral("stop");
    case OptOutWord::Start: return QStringLiteral("start");
    case OptOutWord::None: break;
    }
    return QStringLiteral("-");
}

QString replyLine(const ReceivedRow& row, bool json) {
    const ReceivedMessage& m = row.message;
    if (json)
        return QString::fromUtf8(
            QJsonDocument(
                QJsonObject{{"id", row.id},
                            {"received", timeText(row.receivedAt)},
                            {"sent", timeText(m.sentAt)},
                            {"sender", m.sender},
                            {"number", row.number},
                            {"campaign", row.campaign == 0 ? QJsonValue() : QJsonValue(row.campaign)},
                            {"device", m.device},
                            {"road", m.road},
                            {"text", m.text},
                            {"complete", m.complete},
                            {"read", row.readAt != 0},
                            {"change", changeText(row.change)},
                            {"sender_opted_out", row.senderOptedOut}})
                .toJson(QJsonDocument::Compact));
    QString text = m.text;
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
    text.replace(QLatin1Char('\r'), QLatin1String("\\r")).replace(QLatin1Char('\t'), QLatin1String("\\t"));
    return QStringList{QString::number(row.id),
                       timeText(row.receivedAt),
                       m.sender,
                       row.campaign == 0 ? QStringLiteral("-") : QString::number(row.campaign),
                       changeText(row.change),
                       text + (m.complete ? QString() : QStringLiteral(" [incomplete]"))}
        .join(QLatin1Char('\t'));
}

std::shared_ptr<CampaignStore> openStore() {
    QString why;
    std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(DataFolder::fromEnvironment(), &why);
    if (!store)
        printErr(errorInFileAccessing(why));
    return store;
}

// The rows after `after` (by id) the filter takes, oldest first; nothing when the store refused.
std::optional<QList<ReceivedRow>> rowsAfter(CampaignStore& store, ReceivedFilter filter, qint64 after,
                                            QString* why) {
    QList<ReceivedRow> rows;
    filter.limit = 500;
    while (true) {
        const std::optional<QList<ReceivedRow>> page = listReceived(store, filter, why);
        if (!page)
            return std::nullopt;
        for (const ReceivedRow& row : *page)
            if (row.id > after)
                rows << row;
        if (page->size() < filter.limit || page->last().id <= after)
            break;
        filter.before = page->last().id;
    }
    std::reverse(rows.begin(), rows.end());
    return rows;
}

} // namespace

int runInbox(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(kInboxHelp);
    parser.addHelpOption();
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON (one object per line)."));
    const QCommandLineOption campaign(
        QStringLiteral("campaign"), QStringLiteral("Only the replies to this campaign (\"none\": to none)."),
        QStringLiteral("ID"));
    const QCommandLineOption since(
        QStringLiteral("since"),
        QStringLiteral("Only what was kept from this time on (\"2026-11-26 09:00\")."),
        QStringLiteral("TIME"));
    const QCommandLineOption unread(QStringLiteral("unread"),
                                    QStringLiteral("Only the replies not yet read."));
    const QCommandLineOption watch(QStringLiteral("watch"),
                                   QStringLiteral("Go on printing replies as they come, until Ctrl-C."));
    parser.addOptions({json, campaign, since, unread, watch});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    ReceivedFilter filter;
    if (parser.isSet(campaign)) {
        bool numeric = false;
        const QString value = parser.value(campaign);
        filter.campaign = value == QLatin1String("none") ? 0 : value.toLongLong(&numeric);
        if (value != QLatin1String("none") && (!numeric || filter.campaign <= 0)) {
            printErr(QStringLiteral("--campaign takes a campaign's id or \"none\", not \"%1\".").arg(value));
            return kExitUsage;
        }
    }
    if (parser.isSet(since)) {
        filter.since = timeOf(parser.value(since));
        if (filter.since == 0) {
            printErr(QStringLiteral("--since takes a time such as \"2026-11-26 09:00\", not \"%1\".")
                         .arg(parser.value(since)));
            return kExitUsage;
        }
    }
    filter.unreadOnly = parser.isSet(unread);
    const std::shared_ptr<CampaignStore> store = openStore();
    if (!store)
        return kExitDataNotWritten;

    std::atomic<bool> stopped{false};
    if (parser.isSet(watch))
        StopSignals::install([&stopped] {
            stopped = true;
            return true;
        });
    qint64 last = 0;
    do {
        QString why;
        const std::optional<QList<ReceivedRow>> rows = rowsAfter(*store, filter, last, &why);
        if (!rows) {
            printErr(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        for (const ReceivedRow& row : *rows) {
            printOut(replyLine(row, parser.isSet(json)));
            last = std::max(last, row.id);
        }
        if (!parser.isSet(watch))
            break;
        // A look at the store every two seconds, the event loop turning so that Ctrl-C is heard.
        QEventLoop loop;
        QTimer tick;
        QObject::connect(&tick, &QTimer::timeout, &loop, [&] {
            if (stopped)
                loop.quit();
        });
        tick.start(20);
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(2s)), &loop,
                           &QEventLoop::quit);
        loop.exec();
    } while (!stopped);
    return 0;
}

int runOptOut(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(kOptOutUsage);
    parser.addHelpOption();
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON (one object per line)."));
    const QCommandLineOption all(QStringLiteral("all"),
                                 QStringLiteral("Every opt-out ever made, ended ones too."));
    parser.addOptions({json, all});
    parser.addPositionalArgument(QStringLiteral("action"), QStringLiteral("list, add or remove"));
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const bool list = action == QLatin1String("list");
    if ((!list && action != QLatin1String("add") && action != QLatin1String("remove")) ||
        words.size() != (list ? 1 : 2)) {
        printErr(kOptOutUsage);
        return kExitUsage;
    }
    if (!list && optOutNumber(words.at(1)).isEmpty()) {
        printErr(QStringLiteral("\"%1\" is not a phone number.").arg(words.at(1)));
        return kExitUsage;
    }
    const std::shared_ptr<CampaignStore> store = openStore();
    if (!store)
        return kExitDataNotWritten;
    QString why;
    if (!list) {
        const bool done = action == QLatin1String("add")
                              ? addOptOut(*store, words.at(1), kOptOutByOperator, &why)
                              : removeOptOut(*store, words.at(1), kOptOutByOperator, &why);
        if (!done) {
            printErr(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        printOut(
            action == QLatin1String("add")
                ? QStringLiteral("%1 is opted out: no later run texts it.").arg(optOutNumber(words.at(1)))
                : QStringLiteral("%1 may be texted again.").arg(optOutNumber(words.at(1))));
        return 0;
    }
    const std::optional<QList<OptOut>> rows = listOptOuts(*store, !parser.isSet(all), &why);
    if (!rows) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    for (const OptOut& o : *rows)
        printOut(parser.isSet(json)
                     ? QString::fromUtf8(QJsonDocument(QJsonObject{{"number", o.number},
                                                                   {"since", timeText(o.since)},
                                                                   {"how", o.how},
                                                                   {"active", o.active},
                                                                   {"ended", timeText(o.endedAt)},
                                                                   {"ended_how", o.endedHow}})
                                             .toJson(QJsonDocument::Compact))
                     : QStringList{o.number, timeText(o.since), o.how,
                                   o.active ? QStringLiteral("active") : QStringLiteral("ended")}
                           .join(QLatin1Char('\t')));
    return 0;
}
