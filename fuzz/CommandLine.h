// A command line out of a fuzzer's bytes: one word a line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct CommandLine {
    std::vector<std::string> words;
    std::vector<const char*> arguments; ///< of `words`
    int Count() const { return static_cast<int>(arguments.size()); }
};

/// The text of an input, cut at 4,096 bytes.
inline std::string CommandText(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), size < 4096 ? size : 4096};
}

inline CommandLine CommandLineOf(const std::string& text)
{
    CommandLine line = {.words = std::vector<std::string>(1), .arguments = {}};
    for (const char c : text) {
        if (c == '\n') {
            line.words.emplace_back();
        } else if (c != 0) {
            line.words.back() += c;
        }
    }
    for (const std::string& word : line.words) line.arguments.push_back(word.c_str());
    return line;
}
