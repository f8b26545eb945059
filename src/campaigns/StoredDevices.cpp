#include "StoredDevices.h"

#include "CampaignStore.h"

bool writeDevices(CampaignStore& store, const QList<StoredDevice>& devices, QString* error) {
    return store.write(
        [&](SqlDatabase& db) {
            for (const StoredDevice& d : devices)
                if (!db.exec(
                        QStringLiteral(
                            "INSERT INTO devices (host, road, device, sender, details, signal, state,"
                            " limits, sent, failed, seen_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"
                            " ON CONFLICT (host, road, device) DO UPDATE SET sender = excluded.sender,"
                            " details = excluded.details, signal = excluded.signal, state = excluded.state,"
                            " limits = excluded.limits, sent = excluded.sent, failed = excluded.failed,"
                            " seen_at = excluded.seen_at"),
                        {d.host, d.road, d.device, d.sender, d.details, d.signal, d.state, d.limits, d.sent,
                         d.failed, d.seenAt}))
                    return false;
            return true;
        },
        error);
}

std::optional<QList<StoredDevice>> storedDevices(CampaignStore& store, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT host, road, device, sender, details, signal, state, limits,"
                                   " sent, failed, seen_at FROM devices ORDER BY host, road, device"),
                    {}, &rows);
            },
            error))
        return std::nullopt;
    QList<StoredDevice> devices;
    for (const SqlRow& r : rows)
        devices << StoredDevice{r.value(0).toString(),   r.value(1).toString(),   r.value(2).toString(),
                                r.value(3).toString(),   r.value(4).toString(),   r.value(5).toString(),
                                r.value(6).toString(),   r.value(7).toString(),   r.value(8).toLongLong(),
                                r.value(9).toLongLong(), r.value(10).toLongLong()};
    return devices;
}
