#pragma once
// The journal of a sending run, kept in the data folder so that a crash, a power cut or a
// kill in the middle of a long run never leaves the operator guessing who already got a
// message. Each line is appended and flushed to the disk before the run goes on: the run's
// items when it starts, each item just before it is handed to a modem, and its outcome once
// the modem answered. A run that ends removes its journal; a journal found at start-up
// belongs to a run that did not end. A record that cannot be written is the run's end: every
// step says whether it reached the disk, and once one has not, none of the later ones do.
#include "SendingItems.h"
#include "core/DataFolder.h"

#include <QList>
#include <QString>

#include <mutex>
#include <optional>
#include <utility>

// The kinds of device a run goes through, as its record names them.
inline const QString kGsmRoad = QStringLiteral("gsm");
inline const QString kAndroidRoad = QStringLiteral("android");

class RunJournal {
public:
    explicit RunJournal(DataFolder folder) : m_folder(std::move(folder)) {}
    ~RunJournal();
    RunJournal(const RunJournal&) = delete;
    RunJournal& operator=(const RunJournal&) = delete;

    // "Run_Journal.jsonl" in the data folder ("Run_Journal_Android.jsonl" for runs through a
    // phone): a GSM run and an Android run in one process each keep their own.
    static QString path(const DataFolder& folder, const QString& road = kGsmRoad);

    // An item of a run that did not end, as its journal tells it.
    struct Entry {
        QString number, message;
        QString status;       // final outcome; "" while it was still to be sent
        bool unknown = false; // it was being handed to a modem when the run broke off
        QString delivery;     // what its delivery report said; "" when none was asked for
        bool sent = false;    // the network or the phone has it
    };
    struct Unfinished {
        QList<Entry> entries;
        QString road = kGsmRoad; // the kind of device it was sent through
        int sent() const;
        int total() const { return int(entries.size()); }
    };
    // The journal left by a run that did not end, if there is one. A journal that cannot be
    // read (a symbolic link in its place, say) is none, and error (may be null) then gets
    // "<path>: <reason>"; "" otherwise.
    static std::optional<Unfinished> load(const DataFolder& folder, QString* error = nullptr,
                                          const QString& road = kGsmRoad);
    // Removes a journal left behind (the operator chose not to resume it).
    static void discard(const DataFolder& folder, const QString& road = kGsmRoad);

    // Starts the journal of a run over these items; `carried` are the finished entries of
    // the unfinished run this one resumes (they stay in the journal as they were).
    bool begin(const QList<SendingItem>& items, const QList<Entry>& carried = {},
               const QString& road = kGsmRoad);
    // Before the item is handed to the port's modem: false means it must not be.
    bool handing(int index, const QString& port);
    // The item goes back to wait (refused and to be retried, or its line failed first).
    bool waiting(int index, const QString& why);
    // The item's final outcome.
    bool finished(int index, const SendingItem& item);
    // What the network reported of the item's delivery.
    bool delivery(int index, const QString& state);
    // The run came to its end: its journal goes.
    void end();

    // Why the journal could not be written ("" while it could): the file and the system's reason.
    QString failure() const;

    static inline const QString kUnknown = kStatusUnknown;

private:
    bool append(const QByteArray& line);
    void fail(const QString& why); // under m_lock
    const DataFolder m_folder;
    mutable std::mutex m_lock; // the run's ports write at once
    int m_fd = -1;
    QString m_path;
    QString m_failure;
};
