#include "Gsm7Encoder.h"

#include "Gsm7Decoder.h"

namespace sim::Gsm7Encoder {

bool toSeptets(const QString& text, QList<quint8>* septets) {
    constexpr quint8 kEscape = 27;
    septets->clear();
    for (const QChar c : text) {
        bool found = false;
        for (quint8 code = 0; code < 128 && !found; ++code) {
            if (code != kEscape && Gsm7Decoder::defaultCharacter(code) == c) {
                septets->append(code);
                found = true;
            }
        }
        for (quint8 code = 0; code < 128 && !found; ++code) {
            if (Gsm7Decoder::extensionCharacter(code) == c &&
                !Gsm7Decoder::extensionCharacter(code).isNull()) {
                septets->append(kEscape);
                septets->append(code);
                found = true;
            }
        }
        if (!found)
            return false;
    }
    return true;
}

QByteArray pack(const QList<quint8>& septets, int fillBits) {
    const qsizetype bits = fillBits + septets.size() * 7;
    QByteArray octets((bits + 7) / 8, '\0');
    qsizetype bit = fillBits;
    for (const quint8 septet : septets) {
        for (int b = 0; b < 7; ++b, ++bit)
            if (septet & (1u << b))
                octets[bit / 8] = char(quint8(octets.at(bit / 8)) | (1u << (bit % 8)));
    }
    return octets;
}

} // namespace sim::Gsm7Encoder
