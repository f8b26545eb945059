// What another program sends the HTTP API: any bytes as the body of a message, a campaign or an
// opt-out, read as the server reads them (JSON, then every field checked). Nothing may crash,
// and a request is either whole or refused with a field and a reason.
#include "FuzzInput.h"
#include "api/CampaignRequest.h"
#include "api/Idempotency.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    idempotencyKeyProblem(in.text);
    const QJsonDocument document = QJsonDocument::fromJson(in.bytes);
    if (!document.isObject())
        return 0;
    for (const QString& country : {QString(), QStringLiteral("GB")}) {
        for (const auto& read : {readMessageRequest(document.object(), country),
                                 readCampaignRequest(document.object(), country)}) {
            if (const auto* problem = std::get_if<RequestProblem>(&read)) {
                if (problem->message.isEmpty())
                    std::abort(); // a refusal always says why
                continue;
            }
            const CampaignRequest& request = std::get<CampaignRequest>(read);
            if (request.rows.isEmpty())
                std::abort(); // a campaign always has someone to text
            loadItems(request.rows, request.settings);
        }
    }
    return 0;
}
