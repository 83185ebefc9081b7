// The command line.
#include "src/BPNumbers.h"
#include "tools/ochrine-lut/LUTTool.h"

#include <cmath>
#include <cstring>

namespace {

constexpr uint32_t kLeastPoints = 2;

/// A whole number from `least` to `most`; 0 for anything else.
uint32_t WholeNumber(const char* text, uint32_t least, uint32_t most)
{
    uint32_t value = 0;
    if (!*text) return 0;
    for (; *text; ++text) {
        if (*text < '0' || *text > '9' || value > most) return 0;
        value = value * 10 + static_cast<uint32_t>(*text - '0');
    }
    return value >= least && value <= most ? value : 0;
}

bool HasFreeGrid(const OCLUTTarget& target)
{
    return std::strcmp(target.name, "cube") == 0 || std::strcmp(target.name, "clf") == 0;
}

/// The target that the end of a name tells; only where no two targets share it.
const OCLUTTarget* TargetOfPath(const std::string& path)
{
    for (const char* const name : {"cube", "clf"})
        if (path.ends_with(std::string(".") + name)) return OCLUTTargetOfName(name);
    return nullptr;
}

struct Words {
    int argc;
    char** argv;
    int at = 1;

    /// The value of an option: behind '=' or the next word; null when there is none.
    const char* Value(const char* word)
    {
        if (const char* equals = std::strchr(word, '=')) return equals + 1;
        return at < argc ? argv[at++] : nullptr;
    }
};

bool Is(const char* word, const char* option)
{
    const size_t length = std::strlen(option);
    return std::strncmp(word, option, length) == 0 && (word[length] == 0 || word[length] == '=');
}

bool TakeOption(const char* word, Words* words, LUTOptions* options, std::string* error)
{
    const bool flag = std::strcmp(word, "--json") == 0 || std::strcmp(word, "--quiet") == 0;
    if (flag) {
        (std::strcmp(word, "--json") == 0 ? options->json : options->quiet) = true;
        return true;
    }
    if (!Is(word, "--target") && !Is(word, "--points") && !Is(word, "--max-error")) {
        *error = std::string("there is no option ") + word;
        return false;
    }
    const char* const value = words->Value(word);
    if (!value) {
        *error = std::string(word) + " wants a value";
        return false;
    }
    if (Is(word, "--target")) {
        options->target = OCLUTTargetOfName(value);
        if (!options->target) *error = std::string("there is no target ") + value + "; --list shows them";
        return options->target != nullptr;
    }
    if (Is(word, "--points")) {
        options->points = WholeNumber(value, kLeastPoints, kOCLUTIntervalLimit + 1);
        if (!options->points) *error = std::string("--points takes a number from 2 to 129, not ") + value;
        return options->points != 0;
    }
    float limit = -1;
    const bool isNumber = BPScanFloats(value, &limit, 1) == 1 && std::isfinite(limit) && limit >= 0;
    if (!isNumber) *error = std::string("--max-error takes a number of 0 or more, not ") + value;
    options->maxError = double{limit};
    return isNumber;
}

} // namespace

bool LUTParseOptions(int argc, char** argv, LUTOptions* options, std::string* error)
{
    Words words = {argc, argv};
    std::vector<std::string> files;
    bool optionsOver = false;
    while (words.at < argc) {
        const char* const word = argv[words.at++];
        if (!optionsOver && std::strcmp(word, "--") == 0) {
            optionsOver = true;
        } else if (!optionsOver && word[0] == '-' && word[1]) {
            if (!TakeOption(word, &words, options, error)) return false;
        } else {
            files.push_back(word);
        }
    }
    if (files.empty() || files.size() > 2 || files[0].empty() || (files.size() == 2 && files[1].empty())) {
        *error = files.empty() ? "a grade is missing" : "a grade and at most one file to write are wanted";
        return false;
    }
    options->grade = files[0];
    if (files.size() == 2) options->out = files[1];
    if (!options->target) options->target = TargetOfPath(options->out);
    if (!options->target) {
        *error = "--target is missing";
        return false;
    }
    if (options->points && !HasFreeGrid(*options->target)) {
        *error = std::string(options->target->name) + " has a grid of its own; --points is for cube and clf";
        return false;
    }
    return true;
}
