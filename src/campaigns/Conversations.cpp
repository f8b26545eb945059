#include "Conversations.h"

#include "CampaignStore.h"
#include "device/SendOutcome.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

// A statement's conditions and their parameters, in order.
struct Conditions {
    QStringList where;
    QVariantList params;
    QString sql() const { return where.join(QStringLiteral(" AND ")); }
};

const QString kOptedOutNow =
    QStringLiteral("EXISTS (SELECT 1 FROM opt_outs o WHERE o.number = %1 AND o.active = 1)");

// A LIKE pattern that finds text anywhere, its "%", "_" and "!" taken as themselves ("!"
// escapes: a backslash means different things to the two engines' string rules).
QString containsPattern(const QString& text) {
    QString escaped;
    escaped.reserve(text.size() + 4);
    for (const QChar c : text) {
        if (c == QLatin1Char('!') || c == QLatin1Char('%') || c == QLatin1Char('_'))
            escaped += QLatin1Char('!');
        escaped += c;
    }
    return QLatin1Char('%') + escaped + QLatin1Char('%');
}

// What the operator typed, as a number is kept: "07911 123-456" finds "07911123456". Text that
// is not a number stays as it is.
QString numberSearch(const QString& text) {
    static const QRegularExpression writtenNumber(QStringLiteral("^\\+?[0-9 ().\\-]+$"));
    if (!writtenNumber.match(text).hasMatch())
        return text;
    QString digits;
    for (const QChar c : text)
        if (c.isDigit() || c == QLatin1Char('+'))
            digits += c;
    return digits;
}

// The conditions a reply (received r) must meet to pass the filter; the number's state
// (unread replies, the cursor, keep) is the caller's.
Conditions replyConditions(const ConversationFilter& f) {
    Conditions c;
    c.where << QStringLiteral("r.received_at >= ?");
    c.params << f.since;
    if (f.campaign == 0) {
        c.where << QStringLiteral("r.campaign IS NULL");
    } else if (f.campaign > 0) {
        c.where << QStringLiteral("r.campaign = ?");
        c.params << f.campaign;
    }
    if (f.optedOutOnly)
        c.where << kOptedOutNow.arg(QStringLiteral("r.number"));
    const QString search = f.search.trimmed();
    if (!search.isEmpty()) {
        // LOWER on both sides: each engine folds the text and the pattern alike.
        c.where << QStringLiteral("(LOWER(r.number) LIKE LOWER(?) ESCAPE '!' OR LOWER(r.sender) LIKE LOWER(?)"
                                  " ESCAPE '!' OR LOWER(r.text) LIKE LOWER(?) ESCAPE '!')");
        const QString number = containsPattern(numberSearch(search));
        c.params << number << number << containsPattern(search);
    }
    return c;
}

// The outcomes after which the recipient may have had the message.
QVariantList reachedOutcomes() {
    QVariantList keys;
    for (Outcome outcome : {Outcome::Sent, Outcome::SentToDevice, Outcome::HandedToPhone, Outcome::Unknown,
                            Outcome::Stopped}) // stopped between parts: the first ones went
        keys << outcomeKey(outcome);
    return keys;
}

QString placeholders(qsizetype n) { return QStringList(n, QStringLiteral("?")).join(QStringLiteral(", ")); }

QList<int> partsOf(const QString& text) {
    QList<int> parts;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        parts << word.toInt();
    return parts;
}

} // namespace

std::optional<ConversationPage> listConversations(CampaignStore& store, const ConversationFilter& f,
                                                  QString* error) {
    const Conditions inner = replyConditions(f);
    QStringList outer{QStringLiteral("1 = 1")};
    QVariantList params = inner.params;
    if (f.unreadOnly) {
        outer << QStringLiteral("(g.unread > 0 OR g.number = ?)");
        params << f.keep;
    }
    if (f.before > 0) {
        outer << QStringLiteral("g.latest < ?");
        params << f.before;
    }
    const int limit = std::max(1, f.limit);
    params << limit + 1; // one more tells whether another page follows
    const QString statement =
        QStringLiteral("SELECT g.number, g.latest, g.replies, g.unread, r.sender, r.received_at, r.text,"
                       " r.complete, COALESCE(r.campaign, 0), CASE WHEN %1 THEN 1 ELSE 0 END"
                       " FROM (SELECT r.number, MAX(r.id) AS latest, COUNT(*) AS replies,"
                       " COUNT(*) - COUNT(r.read_at) AS unread FROM received r WHERE %2 GROUP BY r.number) g"
                       " JOIN received r ON r.id = g.latest WHERE %3 ORDER BY g.latest DESC LIMIT ?")
            .arg(kOptedOutNow.arg(QStringLiteral("g.number")), inner.sql(),
                 outer.join(QStringLiteral(" AND ")));
    QList<SqlRow> rows;
    if (!store.read([&](SqlDatabase& db) { return db.exec(statement, params, &rows); }, error))
        return std::nullopt;
    ConversationPage page;
    page.more = rows.size() > limit;
    for (qsizetype i = 0; i < std::min<qsizetype>(rows.size(), limit); ++i) {
        const SqlRow& r = rows.at(i);
        ConversationRow row;
        row.number = r.value(0).toString();
        row.latest = r.value(1).toLongLong();
        row.replies = r.value(2).toLongLong();
        row.unread = r.value(3).toLongLong();
        row.sender = r.value(4).toString();
        row.latestAt = r.value(5).toLongLong();
        row.latestText = r.value(6).toString();
        row.latestComplete = r.value(7).toLongLong() == 1;
        row.campaign = r.value(8).toLongLong();
        row.optedOut = r.value(9).toLongLong() == 1;
        page.rows << row;
    }
    return page;
}

std::optional<QList<ConversationEntry>> conversationOf(CampaignStore& store, const QString& number, int limit,
                                                       QString* error) {
    limit = std::max(1, limit);
    const QVariantList reached = reachedOutcomes();
    QList<SqlRow> replies, forms, sent;
    const bool read = store.read(
        [&](SqlDatabase& db) {
            // A reply's time is the network's when it gave one, as its campaign was matched by it.
            if (!db.exec(QStringLiteral("SELECT id, CASE WHEN sent_at > 0 THEN sent_at ELSE received_at END,"
                                        " COALESCE(campaign, 0), text, complete, part_total, parts,"
                                        " COALESCE(read_at, 0) FROM received WHERE number = ?"
                                        " ORDER BY 2 DESC, id DESC LIMIT ?"),
                         {number, limit}, &replies) ||
                !db.exec(QStringLiteral("SELECT DISTINCT sender FROM received WHERE number = ? LIMIT 20"),
                         {number}, &forms))
                return false;
            // The campaigns' items for the number in any of the forms it wrote from, each form
            // a value of its own: both engines then look each up in the number indexes.
            QVariantList written{number};
            for (const SqlRow& form : forms)
                if (form.value(0).toString() != number)
                    written << form.value(0);
            return db.exec(
                QStringLiteral("SELECT i.id, COALESCE(i.sent_at, i.changed_at), i.campaign, i.text,"
                               " CASE WHEN i.state = 'unknown' OR i.outcome = ? THEN 1 ELSE 0 END"
                               " FROM items i WHERE (i.number_e164 = ? OR i.number IN (%1))"
                               " AND (i.state = 'unknown' OR i.outcome IN (%2))"
                               " ORDER BY 2 DESC, i.id DESC LIMIT ?")
                    .arg(placeholders(written.size()), placeholders(reached.size())),
                QVariantList{outcomeKey(Outcome::Unknown), number} + written + reached + QVariantList{limit},
                &sent);
        },
        error);
    if (!read)
        return std::nullopt;
    QList<ConversationEntry> entries;
    entries.reserve(replies.size() + sent.size());
    for (const SqlRow& r : replies) {
        ConversationEntry e;
        e.kind = ConversationEntry::Kind::Reply;
        e.id = r.value(0).toLongLong();
        e.at = r.value(1).toLongLong();
        e.campaign = r.value(2).toLongLong();
        e.text = r.value(3).toString();
        e.complete = r.value(4).toLongLong() == 1;
        e.partTotal = int(r.value(5).toLongLong());
        e.partsArrived = partsOf(r.value(6).toString());
        e.readAt = r.value(7).toLongLong();
        entries << e;
    }
    for (const SqlRow& r : sent) {
        ConversationEntry e;
        e.kind = ConversationEntry::Kind::Sent;
        e.id = r.value(0).toLongLong();
        e.at = r.value(1).toLongLong();
        e.campaign = r.value(2).toLongLong();
        e.text = r.value(3).toString();
        e.unknown = r.value(4).toLongLong() == 1;
        entries << e;
    }
    // Oldest first; a message and the reply in the same millisecond: the message went first.
    std::sort(entries.begin(), entries.end(), [](const ConversationEntry& a, const ConversationEntry& b) {
        if (a.at != b.at)
            return a.at < b.at;
        if (a.kind != b.kind)
            return a.kind == ConversationEntry::Kind::Sent;
        return a.id < b.id;
    });
    if (entries.size() > limit)
        entries.remove(0, entries.size() - limit);
    return entries;
}

std::optional<int> markConversationRead(CampaignStore& store, const QString& number, qint64 upTo,
                                        QString* error) {
    const qint64 now = CampaignStore::now();
    QList<SqlRow> rows;
    if (!store.write(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("UPDATE received SET read_at = ? WHERE number = ? AND id <= ?"
                                              " AND read_at IS NULL RETURNING id"),
                               {now, number, upTo}, &rows);
            },
            error))
        return std::nullopt;
    return int(rows.size());
}

std::optional<QList<ReplyLine>> repliesMatching(CampaignStore& store, const ConversationFilter& f,
                                                QString* error) {
    Conditions c = replyConditions(f);
    if (f.unreadOnly)
        c.where << QStringLiteral("r.read_at IS NULL");
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT r.id, r.received_at, COALESCE(r.campaign, 0),"
                                              " COALESCE(r.read_at, 0), r.number, r.text, r.complete,"
                                              " CASE WHEN %1 THEN 1 ELSE 0 END FROM received r WHERE %2"
                                              " ORDER BY r.id DESC")
                                   .arg(kOptedOutNow.arg(QStringLiteral("r.number")), c.sql()),
                               c.params, &rows);
            },
            error))
        return std::nullopt;
    QList<ReplyLine> lines;
    lines.reserve(rows.size());
    for (const SqlRow& r : rows)
        lines << ReplyLine{r.value(0).toLongLong(),      r.value(1).toLongLong(),     r.value(2).toLongLong(),
                           r.value(3).toLongLong(),      r.value(4).toString(),       r.value(5).toString(),
                           r.value(6).toLongLong() == 1, r.value(7).toLongLong() == 1};
    return lines;
}

std::optional<QList<RepliedCampaign>> repliedCampaigns(CampaignStore& store, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT r.campaign, c.created_at, COUNT(*) FROM received r"
                                              " JOIN campaigns c ON c.id = r.campaign"
                                              " GROUP BY r.campaign, c.created_at ORDER BY r.campaign DESC"),
                               {}, &rows);
            },
            error))
        return std::nullopt;
    QList<RepliedCampaign> campaigns;
    for (const SqlRow& r : rows)
        campaigns << RepliedCampaign{r.value(0).toLongLong(), r.value(1).toLongLong(),
                                     r.value(2).toLongLong()};
    return campaigns;
}

std::optional<qint64> unreadReplies(CampaignStore& store, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT COUNT(*) FROM received WHERE read_at IS NULL"), {},
                               &rows);
            },
            error))
        return std::nullopt;
    return rows.isEmpty() ? 0 : rows.first().value(0).toLongLong();
}
