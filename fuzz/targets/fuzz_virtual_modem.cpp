// The virtual devices' parsers: the modem's AT command lines and PDU decoder, and the phone's
// shell lines. They read whatever the program under test writes, so they must hold too.
#include "FuzzInput.h"
#include "sim/AtParser.h"
#include "sim/PduDecoder.h"
#include "sim/PhoneShell.h"

#include <QHash>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    for (const sim::AtCommand& command : sim::AtParser::parse(in.text).commands)
        command.values();
    sim::PduDecoder::decode(in.text, in.selector() - 1);
    bool ok = false;
    sim::PduDecoder::octetsFromHex(in.text, &ok);
    sim::parseShellLine(in.text, {{QStringLiteral("EXTERNAL_STORAGE"), QStringLiteral("/sdcard")}});
    return 0;
}
