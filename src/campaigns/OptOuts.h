#pragma once
// The numbers that asked for no more messages. Each opt-out is a row of its own and stays when
// it ends (START, or the operator's word): when and how a person opted out and back in is kept.
// A number has one active opt-out at most; no later claim hands a message to it.
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class CampaignStore;
class SqlDatabase;

// How an opt-out began or ended.
inline const QString kOptOutByKeyword = QStringLiteral("keyword");
inline const QString kOptOutByOperator = QStringLiteral("operator");
inline const QString kOptOutByApi = QStringLiteral("api");

struct OptOut {
    qint64 id = 0;
    QString number; // E.164, or as written when no country applies
    qint64 since = 0;
    QString how;
    qint64 message = 0; // the received message that caused it; 0 for none
    bool active = true;
    qint64 endedAt = 0; // 0 while active
    QString endedHow;
    qint64 endedMessage = 0;
};

// The form an operator's number is kept in: its E.164 form when it is written with its "+",
// else as written, separators dropped; "" when it is no phone number.
QString optOutNumber(const QString& written);

// Opts the number out, unless it already is (its first opt-out stays); false when the store
// refused (error says why) or the number is no phone number.
bool addOptOut(CampaignStore& store, const QString& number, const QString& how, QString* error = nullptr);
// Ends the number's opt-out, if it has one.
bool removeOptOut(CampaignStore& store, const QString& number, const QString& how, QString* error = nullptr);
// The opt-outs, newest first: the active ones, or every one ever made.
std::optional<QList<OptOut>> listOptOuts(CampaignStore& store, bool activeOnly = true,
                                         QString* error = nullptr);
std::optional<bool> isOptedOut(CampaignStore& store, const QString& number, QString* error = nullptr);

// The same within the caller's transaction (message: the received message that asks it, 0
// for none); changed (may be null) tells whether anything changed.
bool optOutWithin(SqlDatabase& db, const QString& number, const QString& how, qint64 message, qint64 now,
                  bool* changed = nullptr);
bool optInWithin(SqlDatabase& db, const QString& number, const QString& how, qint64 message, qint64 now,
                 bool* changed = nullptr);
// The number's active opt-out (number as optOutNumber keeps it), or none.
bool activeOptOutWithin(SqlDatabase& db, const QString& number, std::optional<OptOut>* active);
// Whether one of the numbers (the forms of one recipient; blanks ignored) is opted out.
bool optedOutWithin(SqlDatabase& db, const QStringList& numbers, bool* optedOut);
