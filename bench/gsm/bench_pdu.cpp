// How long building PDUs takes: every message of a run is encoded once per part, on the
// worker thread of its port, between two waits on the modem.
#include "gsm/PDU.h"

#include <QElapsedTimer>

#include <cstdio>

namespace {

QString longestGsmText() {
    QString text;
    while (text.size() < 1600)
        text += QStringLiteral("Dear customer, your order {#1234} costs 15\u20AC. Reply STOP to opt out. ");
    return text.left(1600);
}

void measure(const char* name, const QString& message, bool unicode, int rounds) {
    QElapsedTimer timer;
    timer.start();
    qsizetype octets = 0;
    int parts = 0;
    for (int round = 0; round < rounds; ++round) {
        PDU encoder; // one per message, as a sending call does
        const int total = PDU::partCount(message, unicode);
        for (int part = 1; part <= total; ++part)
            octets +=
                encoder.Encode_UDH_PDU(message, "+447700900001", "", 0, true, false, total, part, unicode)
                    .size() /
                2;
        parts += total;
    }
    const double ms = timer.nsecsElapsed() / 1e6;
    std::printf("%s: %d messages, %d parts, %lld octets in %.1f ms (%.1f us/message)\n", name, rounds, parts,
                static_cast<long long>(octets), ms, ms * 1000 / rounds);
}

} // namespace

int main() {
    measure("1600 GSM characters", longestGsmText(), false, 2000);
    QString cyrillic;
    for (int i = 0; i < 1600; ++i)
        cyrillic += QChar(0x0410 + i % 32);
    measure("1600 UCS2 characters", cyrillic, true, 2000);

    QElapsedTimer timer;
    timer.start();
    qsizetype octets = 0;
    for (int i = 0; i < 100000; ++i) {
        PDU encoder;
        octets += encoder
                      .EncodePDU(QStringLiteral("Your code is %1").arg(i), "+447700900001", "", 0, true,
                                 false, false)
                      .size() /
                  2;
    }
    const double ms = timer.nsecsElapsed() / 1e6;
    std::printf("short single messages: 100000 in %.1f ms (%.2f us/message, %lld octets)\n", ms, ms / 100,
                static_cast<long long>(octets));
    return 0;
}
