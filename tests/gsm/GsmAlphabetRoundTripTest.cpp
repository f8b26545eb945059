// The alphabet, the encoder and the network agree: a code unit counts as GSM exactly when
// the virtual modem, decoding on its own, reads the product's 7-bit encoding of it back as
// that same unit. Anything else would let a message go out garbled, or go as UCS2 for no reason.
#include "gsm/PDU.h"
#include "sim/PduDecoder.h"
#include "text/GsmAlphabet.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace {

QString decodedByTheNetwork(PDU& encoder, const QString& text) {
    const QString pdu =
        encoder.EncodePDU(text, QStringLiteral("+447700900001"), QString(), 0, true, false, false);
    const sim::DecodedPdu decoded = sim::PduDecoder::decode(pdu, PDU::actualPduLength(pdu));
    return decoded.ok ? decoded.text : QStringLiteral("<refused: %1>").arg(decoded.error);
}

TEST(GsmAlphabetRoundTrip, EveryCodeUnitIsGsmExactlyWhenItSurvivesTheTrip) {
    PDU encoder;
    QStringList mismatches;
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
        const QChar c(static_cast<char16_t>(unit));
        const bool survives = decodedByTheNetwork(encoder, QString(c)) == QString(c);
        if (survives != isGsm7Character(c))
            mismatches << QStringLiteral("U+%1 (%2)")
                              .arg(unit, 4, 16, QLatin1Char('0'))
                              .arg(survives ? QStringLiteral("survives, not GSM")
                                            : QStringLiteral("GSM, lost"));
    }
    EXPECT_TRUE(mismatches.isEmpty()) << mismatches.join(QStringLiteral(", ")).toStdString();
}

TEST(GsmAlphabetRoundTrip, TheWholeAlphabetInOneMessage) {
    // Every septet position in the packing and every escape between neighbours.
    QString all;
    for (int unit = 0; unit <= 0xFFFF; ++unit)
        if (isGsm7Character(QChar(static_cast<char16_t>(unit))))
            all += QChar(static_cast<char16_t>(unit));
    ASSERT_EQ(all.size(), 127 + 10); // the default table less the escape, and the extension table
    PDU encoder;
    EXPECT_EQ(decodedByTheNetwork(encoder, all), all);
}

} // namespace
