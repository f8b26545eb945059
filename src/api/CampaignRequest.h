#pragma once
// What a client asks to send, read from its JSON and checked field by field before anything
// reaches the store: a request either becomes a whole campaign or is refused with the field
// and the reason, and then leaves nothing behind.
#include "NumberCheck.h"
#include "sending/SendingRun.h"

#include <QJsonObject>

#include <variant>

struct CampaignRequest {
    QList<std::pair<QString, QString>> rows; // number as written, text
    RunSettings settings;
    qint64 startAt = 0; // 0: at once
};

// The most recipients one request may name.
inline constexpr int kMaxRequestRecipients = 100000;

// POST /v1/messages: {"to", "text", "at"?, "window"?, "options"?}. defaultCountry: the data
// folder's, for numbers written without their country code.
std::variant<CampaignRequest, RequestProblem> readMessageRequest(const QJsonObject& body,
                                                                 const QString& defaultCountry);
// POST /v1/campaigns: {"recipients", "text" | "template", "at"?, "window"?, "options"?}. A
// recipient is a number, or {"to", "values"} whose values fill the template's <COL-n>.
std::variant<CampaignRequest, RequestProblem> readCampaignRequest(const QJsonObject& body,
                                                                  const QString& defaultCountry);
