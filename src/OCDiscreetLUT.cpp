// Discreet text tables.
#include "src/OCLUTLines.h"
#include "src/OCPreviewLUT.h"
#include "src/platform/BPLog.h"

#include <algorithm>

namespace {

struct Header {
    int32_t channels = 0, entries = 0;
};

/// Finds the line "lut: channels entries".
BPStatus FindHeader(OCLineReader* reader, Header* header)
{
    for (std::string line;;) {
        if (BPStatus err = OCNextDataLine(reader, &line); err != bpNoErr) return err;
        const char* text = line.c_str();
        if (OCNextToken(&text) != "lut:") continue;
        int32_t numbers[2] = {};
        (void)OCScanNumbers(text, numbers, 2);
        *header = {.channels = numbers[0], .entries = numbers[1]};
        return bpNoErr;
    }
}

uint32_t DepthOf(uint16_t largest)
{
    return largest > 4095 ? 65536 : largest > 1023 ? 4096 : largest > 255 ? 1024 : 256;
}

} // namespace

OCLUTRead OCReadDiscreetNumbers(std::span<const uint8_t> bytes, OCLUTNumbers* numbers)
{
    *numbers = {};
    OCLineReader reader = {.bytes = bytes};
    Header header;
    if (FindHeader(&reader, &header) != bpNoErr) return {bpEndOfFileErr, kOCLUTTooShort};
    if (header.channels < 3) return {bpParamErr, kOCLUTTooFewChannels};
    if (header.entries < 1) return OCLUTReadError();

    // A number takes two bytes at least, so that this never grows beyond the file. A fourth channel is not read.
    const uint64_t wanted = uint64_t{3} * static_cast<uint32_t>(header.entries);
    if (wanted > bytes.size()) return {bpEndOfFileErr, kOCLUTTooShort};
    std::vector<uint16_t> values;
    values.reserve(wanted);
    uint16_t largest = 0;
    for (std::string line; values.size() < wanted;) {
        if (OCNextDataLine(&reader, &line) != bpNoErr) return {bpEndOfFileErr, kOCLUTTooShort};
        int32_t value = 0;
        if (OCScanNumbers(line.c_str(), &value, 1) < 1) return OCLUTReadError();
        values.push_back(static_cast<uint16_t>(std::clamp(value, 0, 65535)));
        largest = std::max(largest, values.back());
    }
    *numbers = {
        .values = std::move(values), .entries = static_cast<uint32_t>(header.entries), .depth = DepthOf(largest)};
    return {bpNoErr, nullptr};
}

OCLUTRead OCReadDiscreetLUT(std::span<const uint8_t> bytes, OCPreviewTable table)
{
    OCLUTNumbers numbers;
    if (const OCLUTRead read = OCReadDiscreetNumbers(bytes, &numbers); read.status != bpNoErr) return read;
    const uint32_t merge = numbers.entries / 256, divisor = numbers.depth / 256;
    BPDebugLog("bitDepth = %u, sampleMerge = %u\n", numbers.depth, merge);
    if (merge == 0) return OCLUTReadError();
    // Deliberate: one run over all channels, also where the entries are no multiple of 256.
    const uint16_t* value = numbers.values.data();
    for (size_t place = 0; place < kOCPreviewTableBytes; ++place) {
        uint32_t sum = 0;
        for (uint32_t i = 0; i < merge; ++i) sum += *value++;
        table[place] = static_cast<uint8_t>(sum / merge / divisor);
    }
    return {bpNoErr, nullptr};
}
