// RTF documents of recipients, as word processors and hostile files write them.
#include "FuzzInput.h"
#include "text/RtfConverter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    RtfConverter::looksLikeRtf(in.bytes);
    RtfConverter::toPlainText(in.bytes);
    return 0;
}
