#include "CampaignCommand.h"

#include "CommandTimes.h"
#include "ConsoleOutput.h"
#include "SendCommand.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "core/Counted.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kUsage = QStringLiteral(
    "Usage: bulksms campaign create|list|show ID|cancel ID|reschedule ID --at TIME|resend-unknown ID "
    "[--json]\n"
    "  create          queue a campaign for the senders (bulksms worker); takes the options of send,\n"
    "                  --at TIME among them (it then waits as scheduled); prints the campaign's id\n"
    "  list            every campaign, newest first: id, state, road, total, sent, failed, unknown,\n"
    "                  waiting (or in a sender's hands), created, finished, scheduled for\n"
    "                  (tab-separated)\n"
    "  reschedule ID --at TIME\n"
    "                  a scheduled campaign (or a queued one no sender took up) waits for TIME\n"
    "  show ID         one campaign, as a list line, then its counts one per line\n"
    "  cancel ID       what still waits is not sent; what a sender holds finishes\n"
    "  resend-unknown ID\n"
    "                  the messages that may have gone out when their sender broke off wait to be\n"
    "                  sent again\n"
    "Every command takes --database URL (else BULKSMS_DATABASE; else the data folder's file).");

QJsonObject jsonOf(const CampaignSummary& c) {
    return QJsonObject{{"id", c.id},
                       {"state", c.state},
                       {"road", c.road},
                       {"created_by", c.createdBy},
                       {"created", timeText(c.createdAt)},
                       {"started", timeText(c.startedAt)},
                       {"finished", timeText(c.finishedAt)},
                       {"start_at", timeText(c.startAt)},
                       {"total", c.total},
                       {"sent", c.sent},
                       {"failed", c.failed},
                       {"unknown", c.unknown},
                       {"waiting", c.waiting},
                       {"in_hand", c.inHand},
                       {"not_sent", c.notSent},
                       {"reason", c.reason}};
}

QString lineOf(const CampaignSummary& c) {
    return QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7\t%8\t%9\t%10\t%11")
        .arg(c.id)
        .arg(c.state, c.road)
        .arg(c.total)
        .arg(c.sent)
        .arg(c.failed)
        .arg(c.unknown)
        .arg(c.waiting + c.inHand)
        .arg(timeText(c.createdAt), timeText(c.finishedAt), timeText(c.startAt));
}

void print(const CampaignSummary& c, bool json) {
    printOut(json ? QString::fromUtf8(QJsonDocument(jsonOf(c)).toJson(QJsonDocument::Compact)) : lineOf(c));
}

// Prints every campaign, or the one with the id.
int printCampaigns(CampaignStore& store, bool all, qint64 id, bool json) {
    QString why;
    if (all) {
        const std::optional<QList<CampaignSummary>> campaigns = listCampaigns(store, &why);
        if (!campaigns) {
            printErr(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
        for (const CampaignSummary& c : *campaigns)
            print(c, json);
        return 0;
    }
    const std::optional<CampaignSummary> c = campaignSummary(store, id, &why);
    if (!c) {
        printErr(why.isEmpty() ? QStringLiteral("No campaign %1.").arg(id) : errorInFileAccessing(why));
        return why.isEmpty() ? kExitUsage : kExitDataNotWritten;
    }
    print(*c, json);
    return 0;
}

int reschedule(CampaignStore& store, qint64 id, const QString& at) {
    const qint64 startAt = timeOf(at);
    if (startAt == 0) {
        printErr(QStringLiteral("reschedule takes --at with a time such as \"2026-11-26 09:00\"."));
        return kExitUsage;
    }
    QString why;
    if (!rescheduleCampaign(store, id, startAt, &why)) {
        printErr(why.isEmpty() ? QStringLiteral("Campaign %1 is not waiting for its time.").arg(id)
                               : errorInFileAccessing(why));
        return why.isEmpty() ? kExitUsage : kExitDataNotWritten;
    }
    printOut(QStringLiteral("Campaign %1 scheduled for %2.").arg(id).arg(timeText(startAt)));
    return 0;
}

int cancelOrResend(CampaignStore& store, qint64 id, bool cancel) {
    QString why;
    const std::optional<int> changed =
        cancel ? cancelCampaign(store, id, &why) : resendUnknown(store, id, &why);
    if (!changed) {
        printErr(why.isEmpty() ? QStringLiteral("No campaign %1.").arg(id) : errorInFileAccessing(why));
        return why.isEmpty() ? kExitUsage : kExitDataNotWritten;
    }
    printOut(cancel ? QStringLiteral("Campaign %1 cancelled: %2 will not be sent.")
                          .arg(id)
                          .arg(counted(*changed, QStringLiteral("recipient"), QStringLiteral("recipients")))
                    : QStringLiteral("Campaign %1: %2 of unknown fate %3 to be sent again.")
                          .arg(id)
                          .arg(counted(*changed, QStringLiteral("recipient"), QStringLiteral("recipients")),
                               *changed == 1 ? QStringLiteral("waits") : QStringLiteral("wait")));
    return 0;
}

} // namespace

int runCampaignCommand(const QStringList& arguments) {
    const QString action = arguments.value(2);
    if (action == QLatin1String("create"))
        return runSend(QStringList{arguments.at(0), QStringLiteral("campaign create")} + arguments.mid(3),
                       SendMode::Queue);
    QCommandLineParser parser;
    parser.setApplicationDescription(kUsage);
    parser.addHelpOption();
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON (one object per line)."));
    const QCommandLineOption at(QStringLiteral("at"), QStringLiteral("reschedule: the new time."),
                                QStringLiteral("time"));
    parser.addOptions({json, at});
    parser.addPositionalArgument(QStringLiteral("action"),
                                 QStringLiteral("list, show, cancel, reschedule or resend-unknown"));
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    const QStringList words = parser.positionalArguments();
    const bool needsId = action != QLatin1String("list");
    bool numeric = false;
    const qint64 id = words.value(1).toLongLong(&numeric);
    if (!QStringList{"list", "show", "cancel", "reschedule", "resend-unknown"}.contains(action) ||
        (needsId && !numeric)) {
        printErr(kUsage);
        return kExitUsage;
    }
    QString why;
    const std::shared_ptr<CampaignStore> store =
        CampaignStore::forFolder(DataFolder::fromEnvironment(), &why);
    if (!store) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    if (action == QLatin1String("list") || action == QLatin1String("show"))
        return printCampaigns(*store, action == QLatin1String("list"), id, parser.isSet(json));
    if (action == QLatin1String("reschedule"))
        return reschedule(*store, id, parser.value(at));
    return cancelOrResend(*store, id, action == QLatin1String("cancel"));
}
