// What a user may type: names of sequences, rates, and whole command lines with one word a line.
#include "host/ClipSequence.h"
#include "host/HostOptions.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size < 4096 ? size : 4096);
    SequenceName name;
    // What a pattern makes of a number is cut back into that number.
    if (SequenceFromPattern(text, &name) && SequencePath(name, 1234).size() < 4 + name.folder.size()) std::abort();
    if (SequenceFromFile(text, &name) && SequencePath(name, name.number).size() > text.size() + 18) std::abort();
    ClipRate rate = {25, 1};
    if (ClipParseRate(text, &rate) && (rate.numerator < 1 || rate.denominator < 1 || ClipRate100(rate) < 1))
        std::abort();

    std::vector<std::string> words(1);
    for (const char c : text) {
        if (c == '\n') {
            words.emplace_back();
        } else if (c != 0) {
            words.back() += c;
        }
    }
    std::vector<const char*> arguments;
    for (const std::string& word : words) arguments.push_back(word.c_str());
    HostOptions options;
    std::string error;
    const bool isGood = ParseHostOptions(static_cast<int>(arguments.size()), arguments.data(), &options, &error);
    if (isGood != error.empty()) std::abort();
    return 0;
}
