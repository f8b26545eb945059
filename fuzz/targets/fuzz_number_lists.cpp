// Number lists: text lines, CSV (the separator sniffed, quotes, multi-line fields) and pasted blocks.
#include "FuzzInput.h"
#include "list/NumberCandidates.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    int ignored = 0;
    NumberCandidates::fromTextLines(in.text);
    NumberCandidates::fromCsv(in.text, &ignored);
    NumberCandidates::fromPaste(in.text, &ignored);
    NumberCandidates::parseCsv(in.text, NumberCandidates::sniffCsvSeparator(in.text));
    return 0;
}
