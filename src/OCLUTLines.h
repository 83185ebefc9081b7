// Lines and numbers out of the bytes of a text table.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstddef>
#include <span>
#include <string>

inline constexpr size_t kOCLineLimit = 255;

/// A place in the bytes of a text; `position` moves forward with each line.
struct OCLineReader {
    std::span<const uint8_t> bytes;
    size_t position = 0;
};

/// Takes the next line without its end. A line ends at a line feed or a carriage return, which swallows the other of
/// the two when that follows at once; a last line needs no end. What is longer than kOCLineLimit goes on as the next
/// line. Returns bpEndOfFileErr, with an empty line, when nothing is left.
BPStatus OCNextLine(OCLineReader* reader, std::string* line);

/// The same in lower case, the ASCII way, for callers that compare keywords.
BPStatus OCNextLowerLine(OCLineReader* reader, std::string* line);

/// Reads up to `count` whole numbers as "%ld %ld ..." does: white space in front, a sign; numbers beyond the range of
/// 32 bits stop at its end. Returns how many were read; the others stay as they are.
int OCScanNumbers(const char* text, int32_t* values, int count);

/// Takes the next word of a line, and moves `text` behind it; empty at the end.
std::string OCNextToken(const char** text);

/// Takes the next line that has something to say: neither blank nor a comment, which begins with '#'.
BPStatus OCNextDataLine(OCLineReader* reader, std::string* line);
