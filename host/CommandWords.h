// How our programs read their command lines: options with a value behind them or behind "=", switches, names, and "--",
// behind which everything is a name.
#pragma once

#include <charconv>
#include <functional>
#include <string>

struct CommandRules {
    std::function<bool(const std::string& name)> setSwitch; ///< false: it is none
    /// False when the value is wrong; `isKnown` tells whether there is such an option.
    std::function<bool(const std::string& name, const std::string& value, bool* isKnown)> setValue;
    std::function<bool(const std::string& name, std::string* error)> setName; ///< false with the reason
};

/// Reads all arguments by the rules; false with one line about the first that is wrong.   Thread: any.
bool ReadCommand(int count, const char* const* arguments, const CommandRules& rules, std::string* error);

/// Reads a whole number between two others and nothing else.
template <class Number> bool ReadNumber(const std::string& text, Number low, Number high, Number* number)
{
    const auto read = std::from_chars(text.data(), text.data() + text.size(), *number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && *number >= low && *number <= high;
}
