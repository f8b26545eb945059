// What a modem lists of the messages it received: the delivery PDUs, the listings and reads
// in both modes, the new-message notes, and the joining of long messages from their parts.
#include "FuzzInput.h"
#include "gsm/ConcatenatedSmsAssembler.h"
#include "gsm/ReceivedListings.h"
#include "gsm/ReceivedSms.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    const QString& answer = in.text;
    const QDateTime start = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
    ConcatenatedSmsAssembler assembler(60);
    // The input as one PDU, with and without a length that drops the service centre address.
    for (const int length : {-1, in.selector(), int(answer.trimmed().size() / 2)})
        if (const std::optional<ReceivedSms> sms = decodeDeliver(answer, length))
            assembler.add(*sms, start, length);
    // The input as answers: every PDU listed goes through the decoder and the assembler.
    int second = 0;
    for (const ListedPdu& entry : ReceivedListings::pduList(answer))
        if (const std::optional<ReceivedSms> sms = decodeDeliver(entry.pdu, entry.length))
            assembler.add(*sms, start.addSecs(++second), entry.index);
    if (const std::optional<ListedPdu> read = ReceivedListings::pduRead(answer))
        decodeDeliver(read->pdu, read->length);
    ReceivedListings::textList(answer);
    ReceivedListings::textRead(answer);
    ReceivedListings::newMessageIndex(answer);
    ReceivedListings::textModeTime(answer);
    ucs2Text(in.bytes);
    assembler.expire(start.addSecs(in.selector()));
    assembler.flush();
    return 0;
}
