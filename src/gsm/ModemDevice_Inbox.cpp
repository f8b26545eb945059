// The replies a modem received, read between the messages of a run: its whole storage in PDU
// mode (the status reports among it are left to their own reading), long messages joined,
// and a place freed only once the run's record has kept what lay there.
#include "ConcatenatedSmsAssembler.h"
#include "MFCSMS.h"
#include "ModemAnswers.h"
#include "ModemDevice.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/WallClock.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace {
// The storage is read when the modem announces a message ("+CMTI") and at least this often.
constexpr auto kInboxReadEvery = 60s;
// How long the parts of a long reply may take to arrive before it is kept as it is.
constexpr auto kPartsWait = 600s;

IncomingMessage incoming(const AssembledSms& sms) {
    IncomingMessage message;
    message.sender = sms.sender;
    message.text = sms.text;
    message.sentAt = sms.sentAt.isValid() ? sms.sentAt.toMSecsSinceEpoch() : 0;
    message.parts = sms.total;
    for (int part = 1; part <= sms.total; ++part)
        if (!sms.missingParts.contains(part))
            message.partsArrived << part;
    message.complete = sms.complete();
    message.places = sms.storageIndexes;
    return message;
}
} // namespace

QList<IncomingMessage> ModemDevice::takeReceived(bool now) {
    const bool announced = m_session.takeNewMessageNote();
    const auto time = std::chrono::steady_clock::now();
    if (!now && !announced && time < m_nextInboxRead)
        return {};
    m_nextInboxRead = time + Clock::scaled(kInboxReadEvery);
    return Guard::run(
        "ModemDevice::takeReceived", [this] { return readInbox(); }, QList<IncomingMessage>());
}

// A modem that refuses PDU mode lists its messages as text: each part of a long reply then
// comes alone, without the header that would join it to the others, and is kept so.
QList<IncomingMessage> ModemDevice::readInboxAsText() {
    if (!std::exchange(m_inboxRefusalLogged, true))
        Show_NSLog_Message(
            QStringLiteral("%1: replies are read in text mode (the modem refuses PDU mode): the parts of a "
                           "long reply are kept one by one")
                .arg(m_path));
    const std::optional<QList<ListedText>> listed = m_session.listStoredTexts(m_fd);
    if (!listed)
        listRefused();
    QList<IncomingMessage> received;
    for (const ListedText& entry : listed.value_or(QList<ListedText>())) {
        IncomingMessage message;
        message.sender = entry.sender;
        message.text = entry.text;
        message.sentAt = entry.sentAt.isValid() ? entry.sentAt.toMSecsSinceEpoch() : 0;
        message.partsArrived = {1};
        message.places = {entry.index};
        received << message;
    }
    return received;
}

QList<IncomingMessage> ModemDevice::readInbox() {
    // The list is read in PDU mode, which every reading of ours understands; a text-mode run
    // goes back to text mode after it. A modem opened only to read (no run readied it) may
    // still be in the format its last user left.
    const bool textMode = m_details.mode == SmsMode::Text;
    if ((textMode || !m_prepared) && !m_session.SET_CMGF_PDU_MODE(m_fd))
        return readInboxAsText();
    const std::optional<QList<ListedPdu>> listed = m_session.listStoredMessages(m_fd);
    if (textMode)
        m_session.SET_CMGF_TEXT_MODE(m_fd);
    if (!listed) {
        listRefused();
        return {};
    }
    if (!m_parts) {
        const auto wait = std::chrono::duration_cast<std::chrono::seconds>(Clock::scaled(kPartsWait));
        m_parts = std::make_unique<ConcatenatedSmsAssembler>(std::max<qint64>(1, wait.count()));
    }
    const QDateTime now = Clock::now();
    QList<IncomingMessage> received;
    for (const ListedPdu& entry : *listed) {
        const std::optional<ReceivedSms> sms = decodeDeliver(entry.pdu, entry.length);
        if (!sms)
            continue; // a status report, or what is not a message someone sent
        if (const std::optional<AssembledSms> whole = m_parts->add(*sms, now, entry.index))
            received << incoming(*whole);
    }
    for (const AssembledSms& late : m_parts->expire(now))
        received << incoming(late);
    return received;
}

void ModemDevice::listRefused() {
    if (std::exchange(m_listRefusalTold, true))
        return;
    m_receivingNotice = QStringLiteral("Replies are not read: the modem refused to list its messages (%1).")
                            .arg(ModemAnswers::smsErrorText(m_session.lastResponse()));
    Show_NSLog_Message(m_path + QStringLiteral(": ") + m_receivingNotice);
}

void ModemDevice::forgetReceived(const QList<IncomingMessage>& kept) {
    Guard::run("ModemDevice::forgetReceived", [&] {
        for (const IncomingMessage& message : kept)
            for (int place : message.places)
                m_session.deleteStoredMessage(m_fd, place);
    });
}
