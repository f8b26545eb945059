// Text files in any encoding the loaders accept: detection and decoding, and the code pages
// RTF and old files name.
#include "FuzzInput.h"
#include "text/CodePageDecoder.h"
#include "text/TextFileDecoder.h"

#include <QStringList>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    QString text;
    TextFileDecoder::decode(in.bytes, text);
    TextFileDecoder::detectEncoding(in.bytes);
    static const QStringList charsets = {QStringLiteral("windows-1252"), QStringLiteral("windows-1251"),
                                         QStringLiteral("Shift_JIS"),    QStringLiteral("GBK"),
                                         QStringLiteral("UTF-8"),        QStringLiteral("no-such-charset")};
    CodePageDecoder::decode(in.bytes.mid(1), charsets.at(in.selector() % charsets.size()));
    CodePageDecoder::charsetOfCodePage(in.selector() * 7);
    return 0;
}
