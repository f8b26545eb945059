#pragma once
// What `bulksms send` prints of a run, through modems or a phone alike: a line per recipient
// as soon as its message is finished and, when reports were asked for, its delivery known
// (tab-separated, or JSON with --json), and at the end the devices that left the run, a
// summary and the exit status a script can act on.
#include <QMap>
#include <QObject>
#include <QSet>

class SendingRun;
struct SendingItem;

class RunReport : public QObject {
    Q_OBJECT
public:
    enum class Format { Lines, Json };
    // Whole: the run is the campaign, every item is its to tell. Own: the campaign is shared with
    // other senders, and only the items this run finished are told and counted.
    enum class Scope { Whole, Own };
    RunReport(SendingRun& run, Format format, Scope scope = Scope::Whole, QObject* parent = nullptr);

    // Prints the items not printed yet (those finished when the list was loaded), the ports
    // that left the run, and the summary line.
    void finish();

    // 0: every message that could be sent was (skipped and excluded numbers are no failures);
    // 1: some failed; 3: none went out; 4: the run stopped because data could not be written.
    int exitStatus() const;

    static constexpr int kSomeFailed = 1;
    static constexpr int kNothingSent = 3;

private:
    void printItem(int index, bool runEnded = false);
    QList<SendingItem> reported() const; // the items the report is about

    SendingRun& m_run;
    QMap<QString, QString> m_deviceNotes; // devices that left the run, and why
    QString m_waitNote;                   // who waits for their send window, as last printed
    Format m_format;
    Scope m_scope;
    QSet<int> m_printed;
    QSet<int> m_seen; // items this run changed
};
