// Rows of numbered files, found by reading their folder once.
#include "host/ClipSequence.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace {

constexpr size_t kDigitLimit = 18; // fits 64 bits
constexpr size_t kFileLimit = 4'000'000;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

void CutFolder(const std::string& path, std::string* folder, std::string* file)
{
    const size_t slash = path.rfind('/');
    *folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    *file = slash == std::string::npos ? path : path.substr(slash + 1);
}

/// The number of a file of this sequence, written as this sequence writes it.
bool NumberOf(const SequenceName& name, const std::string& file, uint64_t* number)
{
    const size_t frame = name.prefix.size() + name.suffix.size();
    if (file.size() <= frame || file.compare(0, name.prefix.size(), name.prefix) != 0 ||
        file.compare(file.size() - name.suffix.size(), name.suffix.size(), name.suffix) != 0) {
        return false;
    }
    const char* begin = file.data() + name.prefix.size();
    const char* end = file.data() + file.size() - name.suffix.size();
    const size_t count = static_cast<size_t>(end - begin);
    if (count > kDigitLimit || count < name.digits || (count > name.digits && *begin == '0')) return false;
    const auto read = std::from_chars(begin, end, *number);
    return IsDigit(*begin) && read.ec == std::errc() && read.ptr == end;
}

} // namespace

bool SequenceFromPattern(const std::string& path, SequenceName* name)
{
    std::string file;
    *name = {};
    CutFolder(path, &name->folder, &file);
    std::string* part = &name->prefix;
    for (size_t i = 0; i < file.size(); ++i) {
        if (file[i] != '%') {
            *part += file[i];
            continue;
        }
        if (i + 1 < file.size() && file[i + 1] == '%') {
            *part += '%';
            ++i;
            continue;
        }
        size_t end = i + 1;
        while (end < file.size() && IsDigit(file[end])) ++end;
        if (end == file.size() || file[end] != 'd' || part == &name->suffix) return false;
        uint32_t digits = 1;
        if (end > i + 1) {
            if (file[i + 1] != '0' || end == i + 2) return false;
            const auto read = std::from_chars(file.data() + i + 2, file.data() + end, digits);
            if (read.ec != std::errc() || digits < 1 || digits > kDigitLimit) return false;
        }
        name->digits = digits;
        part = &name->suffix;
        i = end;
    }
    return part == &name->suffix;
}

bool SequenceFromFile(const std::string& path, SequenceName* name)
{
    std::string file;
    *name = {};
    CutFolder(path, &name->folder, &file);
    const size_t dot = file.rfind('.');
    size_t end = dot == std::string::npos || dot == 0 ? file.size() : dot;
    while (end > 0 && !IsDigit(file[end - 1])) --end;
    size_t begin = end;
    while (begin > 0 && IsDigit(file[begin - 1])) --begin;
    if (end - begin < 1 || end - begin > kDigitLimit) return false;
    const auto read = std::from_chars(file.data() + begin, file.data() + end, name->number);
    if (read.ec != std::errc()) return false;
    name->prefix = file.substr(0, begin);
    name->suffix = file.substr(end);
    // A leading zero tells the width; without one, the number may be one of %d.
    name->digits = file[begin] == '0' || end - begin == 1 ? static_cast<uint32_t>(end - begin) : 1;
    return true;
}

std::string SequencePath(const SequenceName& name, uint64_t number)
{
    std::string digits = std::to_string(number);
    if (digits.size() < name.digits) digits.insert(0, name.digits - digits.size(), '0');
    return name.folder + name.prefix + digits + name.suffix;
}

std::vector<uint64_t> SequenceNumbers(const SequenceName& name)
{
    std::error_code error;
    std::vector<uint64_t> numbers;
    std::filesystem::directory_iterator folder(name.folder.empty() ? "." : name.folder, error);
    // A number of more digits than the file that was cut may still belong to a row that began with fewer.
    for (; !error && folder != std::filesystem::directory_iterator(); folder.increment(error)) {
        uint64_t number = 0;
        if (!NumberOf(name, folder->path().filename().string(), &number)) continue;
        numbers.push_back(number);
        if (numbers.size() > kFileLimit) return {};
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

std::vector<std::string> SequenceFiles(const SequenceName& name, bool fromFirst, uint64_t* first)
{
    std::vector<std::string> files;
    *first = 0;
    const std::vector<uint64_t> numbers = SequenceNumbers(name);
    auto at = fromFirst ? numbers.begin() : std::find(numbers.begin(), numbers.end(), name.number);
    if (at == numbers.end()) return files;
    while (at != numbers.begin() && *std::prev(at) + 1 == *at) --at;
    *first = *at;
    uint64_t expected = *at;
    for (; at != numbers.end() && *at == expected; ++at, ++expected) files.push_back(SequencePath(name, *at));
    return files;
}
