// Reading of the command line, and the table of formats.
#include "tools/ochrine-render/RenderOptions.h"

#include "host/ClipSequence.h"
#include "host/CommandWords.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

const char kRenderHelp[] =
    R"(ochrine-render applies a grade to a clip, without a window.

    ochrine-render [options] --grade FILE CLIP OUTPUT

CLIP    a movie, a still, or a numbered sequence: shot.%04d.exr or shot.####.exr.
OUTPUT  a movie (.mov), a picture, or a numbered sequence; its suffix chooses the format.

  --grade FILE        settings file (.ocpreset), ASC CDL (.cdl, .ccc, .xml), or the raw record that
                      ochrine-host (.ocgrade) and the clipboard hold
  --format NAME       exr-half [.exr], exr-float, dpx10 [.dpx], dpx16, png8, png16 [.png],
                      raw [.raw: planes R, G, B of 32-bit floats], prores422hq [.mov], prores4444
  --compression KIND  of EXR: zip or none   [zip]
  --frames A-B        frames A to B; a sequence counts as its files do, a movie from 0
  --frame N           this frame alone
  --chunk I/K         the I-th of K parts of the frames, from 1
  --threads N         worker threads, 1 to 256   [one a processor]
  --rate R            frames a second of sequences, such as 25, 23.976, 30000/1001   [theirs, or 25]
  --bad-frames WHAT   frames that are missing or damaged: stop, skip, or hold the frame before   [stop]
  --alpha WHAT        keep or drop transparency   [keep]
  --no-audio          leave the sound out of movies
  --skip-existing     leave files alone that are there already
  --stats             tell where the time went
  --progress KIND     auto, bar, lines or none   [auto: bar on a terminal, else lines]
  --json              tell everything as JSON, one object a line
  --verbose           show the debug log
  --help, --version

The bits of the output do not depend on --threads, --chunk or the machine. Files appear whole or not at all.

Exit codes: 0 done, 1 wrong command line, 2 clip cannot be opened, 3 grade cannot be read, 4 a frame is missing
or damaged, 5 output cannot be written, 6 out of memory, 130 interrupted, 143 terminated.
)";

namespace {

constexpr int64_t kNumberLimit = 999'999'999'999'999'999; // 18 digits, as in names of files

/// "A-B"; numbers of frames are never negative.
bool ReadRange(const std::string& text, RenderOptions* options)
{
    const size_t dash = text.find('-');
    options->hasFirst = options->hasLast = true;
    return dash != std::string::npos && ReadNumber<int64_t>(text.substr(0, dash), 0, kNumberLimit, &options->first) &&
           ReadNumber<int64_t>(text.substr(dash + 1), 0, kNumberLimit, &options->last) &&
           options->first <= options->last;
}

bool ReadChunk(const std::string& text, RenderOptions* options)
{
    const size_t slash = text.find('/');
    return slash != std::string::npos && ReadNumber(text.substr(slash + 1), 1u, 1'000'000u, &options->chunkCount) &&
           ReadNumber(text.substr(0, slash), 1u, options->chunkCount, &options->chunk);
}

/// Takes one of a few words.
template <class Value> struct Word {
    const char* word;
    Value value;
};
template <class Value, size_t count>
bool ReadWord(const std::string& text, const Word<Value> (&words)[count], Value* value)
{
    for (const Word<Value>& word : words) {
        if (text == word.word) return *value = word.value, true;
    }
    return false;
}

constexpr Word<BadFrames> kBadFrames[] = {
    {"stop", BadFrames::stop}, {"skip", BadFrames::skip}, {"hold", BadFrames::hold}};
constexpr Word<bool> kAlpha[] = {{"keep", true}, {"drop", false}};
constexpr Word<bool> kCompressions[] = {{"zip", true}, {"none", false}};
constexpr Word<ProgressKind> kProgress[] = {{"auto", ProgressKind::automatic},
                                            {"bar", ProgressKind::bar},
                                            {"lines", ProgressKind::lines},
                                            {"none", ProgressKind::none}};

/// Sets the option that takes a value; false when the value is wrong.
bool SetValue(const std::string& name, const std::string& value, RenderOptions* options, bool* isKnown)
{
    *isKnown = true;
    if (name == "--grade") return options->grade = value, !value.empty();
    if (name == "--format") return OutputFormatByName(value, &options->format);
    if (name == "--compression") return ReadWord(value, kCompressions, &options->isZipped);
    if (name == "--frames") return ReadRange(value, options);
    if (name == "--frame") return ReadRange(value + "-" + value, options);
    if (name == "--chunk") return ReadChunk(value, options);
    if (name == "--threads") return ReadNumber(value, 1, 256, &options->threads);
    if (name == "--rate") return options->hasRate = true, ClipParseRate(value, &options->rate);
    if (name == "--bad-frames") return ReadWord(value, kBadFrames, &options->badFrames);
    if (name == "--alpha") return ReadWord(value, kAlpha, &options->keepAlpha);
    if (name == "--progress") return ReadWord(value, kProgress, &options->progress);
    *isKnown = false;
    return false;
}

bool SetSwitch(const std::string& name, RenderOptions* options)
{
    if (name == "--no-audio") return options->keepAudio = false, true;
    if (name == "--skip-existing") return options->skipExisting = true;
    if (name == "--stats") return options->showStats = true;
    if (name == "--json") return options->progress = ProgressKind::json, true;
    if (name == "--verbose") return options->isVerbose = true;
    if (name == "--help" || name == "-h") return options->showHelp = true;
    if (name == "--version") return options->showVersion = true;
    return false;
}

/// What the words ask for together.
bool Settle(RenderOptions* options, std::string* error)
{
    if (options->showHelp || options->showVersion) return true;
    if (options->clip.empty() || options->output.empty()) {
        *error = "a clip and an output are wanted";
        return false;
    }
    if (options->grade.empty()) {
        *error = "--grade is wanted";
        return false;
    }
    options->clip = PatternFromHashes(options->clip);
    options->output = PatternFromHashes(options->output);
    if (options->format.name == nullptr && !OutputFormatByPath(options->output, &options->format)) {
        *error = options->output + " names no output: .exr, .dpx, .png, .raw or .mov is wanted";
        return false;
    }
    if (!OutputFormatFits(options->format, options->output)) {
        *error = std::string(options->format.name) + " wants a name that ends in " + options->format.suffix;
        return false;
    }
    return true;
}

std::string LowerSuffix(const std::string& path)
{
    std::string suffix = std::filesystem::path(path).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return suffix;
}

} // namespace

bool OutputFormatByName(const std::string& name, OutputFormat* format)
{
    for (const OutputFormat& row : kOutputFormats) {
        if (name == row.name) return *format = row, true;
    }
    return false;
}

bool OutputFormatByPath(const std::string& path, OutputFormat* format)
{
    const std::string suffix = LowerSuffix(path);
    for (const OutputFormat& row : kOutputFormats) {
        if (row.isDefault && suffix == row.suffix) return *format = row, true;
    }
    return false;
}

bool OutputFormatFits(const OutputFormat& format, const std::string& path)
{
    return LowerSuffix(path) == format.suffix;
}

std::string PatternFromHashes(const std::string& path)
{
    SequenceName ignored;
    const size_t slash = path.rfind('/');
    const size_t name = slash == std::string::npos ? 0 : slash + 1;
    const size_t begin = path.find('#', name);
    if (begin == std::string::npos || path.find('%', name) != std::string::npos) return path;
    size_t end = begin;
    while (end < path.size() && path[end] == '#') ++end;
    if (path.find('#', end) != std::string::npos) return path;
    std::error_code error;
    if (std::filesystem::exists(path, error)) return path; // a file that is called so
    const std::string pattern = path.substr(0, begin) + "%0" + std::to_string(end - begin) + "d" + path.substr(end);
    return SequenceFromPattern(pattern, &ignored) ? pattern : path;
}

bool ParseRenderOptions(int count, const char* const* arguments, RenderOptions* options, std::string* error)
{
    *options = {};
    const CommandRules rules = {
        .setSwitch = [&](const std::string& name) { return SetSwitch(name, options); },
        .setValue = [&](const std::string& name, const std::string& value,
                        bool* isKnown) { return SetValue(name, value, options, isKnown); },
        .setName =
            [&](const std::string& name, std::string* reason) {
                std::string* place = options->clip.empty() ? &options->clip : &options->output;
                *reason = name.empty()      ? "an empty name is no file"
                          : !place->empty() ? "one clip and one output at a time: " + name
                                            : "";
                if (reason->empty()) *place = name;
                return reason->empty();
            },
    };
    if (!ReadCommand(count, arguments, rules, error)) return false;
    return Settle(options, error);
}
