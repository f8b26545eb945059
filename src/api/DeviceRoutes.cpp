#include "DeviceRoutes.h"

#include "ApiContext.h"
#include "ApiJson.h"
#include "ApiRequest.h"
#include "campaigns/StoredDevices.h"

#include <httplib.h>

namespace {

QJsonObject deviceJson(const StoredDevice& d) {
    return QJsonObject{{"host", d.host},     {"road", d.road},           {"device", d.device},
                       {"sender", d.sender}, {"details", d.details},     {"signal", d.signal},
                       {"state", d.state},   {"limits", d.limits},       {"sent", d.sent},
                       {"failed", d.failed}, {"seen", isoTime(d.seenAt)}};
}

void devices(ApiContext& context, httplib::Response& res) {
    QString why;
    const std::optional<QList<StoredDevice>> stored = storedDevices(*context.store, &why);
    if (!stored) {
        replyStoreRefused(res, why);
        return;
    }
    QJsonArray list;
    for (const StoredDevice& d : *stored)
        list.append(deviceJson(d));
    replyJson(res, 200, QJsonObject{{"devices", list}});
}

} // namespace

void addDeviceRoutes(httplib::Server& server, ApiContext& context) {
    server.Get("/v1/devices", guarded(context, [&context](const ApiCall&, httplib::Response& res) {
                   devices(context, res);
               }));
}
