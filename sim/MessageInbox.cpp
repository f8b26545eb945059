#include "MessageInbox.h"

#include "PduDecoder.h"
#include "TextCharset.h"

#include <QJsonArray>

#include <algorithm>

namespace sim {
namespace {

constexpr int kMemoryFull = 322;
constexpr int kInvalidPduParameter = 304;
constexpr int kInvalidTextParameter = 305;

CommandResult failure(int cmsCode) {
    CommandResult result;
    result.final = CommandResult::Final::Error;
    result.error = ModemCommands::cmsError(cmsCode);
    return result;
}

bool storesAndAnnounces(int mt) { return mt == 1 || mt == 3; }

} // namespace

MessageInbox::MessageInbox(const ModemSettings& settings, QString device, int simSize)
    : m_settings(settings), m_device(std::move(device)), m_store(std::max(1, simSize)),
      m_commands(m_store, m_settings) {}

SimEntry MessageInbox::entryOf(const DeliverPart& part) const {
    SimEntry entry;
    entry.kind = SimEntry::Kind::Received;
    entry.status = SimStore::RecUnread;
    entry.pduHex = part.hex;
    entry.tpduLength = part.tpduLength;
    entry.address = part.sender;
    entry.addressType = part.senderType;
    entry.timestamp = DeliverPdu::timeStampText(part.timestamp);
    entry.text = part.text;
    entry.dcs = part.dcs;
    return entry;
}

void MessageInbox::preload(const IncomingMessage& message) {
    const QDateTime at = message.at.isValid() ? message.at : QDateTime::currentDateTime();
    for (const DeliverPart& part : DeliverPdu::encode(message, m_settings.smsc, ++m_reference, at))
        m_store.store(entryOf(part));
}

void MessageInbox::deliver(const IncomingMessage& message) {
    const QDateTime at = message.at.isValid() ? message.at : QDateTime::currentDateTime();
    QList<DeliverPart> parts = DeliverPdu::encode(message, m_settings.smsc, ++m_reference, at);
    auto delivery = std::make_shared<Delivery>();
    QJsonObject& event = delivery->event;
    event.insert(QStringLiteral("event"), QStringLiteral("delivered"));
    event.insert(QStringLiteral("device"), m_device);
    event.insert(QStringLiteral("from"), message.from);
    event.insert(QStringLiteral("text"), message.text);
    event.insert(QStringLiteral("total"), int(parts.size()));
    event.insert(QStringLiteral("dcs"), parts.constFirst().dcs);
    event.insert(QStringLiteral("timestamp"), DeliverPdu::timeStampText(at));
    if (message.dropPart >= 1 && message.dropPart <= parts.size() && parts.size() > 1) {
        parts.removeAt(message.dropPart - 1);
        event.insert(QStringLiteral("lost"), message.dropPart);
    }
    if (message.outOfOrder)
        std::reverse(parts.begin(), parts.end());
    QJsonArray pdus;
    for (const DeliverPart& part : parts)
        pdus.append(part.hex);
    event.insert(QStringLiteral("pdus"), pdus);
    event.insert(QStringLiteral("parts"), int(parts.size()));

    if (m_settings.cnmiMt == 2) { // handed straight over, never stored
        for (const DeliverPart& part : parts) {
            if (m_settings.cmgf == 0) {
                m_indications << QStringLiteral("+CMT: ,%1\r\n%2").arg(part.tpduLength).arg(part.hex);
            } else {
                const SimEntry entry = entryOf(part);
                m_indications << QStringLiteral("+CMT: \"%1\",,\"%2\"\r\n%3")
                                     .arg(TextCharset::encodeParameter(entry.address, m_settings.cscs),
                                          entry.timestamp, SimCommands::textModeBody(entry, m_settings.cscs));
            }
        }
        event.insert(QStringLiteral("indexes"), QJsonArray());
        m_events.append(event);
        return;
    }
    delivery->outstanding = int(parts.size());
    for (const DeliverPart& part : parts)
        m_waiting.push_back({entryOf(part), delivery});
    if (parts.isEmpty())
        finish(*delivery);
    storeWaiting();
}

void MessageInbox::keepReport(SimEntry report) {
    m_waiting.push_back({std::move(report), nullptr});
    storeWaiting();
}

void MessageInbox::storeWaiting() {
    while (!m_waiting.empty() && !m_store.full()) {
        Waiting next = std::move(m_waiting.front());
        m_waiting.pop_front();
        const int index = m_store.store(next.entry);
        if (!next.delivery) {
            m_indications << QStringLiteral("+CDSI: \"SR\",%1").arg(index);
            continue;
        }
        if (storesAndAnnounces(m_settings.cnmiMt))
            m_indications << QStringLiteral("+CMTI: \"SM\",%1").arg(index);
        next.delivery->indexes.append(index);
        if (--next.delivery->outstanding == 0)
            finish(*next.delivery);
    }
}

void MessageInbox::finish(Delivery& delivery) {
    QJsonArray indexes;
    for (const int index : delivery.indexes)
        indexes.append(index);
    delivery.event.insert(QStringLiteral("indexes"), indexes);
    m_events.append(delivery.event);
}

std::optional<CommandResult> MessageInbox::run(const AtCommand& command) {
    std::optional<CommandResult> result = m_commands.run(command);
    for (const auto& [index, entry] : m_commands.takeDeleted()) {
        QJsonObject event;
        event.insert(QStringLiteral("event"), QStringLiteral("deleted"));
        event.insert(QStringLiteral("device"), m_device);
        event.insert(QStringLiteral("index"), index);
        event.insert(QStringLiteral("status"), SimStore::statusName(entry.status));
        event.insert(QStringLiteral("address"), entry.address);
        event.insert(QStringLiteral("text"), entry.text);
        m_events.append(event);
    }
    storeWaiting();
    return result;
}

CommandResult MessageInbox::write(const QByteArray& body, const CommandResult& prompt) {
    const bool pdu = m_settings.cmgf == 0;
    SimEntry entry;
    entry.kind = SimEntry::Kind::Written;
    entry.status = prompt.storeStatus;
    if (pdu) {
        const QString hex = QString::fromLatin1(body);
        DecodedPdu decoded = PduDecoder::decode(hex, prompt.pduLength);
        if (!decoded.ok) {
            decoded = PduDecoder::decodeDeliver(hex);
            const int smscOctets = 1 + hex.left(2).toInt(nullptr, 16);
            if (!decoded.ok || hex.size() / 2 - smscOctets != prompt.pduLength)
                return failure(kInvalidPduParameter);
            entry.kind = SimEntry::Kind::Received;
            entry.timestamp = DeliverPdu::timeStampText(decoded.timestamp);
        }
        entry.pduHex = hex;
        entry.tpduLength = prompt.pduLength;
        entry.address = decoded.number;
        entry.addressType = decoded.number.startsWith(u'+') ? 0x91 : 0x81;
        entry.text = decoded.text;
        entry.dcs = decoded.dcs;
    } else {
        bool decoded = false;
        entry.text = TextCharset::decodeBody(body, m_settings.cscs, false, &decoded);
        if (!decoded)
            return failure(kInvalidTextParameter);
        entry.address = prompt.number;
        entry.addressType = prompt.number.startsWith(u'+') ? 0x91 : 0x81;
        IncomingMessage asDelivered; // the octets a PDU-mode reader sees
        asDelivered.from = prompt.number.isEmpty() ? QStringLiteral("0") : prompt.number;
        asDelivered.text = entry.text;
        const QList<DeliverPart> parts =
            DeliverPdu::encode(asDelivered, m_settings.smsc, 0, QDateTime::currentDateTime());
        if (parts.size() != 1)
            return failure(kInvalidTextParameter); // more than one message's worth
        entry.pduHex = DeliverPdu::submitHex(parts.constFirst());
        entry.tpduLength = int(entry.pduHex.size() / 2 - 1);
        entry.dcs = parts.constFirst().dcs;
    }
    const int index = m_store.store(entry);
    if (index < 0)
        return failure(kMemoryFull);
    CommandResult result;
    result.information = {QStringLiteral("+CMGW: %1").arg(index)};
    return result;
}

} // namespace sim
