#include "RunJournal.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "gsm/ModemAnswers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <unistd.h>

namespace {

QByteArray lineOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonArray entryOf(const QString& number, const QString& message, const QString& status,
                   const QString& delivery = {}) {
    return QJsonArray{number, message, status, delivery};
}

} // namespace

RunJournal::~RunJournal() {
    if (m_fd >= 0)
        ::close(m_fd);
}

QString RunJournal::path() { return Bulk_SMS_Data_Folder_Path + QStringLiteral("/Run_Journal.jsonl"); }

int RunJournal::Unfinished::sent() const {
    int sent = 0;
    for (const Entry& entry : entries)
        sent += ModemAnswers::isSent(entry.status);
    return sent;
}

bool RunJournal::begin(const QList<SendingItem>& items, const QList<Entry>& carried) {
    std::lock_guard lock(m_lock);
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    QJsonArray done;
    for (const Entry& entry : carried)
        done.append(
            entryOf(entry.number, entry.message, entry.unknown ? kUnknown : entry.status, entry.delivery));
    QJsonArray run;
    for (const SendingItem& item : items)
        run.append(entryOf(item.number, item.message, item.status));
    // The start is written whole or not at all; the events are appended to it.
    if (!writeFileAtomically(path(), lineOf(QJsonObject{{"carried", done}, {"items", run}}))) {
        Show_NSLog_Message(QStringLiteral("The run journal cannot be written: %1").arg(path()));
        return false;
    }
    m_fd = ::open(QFile::encodeName(path()).constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    return m_fd >= 0;
}

void RunJournal::append(const QByteArray& line) {
    std::lock_guard lock(m_lock);
    if (m_fd < 0)
        return;
    // One write, then down to the disk: the next step may be the one a power cut interrupts.
    if (::write(m_fd, line.constData(), size_t(line.size())) != line.size())
        Show_NSLog_Message(
            QStringLiteral("The run journal could not record: %1").arg(QString::fromUtf8(line)));
    ::fdatasync(m_fd);
}

void RunJournal::handing(int index, const QString& port) {
    append(lineOf(QJsonObject{{"i", index}, {"handing", port}}));
}

void RunJournal::waiting(int index, const QString& why) {
    append(lineOf(QJsonObject{{"i", index}, {"waiting", why}}));
}

void RunJournal::finished(int index, const SendingItem& item) {
    QJsonArray references;
    for (int reference : item.references)
        references.append(reference);
    append(lineOf(QJsonObject{
        {"i", index}, {"status", item.status}, {"references", references}, {"attempts", item.attempts}}));
}

void RunJournal::delivery(int index, const QString& state) {
    append(lineOf(QJsonObject{{"i", index}, {"delivery", state}}));
}

void RunJournal::end() {
    std::lock_guard lock(m_lock);
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    Delete_File(path());
}

void RunJournal::discard() { Delete_File(path()); }

std::optional<RunJournal::Unfinished> RunJournal::load() {
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    Unfinished unfinished;
    QList<Entry> run;
    bool started = false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.isEmpty())
            continue; // a line the crash cut short
        if (!started) {
            started = true;
            for (const QJsonValue value : object.value("carried").toArray()) {
                const QJsonArray e = value.toArray();
                unfinished.entries.append({e.at(0).toString(), e.at(1).toString(), e.at(2).toString(),
                                           e.at(2).toString() == kUnknown, e.at(3).toString()});
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
            entry.unknown = false;
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
