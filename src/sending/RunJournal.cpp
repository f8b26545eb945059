#include "RunJournal.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "core/NoFollowPaths.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

QByteArray lineOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonArray entryOf(const QString& number, const QString& message, const QString& status,
                   const QString& delivery = {}, const QString& outcome = {}) {
    return QJsonArray{number, message, status, delivery, outcome};
}

// What a finished item's outcome says of its fate. A journal written before outcomes were
// recorded names only the words: they are compared whole, never parsed.
void judge(RunJournal::Entry& entry, const QString& outcomeName) {
    Outcome outcome{};
    if (outcomeFromKey(outcomeName, &outcome)) {
        const SendOutcome judged = SendOutcome::of(outcome);
        entry.sent = judged.delivered();
        entry.unknown = outcome == Outcome::Unknown;
        return;
    }
    entry.sent = entry.status == kStatusSent || entry.status == kStatusSentToDevice ||
                 entry.status == kStatusHandedToPhone;
    entry.unknown = entry.status.endsWith(kStatusUnknown);
}

QString outcomeNameOf(const RunJournal::Entry& entry) {
    if (entry.unknown)
        return outcomeKey(Outcome::Unknown);
    return entry.sent ? outcomeKey(Outcome::Sent) : QString();
}

} // namespace

RunJournal::~RunJournal() {
    if (m_fd >= 0)
        ::close(m_fd);
}

QString RunJournal::path(const DataFolder& folder, const QString& road) {
    return folder.Bulk_SMS_Data_Folder_Path() + (road == kAndroidRoad
                                                     ? QStringLiteral("/Run_Journal_Android.jsonl")
                                                     : QStringLiteral("/Run_Journal.jsonl"));
}

int RunJournal::Unfinished::sent() const {
    int sent = 0;
    for (const Entry& entry : entries)
        sent += entry.sent;
    return sent;
}

QString RunJournal::failure() const {
    std::lock_guard lock(m_lock);
    return m_failure;
}

void RunJournal::fail(const QString& why) {
    if (m_failure.isEmpty())
        m_failure = why;
    Show_NSLog_Message(QStringLiteral("The run journal cannot be written: %1").arg(why));
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

bool RunJournal::begin(const QList<SendingItem>& items, const QList<Entry>& carried, const QString& road) {
    std::lock_guard lock(m_lock);
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    m_failure.clear();
    m_path = path(m_folder, road);
    QJsonArray done;
    for (const Entry& entry : carried)
        done.append(entryOf(entry.number, entry.message, entry.unknown ? kUnknown : entry.status,
                            entry.delivery, outcomeNameOf(entry)));
    QJsonArray run;
    for (const SendingItem& item : items)
        run.append(entryOf(item.number, item.message, item.status));
    // The start is written whole or not at all; the events are appended to it.
    QString why;
    if (!writeFileAtomically(m_path, lineOf(QJsonObject{{"road", road}, {"carried", done}, {"items", run}}),
                             &why)) {
        fail(why);
        return false;
    }
    m_fd = openNoFollow(m_path, O_WRONLY | O_APPEND, 0, &why);
    if (m_fd < 0) {
        fail(why);
        return false;
    }
    return true;
}

bool RunJournal::append(const QByteArray& line) {
    std::lock_guard lock(m_lock);
    if (m_fd < 0)
        return false;
    // Written whole, then down to the disk: the next step may be the one a power cut
    // interrupts. A line cut short is as good as none: the reader skips a line it cannot parse,
    // and nothing is written after it.
    for (qsizetype done = 0; done < line.size();) {
        const ssize_t written = ::write(m_fd, line.constData() + done, size_t(line.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            fail(QStringLiteral("%1: %2").arg(m_path, written < 0
                                                          ? QString::fromLocal8Bit(std::strerror(errno))
                                                          : QStringLiteral("No space left on device")));
            return false;
        }
        done += written;
    }
    if (::fdatasync(m_fd) != 0) {
        fail(QStringLiteral("%1: %2").arg(m_path, QString::fromLocal8Bit(std::strerror(errno))));
        return false;
    }
    return true;
}

bool RunJournal::handing(int index, const QString& port) {
    return append(lineOf(QJsonObject{{"i", index}, {"handing", port}}));
}

bool RunJournal::waiting(int index, const QString& why) {
    return append(lineOf(QJsonObject{{"i", index}, {"waiting", why}}));
}

bool RunJournal::finished(int index, const SendingItem& item) {
    QJsonArray references;
    for (int reference : item.references)
        references.append(reference);
    QJsonObject line{
        {"i", index}, {"status", item.status}, {"references", references}, {"attempts", item.attempts}};
    if (item.outcome)
        line.insert("outcome", outcomeKey(item.outcome->outcome));
    return append(lineOf(line));
}

bool RunJournal::delivery(int index, const QString& state) {
    return append(lineOf(QJsonObject{{"i", index}, {"delivery", state}}));
}

void RunJournal::end() {
    std::lock_guard lock(m_lock);
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (!m_path.isEmpty())
        Delete_File(m_path);
}

void RunJournal::discard(const DataFolder& folder, const QString& road) { Delete_File(path(folder, road)); }

std::optional<RunJournal::Unfinished> RunJournal::load(const DataFolder& folder, QString* error,
                                                       const QString& road) {
    QByteArray content;
    if (!readPrivateFile(path(folder, road), &content, error))
        return std::nullopt;
    Unfinished unfinished;
    unfinished.road = road;
    QList<Entry> run;
    bool started = false;
    for (const QByteArray& line : content.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.isEmpty())
            continue; // a line the crash cut short
        if (!started) {
            started = true;
            for (const QJsonValue value : object.value("carried").toArray()) {
                const QJsonArray e = value.toArray();
                Entry entry{e.at(0).toString(), e.at(1).toString(), e.at(2).toString(), false,
                            e.at(3).toString()};
                judge(entry, e.at(4).toString());
                unfinished.entries.append(entry);
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
            // A modem that fell silent after the hand-over leaves the fate unknown too.
            entry.status = object.value("status").toString();
            judge(entry, object.value("outcome").toString());
        }
    }
    if (!started)
        return std::nullopt;
    for (Entry& entry : run)
        if (entry.unknown && entry.status.isEmpty())
            entry.status = kUnknown;
    unfinished.entries += run;
    return unfinished;
}
