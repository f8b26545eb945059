#include "TokenCommand.h"

#include "CommandStore.h"
#include "CommandTimes.h"
#include "ConsoleOutput.h"
#include "api/ApiTokens.h"
#include "campaigns/CampaignStore.h"
#include "core/FileUtils.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kUsage = QStringLiteral(
    "Usage: bulksms token create NAME | revoke NAME | list [--json]\n"
    "  create NAME     a new bearer token for the HTTP API, printed once on standard output (only its\n"
    "                  hash is kept: a lost token is revoked and another created)\n"
    "  revoke NAME     requests with the token are refused from now on (403)\n"
    "  list            every token: id, name, created, revoked (tab-separated)");

int list(CampaignStore& store, bool json) {
    QString why;
    const std::optional<QList<ApiToken>> tokens = listTokens(store, &why);
    if (!tokens) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    for (const ApiToken& t : *tokens)
        printOut(json ? QString::fromUtf8(QJsonDocument(QJsonObject{{"id", t.id},
                                                                    {"name", t.name},
                                                                    {"created", timeText(t.createdAt)},
                                                                    {"revoked", timeText(t.revokedAt)}})
                                              .toJson(QJsonDocument::Compact))
                      : QStringLiteral("%1\t%2\t%3\t%4")
                            .arg(t.id)
                            .arg(t.name, timeText(t.createdAt), timeText(t.revokedAt)));
    return 0;
}

} // namespace

int runToken(const QStringList& arguments) {
    QStringList words;
    bool json = false;
    if (const std::optional<int> end = readActionWords(arguments, kUsage, words, json))
        return *end;
    const QString action = words.value(0);
    const bool named = action == QLatin1String("create") || action == QLatin1String("revoke");
    if (!(named && words.size() == 2) && !(action == QLatin1String("list") && words.size() == 1)) {
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
    if (action == QLatin1String("create")) {
        const std::optional<QString> token = createToken(*store, words.at(1), &why);
        if (!token) {
            printErr(why);
            return why.startsWith(QLatin1String("A token")) ? kExitUsage : kExitDataNotWritten;
        }
        printOut(*token);
        printErr(QStringLiteral(
                     "Token \"%1\" created. It is shown only now: keep it where the program that uses it "
                     "reads it.")
                     .arg(words.at(1).trimmed()));
        return 0;
    }
    if (!revokeToken(*store, words.at(1), &why)) {
        printErr(why);
        return why.startsWith(QLatin1String("No token")) ? kExitUsage : kExitDataNotWritten;
    }
    printErr(QStringLiteral("Token \"%1\" revoked.").arg(words.at(1).trimmed()));
    return 0;
}
