#include "WebhooksCommand.h"

#include "CommandStore.h"
#include "CommandTimes.h"
#include "ConsoleOutput.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Webhooks.h"
#include "core/FileUtils.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kUsage = QStringLiteral(
    "Usage: bulksms webhooks list [--json] | enable ID\n"
    "  list        every webhook: id, token, url, events, state, why it was disabled, deliveries\n"
    "              pending (tab-separated)\n"
    "  enable ID   turns a disabled webhook back on: what it had pending is tried again");

int list(CampaignStore& store, bool json) {
    QString why;
    const std::optional<QList<Webhook>> hooks = listWebhooks(store, 0, &why);
    if (!hooks) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    for (const Webhook& w : *hooks) {
        const QString state = w.disabledAt > 0 ? QStringLiteral("disabled") : QStringLiteral("active");
        printOut(json ? QString::fromUtf8(
                            QJsonDocument(QJsonObject{{"id", w.id},
                                                      {"token", w.tokenName},
                                                      {"url", w.url},
                                                      {"events", QJsonArray::fromStringList(w.events)},
                                                      {"state", state},
                                                      {"reason", w.disabledReason},
                                                      {"failures", w.failures},
                                                      {"pending", w.pending}})
                                .toJson(QJsonDocument::Compact))
                      : QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7")
                            .arg(w.id)
                            .arg(w.tokenName, w.url, w.events.join(QLatin1Char(',')), state,
                                 w.disabledReason.isEmpty() ? QStringLiteral("-") : w.disabledReason)
                            .arg(w.pending));
    }
    return 0;
}

} // namespace

int runWebhooks(const QStringList& arguments) {
    QStringList words;
    bool json = false;
    if (const std::optional<int> end = readActionWords(arguments, kUsage, words, json))
        return *end;
    const QString action = words.value(0);
    bool numbered = false;
    const qint64 id = words.value(1).toLongLong(&numbered);
    if (!(action == QLatin1String("enable") && words.size() == 2 && numbered && id > 0) &&
        !(action == QLatin1String("list") && words.size() == 1)) {
        printErr(kUsage);
        return kExitUsage;
    }
    const std::variant<CommandStore, int> opened = openCommandStore();
    if (const int* status = std::get_if<int>(&opened))
        return *status;
    const std::shared_ptr<CampaignStore>& store = std::get<CommandStore>(opened).store;
    QString why;
    if (action == QLatin1String("list"))
        return list(*store, json);
    bool found = false;
    if (!enableWebhook(*store, id, &found, &why)) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    if (!found) {
        printErr(QStringLiteral("No webhook %1.").arg(id));
        return kExitUsage;
    }
    printErr(QStringLiteral("Webhook %1 enabled: what it had pending is tried again.").arg(id));
    return 0;
}
