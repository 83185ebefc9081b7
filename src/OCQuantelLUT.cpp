// Quantel iQ text tables.
#include "src/OCLUTLines.h"
#include "src/OCPreviewLUT.h"
#include "src/platform/BPLog.h"

#include <algorithm>

namespace {

constexpr int32_t kSupportedType = 2;

struct Keywords {
    bool table = false, gmax = false, gsize = false;
    int32_t tableType = 0, gMax = 0, entryCount = 0;
    bool All() const { return table && gmax && gsize; }
};

/// Notes what a line says; the numbers that it lacks count as 0.
void Note(const std::string& line, Keywords* keywords)
{
    const char* text = line.c_str();
    const std::string word = OCNextToken(&text);
    int32_t number = 0;
    if (word == "table") {
        (void)OCNextToken(&text); // its name
        (void)OCScanNumbers(text, &number, 1);
        keywords->table = true;
        keywords->tableType = number;
    } else if (word == "gmax") {
        (void)OCScanNumbers(text, &number, 1);
        keywords->gmax = true;
        keywords->gMax = number;
    } else if (word == "gsize") {
        (void)OCScanNumbers(text, &number, 1);
        keywords->gsize = true;
        keywords->entryCount = number;
    }
}

BPStatus FindRows(OCLineReader* reader)
{
    for (std::string line;;) {
        if (BPStatus err = OCNextDataLine(reader, &line); err != bpNoErr) return err;
        const char* text = line.c_str();
        if (OCNextToken(&text) == "r" && OCNextToken(&text) == "g") return bpNoErr;
    }
}

} // namespace

OCLUTRead OCReadQuantelNumbers(std::span<const uint8_t> bytes, OCLUTNumbers* numbers)
{
    *numbers = {};
    OCLineReader reader = {.bytes = bytes};
    Keywords keywords;
    for (std::string line; !keywords.All();) {
        if (OCNextDataLine(&reader, &line) != bpNoErr) return {bpEndOfFileErr, kOCLUTTooShort};
        Note(line, &keywords);
        if (keywords.table && keywords.tableType != kSupportedType) return {bpParamErr, kOCLUTUnsupported};
    }
    BPDebugLog("tableType = %d, gMax = %d, entryCount = %d\n", keywords.tableType, keywords.gMax, keywords.entryCount);
    if (keywords.entryCount < 1 || keywords.gMax < 1) return OCLUTReadError();
    if (FindRows(&reader) != bpNoErr) return {bpEndOfFileErr, kOCLUTTooShort};

    // A row takes six bytes at least, so that this never grows beyond the file.
    const auto entries = static_cast<uint32_t>(keywords.entryCount);
    if (entries > bytes.size() / 5) return {bpEndOfFileErr, kOCLUTTooShort};
    std::vector<uint16_t> values(size_t{3} * entries);
    for (uint32_t row = 0; row < entries; ++row) {
        std::string line;
        if (OCNextDataLine(&reader, &line) != bpNoErr) return {bpEndOfFileErr, kOCLUTTooShort};
        int32_t rgb[3] = {};
        if (OCScanNumbers(line.c_str(), rgb, 3) < 3) {
            // A file that ends inside a row was cut.
            const bool cut = reader.position >= bytes.size();
            return cut ? OCLUTRead{bpEndOfFileErr, kOCLUTTooShort} : OCLUTReadError();
        }
        for (uint32_t channel = 0; channel < 3; ++channel)
            values[size_t{channel} * entries + row] = static_cast<uint16_t>(std::clamp(rgb[channel], 0, 65535));
    }
    *numbers = {.values = std::move(values), .entries = entries, .depth = static_cast<uint32_t>(keywords.gMax) + 1};
    return {bpNoErr, nullptr};
}

OCLUTRead OCReadQuantelLUT(std::span<const uint8_t> bytes, OCPreviewTable table)
{
    OCLUTNumbers numbers;
    if (const OCLUTRead read = OCReadQuantelNumbers(bytes, &numbers); read.status != bpNoErr) return read;
    const uint32_t merge = numbers.entries / 256, divisor = numbers.depth / 256;
    if (merge == 0 || divisor == 0) return OCLUTReadError();
    for (uint32_t channel = 0; channel < 3; ++channel) {
        const uint16_t* value = &numbers.values[size_t{channel} * numbers.entries];
        for (uint32_t place = 0; place < 256; ++place) {
            uint64_t sum = 0;
            for (uint32_t i = 0; i < merge; ++i) sum += *value++;
            // Deliberate: a number above the table's own greatest is white; its low byte alone would be noise.
            table[channel * 256 + place] = static_cast<uint8_t>(std::min<uint64_t>(sum / merge / divisor, 255));
        }
    }
    return {bpNoErr, nullptr};
}
