// Long messages built by our encoder, read part by part by the virtual modem's decoder (which
// checks every length the PDU declares) and joined as a handset joins them: the text that
// comes out is the text that went in, wherever an extension character or an emoji falls.
#include "QStringPrinting.h"

#include "gsm/PDU.h"
#include "sim/MessageAssembler.h"
#include "sim/PduDecoder.h"

#include <gtest/gtest.h>

namespace {

// The message a handset shows for the parts, or "" when a part was refused or it stays incomplete.
QString reassembled(const QString& text, bool unicode, int reference) {
    PDU encoder;
    encoder.setConcatenationReference(reference);
    const int total = PDU::partCount(text, unicode);
    sim::MessageAssembler handset;
    QList<sim::ReceivedMessage> shown;
    for (int part = 1; part <= total; ++part) {
        const QString pdu =
            encoder.Encode_UDH_PDU(text, "+447700900001", "", 0, true, false, total, part, unicode);
        const sim::DecodedPdu decoded = sim::PduDecoder::decode(pdu, PDU::actualPduLength(pdu));
        if (!decoded.ok) {
            ADD_FAILURE() << "part " << part << " refused: " << decoded.error.toStdString();
            return {};
        }
        EXPECT_EQ(decoded.concatenation.reference, reference);
        sim::ReceivedMessage received;
        received.number = decoded.number;
        received.text = decoded.text;
        received.mode = QStringLiteral("PDU");
        shown += handset.add(received, decoded.concatenation);
    }
    return shown.size() == 1 && shown.first().complete ? shown.first().text : QString();
}

TEST(LongMessageReassembly, EveryLengthWithSpecialCharactersOnEveryCut) {
    int checked = 0;
    for (const bool unicode : {false, true}) {
        const QString special = unicode ? QStringLiteral("\U0001F600") : QStringLiteral("{");
        const QChar filler = unicode ? QChar(0x0416) : QLatin1Char('x');
        const int perPart = unicode ? 66 : 152;
        for (int length = 150; length <= 480; ++length) {
            QString plain(length, filler);
            if (!unicode && length % 7 == 0)
                plain[length - 1] = QLatin1Char('@'); // a real "@" at the end stays one "@"
            if (length > (unicode ? 70 : 160)) {
                EXPECT_EQ(reassembled(plain, unicode, length), plain) << length;
            }
            for (int cut = perPart; cut < length; cut += perPart) {
                for (const int at : {cut - 1, cut}) {
                    QString text = plain;
                    text.replace(at, 1, special);
                    EXPECT_EQ(reassembled(text, unicode, at), text) << length << " at " << at;
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 1000);
}

} // namespace
