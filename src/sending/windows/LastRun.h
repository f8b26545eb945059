#pragma once
// What the runs of a main window did for each recipient (the latest run that took it): the
// mark each row of the list then shows, and the question before the list goes out again, so
// that nobody a run reached is texted a second time without the operator saying so.
#include "list/NumberList.h"
#include "sending/SendingItems.h"

#include <QHash>
#include <QPair>

#include <optional>

class Operator;

enum class RowFate { Sent, Failed, Unknown, NotSent, Passed }; // Passed: skipped or excluded

RowFate rowFate(const SendingItem& item);
// The words of a row's mark ("" for a number the run passed over).
QString rowMark(RowFate fate);

class LastRun {
public:
    // Keeps what the run did for each recipient it took (by number and message) and marks the rows.
    void remember(const QList<SendingItem>& items, NumberList& list);
    // The recipient's fate in the latest run that took it; nothing when none did.
    std::optional<RowFate> fateOf(const Record& row) const;
    bool isEmpty() const { return m_fates.isEmpty(); }

    // Which rows a new run takes: all of them when no run reached any, else what the
    // operator chooses (the rows not yet sent, or all again); nothing when the operator cancels.
    std::optional<RecordList> rowsToSend(Operator& op, const RecordList& rows) const;
    // Before a run: chooses its rows as above (or, after "Send to the N not yet sent", those
    // without asking); false when nothing is to be sent. The run then takes chosenRows().
    bool choose(Operator& op, const RecordList& rows);
    const RecordList& chosenRows() const { return m_chosen; }
    // Where the chosen row at index stands in the list.
    int listRowOf(int index) const { return m_chosenRows.value(index, index); }
    void sendNotYetSentNext() { m_onlyNotYetSent = true; }
    // The rows no run reached (failed, or never handed over): "Send to the N not yet sent".
    RecordList notYetSent(const RecordList& rows) const;

private:
    bool notYetSent(const Record& row) const;

    QHash<QPair<QString, QString>, RowFate> m_fates;
    RecordList m_chosen;
    QList<int> m_chosenRows; // their places in the list
    bool m_onlyNotYetSent = false;
};

// "Stopped: 23 of 40 sent."
QString stoppedSummary(const QList<SendingItem>& items);
// How many of the run's recipients it did not reach (failed, or never handed over).
int notYetSentCount(const QList<SendingItem>& items);
// "Send to the 17 not yet sent"
QString notYetSentOffer(int count);
// "Sending part 7 of 25": a long message while it goes.
QString partsText(int part, int parts);
