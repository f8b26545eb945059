#include "AndroidSendingProgress.h"

#include "core/MainThread.h"
#include "core/Operator.h"
#include "list/NumberList.h"
#include "sending/SendingItems.h"

namespace {
// Number, Message, Current Status, Status, the phone it went through, Retry.
const QStringList kRowColumns = {kNumberKey,     kMessageKey,  kItemCurrentStatusKey,
                                 kItemStatusKey, kItemPortKey, kItemRetriesKey};
} // namespace

AndroidSendingProgress::AndroidSendingProgress(Operator& op, QObject* parent)
    : QObject(parent), m_op(op), m_rows(kRowColumns) {}

void AndroidSendingProgress::update(const std::function<void(State&)>& change) {
    MainThread::invokeAndWait([this, change] {
        change(m_state);
        emit changed();
    });
}

void AndroidSendingProgress::start(const std::function<void(State&)>& initial) {
    m_rows.clear();
    m_phonesLeft.clear();
    update([&initial](State& s) {
        s = {};
        initial(s);
    });
}

void AndroidSendingProgress::showRows(const RecordList& rows) {
    m_rows.setRecords(rows);
    emit changed();
}

void AndroidSendingProgress::showRow(int index, const Record& row) {
    if (index < 0 || index >= m_rows.size())
        return; // the rows come with the run's load; nothing is shown before
    m_rows.replace(index, row);
    emit changed();
}

void AndroidSendingProgress::phoneSending(const QString& phone, const QString& number) {
    m_phonesLeft.remove(phone);
    update([&](State& s) { s.phones.insert(phone, QStringLiteral("Sending to ") + number); });
}

void AndroidSendingProgress::phoneNote(const QString& phone, const QString& note) {
    m_phonesLeft.insert(phone);
    update([&](State& s) { s.phones.insert(phone, note); });
}

void AndroidSendingProgress::phoneNotice(const QString& phone, const QString& notice) {
    update([&](State& s) { s.notices << phone + QStringLiteral(": ") + notice; });
}

void AndroidSendingProgress::finish(const QString& statusText) {
    update([&](State& s) {
        s.finished = true;
        s.statusText = statusText;
        s.stopEnabled = false;
        s.pauseText.clear();
        s.waiting.clear();
        s.busy = 0;
        for (auto it = s.phones.begin(); it != s.phones.end(); ++it)
            if (!m_phonesLeft.contains(it.key()))
                it.value() = QStringLiteral("Finished.");
    });
}

void AndroidSendingProgress::Export_Btn() {
    if (m_exportReport)
        m_exportReport();
}

void AndroidSendingProgress::Close_Btn() {
    update([](State& s) { s.visible = false; });
}

void AndroidSendingProgress::Stop_Btn() {
    // Held before the question shows: nothing more goes out while the operator hesitates.
    hold(true);
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop sending text messages "
                           "to the remaining contact. Are you sure you want to continue?"))) {
        hold(false);
        return;
    }
    requestStop();
}

void AndroidSendingProgress::hold(bool on) {
    m_held = on;
    if (m_holdRun)
        m_holdRun(on);
}
