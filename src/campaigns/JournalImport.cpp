#include "JournalImport.h"

#include "CampaignStore.h"
#include "UnfinishedCampaign.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "device/SendOutcome.h"
#include "sending/SendingItems.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using Entry = UnfinishedCampaign::Entry;

// What a finished item's outcome says of its fate. A journal written before outcomes were
// recorded names only the words: they are compared whole, never parsed.
void judge(Entry& entry, const QString& outcomeName) {
    Outcome outcome{};
    if (outcomeFromKey(outcomeName, &outcome)) {
        entry.sent = SendOutcome::of(outcome).delivered();
        entry.unknown = outcome == Outcome::Unknown;
        return;
    }
    entry.sent = entry.status == kStatusSent || entry.status == kStatusSentToDevice ||
                 entry.status == kStatusHandedToPhone;
    entry.unknown = entry.status.endsWith(kStatusUnknown);
}

// The journal's story: its first line holds the carried entries and the run's items, each
// later line one step of an item. A line a crash cut short is skipped.
std::optional<QList<Entry>> parse(const QByteArray& content) {
    QList<Entry> carried, run;
    bool started = false;
    for (const QByteArray& line : content.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.isEmpty())
            continue;
        if (!started) {
            started = true;
            for (const QJsonValue value : object.value("carried").toArray()) {
                const QJsonArray e = value.toArray();
                Entry entry{e.at(0).toString(), e.at(1).toString(), e.at(2).toString(), false,
                            e.at(3).toString()};
                judge(entry, e.at(4).toString());
                carried.append(entry);
            }
            for (const QJsonValue value : object.value("items").toArray()) {
                const QJsonArray e = value.toArray();
                run.append({e.at(0).toString(), e.at(1).toString(), e.at(2).toString(), false, {}});
            }
            continue;
        }
        const int index = object.value("i").toInt(-1);
        if (index < 0 || index >= run.size())
            continue;
        Entry& entry = run[index];
        if (object.contains("handing")) {
            entry.unknown = true;
        } else if (object.contains("waiting")) {
            entry.unknown = false;
        } else if (object.contains("delivery")) {
            entry.delivery = object.value("delivery").toString();
        } else if (object.contains("status")) {
            entry.status = object.value("status").toString();
            judge(entry, object.value("outcome").toString());
        }
    }
    if (!started)
        return std::nullopt;
    for (Entry& entry : run)
        if (entry.unknown && entry.status.isEmpty())
            entry.status = kStatusUnknown;
    return carried + run;
}

bool import(SqlDatabase& db, const QList<Entry>& entries, const QString& dataFolder, const QString& road) {
    const qint64 now = CampaignStore::now();
    QList<SqlRow> made;
    if (!db.exec(
            QStringLiteral("INSERT INTO campaigns (created_at, created_by, data_folder, road, options, state,"
                           " total, started_at, reason) VALUES (?, ?, ?, ?, '{}', 'sending', ?, ?, ?)"
                           " RETURNING id"),
            {now, CampaignStore::user(), dataFolder, road, qint64(entries.size()), now,
             QStringLiteral("imported from the run journal of an older version")},
            &made) ||
        made.isEmpty())
        return false;
    const qint64 campaign = made.first().value(0).toLongLong();
    for (int i = 0; i < entries.size(); ++i) {
        const Entry& e = entries.at(i);
        const QString state = e.status.isEmpty() ? QStringLiteral("queued")
                              : e.unknown        ? QStringLiteral("unknown")
                                                 : QStringLiteral("done");
        const QString outcome = e.unknown ? outcomeKey(Outcome::Unknown)
                                : e.sent  ? outcomeKey(Outcome::Sent)
                                          : QString();
        if (!db.exec(QStringLiteral("INSERT INTO items (campaign, position, number, text, state, status,"
                                    " current_status, use_status, outcome, delivery, changed_at)"
                                    " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
                     {campaign, i, e.number, e.message, state, e.status,
                      e.status.isEmpty() ? kWaitToDispatch : kDone,
                      e.status.isEmpty() ? QStringLiteral("wait") : QStringLiteral("done"), outcome,
                      e.delivery, now}))
            return false;
    }
    return true;
}

} // namespace

bool importJournals(CampaignStore& store, const DataFolder& folder, QString* error) {
    for (const auto& journal :
         {std::pair{kGsmRoad, "/Run_Journal.jsonl"}, std::pair{kAndroidRoad, "/Run_Journal_Android.jsonl"}}) {
        const QString& road = journal.first;
        const char* name = journal.second;
        const QString path = folder.Bulk_SMS_Data_Folder_Path() + QLatin1String(name);
        if (!QFileInfo(path).exists() && !QFileInfo(path).isSymLink())
            continue;
        QByteArray content;
        if (!readPrivateFile(path, &content, error))
            return false;
        // A file that holds no run we can read stays where it is, for a person to look at.
        const std::optional<QList<Entry>> entries = parse(content);
        if (!entries)
            continue;
        if (!store.write(
                [&](SqlDatabase& db) { return import(db, *entries, CampaignStore::folderKey(folder), road); },
                error))
            return false;
        Delete_File(path);
    }
    return true;
}
