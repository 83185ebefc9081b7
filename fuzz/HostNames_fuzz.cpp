// What a user may type: names of sequences, rates, and whole command lines with one word a line.
#include "fuzz/CommandLine.h"
#include "host/ClipSequence.h"
#include "host/HostOptions.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text = CommandText(data, size);
    SequenceName name;
    // What a pattern makes of a number is cut back into that number.
    if (SequenceFromPattern(text, &name) && SequencePath(name, 1234).size() < 4 + name.folder.size()) std::abort();
    if (SequenceFromFile(text, &name) && SequencePath(name, name.number).size() > text.size() + 18) std::abort();
    ClipRate rate = {25, 1};
    if (ClipParseRate(text, &rate) && (rate.numerator < 1 || rate.denominator < 1 || ClipRate100(rate) < 1))
        std::abort();

    const CommandLine line = CommandLineOf(text);
    HostOptions options;
    std::string error;
    const bool isGood = ParseHostOptions(line.Count(), line.arguments.data(), &options, &error);
    if (isGood != error.empty()) std::abort();
    return 0;
}
