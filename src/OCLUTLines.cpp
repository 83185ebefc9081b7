// No library call here depends on the locale.
#include "src/OCLUTLines.h"

#include <algorithm>

namespace {

bool IsBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

} // namespace

BPStatus OCNextLine(OCLineReader* reader, std::string* line)
{
    line->clear();
    const std::span<const uint8_t> bytes = reader->bytes;
    if (reader->position >= bytes.size()) return bpEndOfFileErr;
    while (reader->position < bytes.size() && line->size() < kOCLineLimit) {
        const uint8_t byte = bytes[reader->position++];
        if (byte != '\n' && byte != '\r') {
            line->push_back(static_cast<char>(byte));
            continue;
        }
        const uint8_t other = byte == '\n' ? '\r' : '\n';
        if (reader->position < bytes.size() && bytes[reader->position] == other) ++reader->position;
        break;
    }
    return bpNoErr;
}

BPStatus OCNextLowerLine(OCLineReader* reader, std::string* line)
{
    const BPStatus err = OCNextLine(reader, line);
    for (char& character : *line)
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
    return err;
}

int OCScanNumbers(const char* text, int32_t* values, int count)
{
    for (int i = 0; i < count; ++i) {
        while (IsBlank(*text)) ++text;
        const bool negative = *text == '-';
        if (*text == '-' || *text == '+') ++text;
        if (!IsDigit(*text)) return i;
        int64_t value = 0;
        for (; IsDigit(*text); ++text) value = std::min<int64_t>(value * 10 + (*text - '0'), INT64_C(1) << 40);
        if (negative) value = -value;
        values[i] = static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
    }
    return count;
}

std::string OCNextToken(const char** text)
{
    const char* at = *text;
    while (IsBlank(*at)) ++at;
    const char* const begin = at;
    while (*at && !IsBlank(*at)) ++at;
    *text = at;
    return std::string(begin, at);
}

BPStatus OCNextDataLine(OCLineReader* reader, std::string* line)
{
    for (;;) {
        if (BPStatus err = OCNextLowerLine(reader, line); err != bpNoErr) return err;
        const char* text = line->c_str();
        if (!OCNextToken(&text).empty() && !line->starts_with('#')) return bpNoErr;
    }
}
