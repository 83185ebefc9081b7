// Reading of the command line.
#include "host/HostOptions.h"

#include "host/CommandWords.h"

#include <cstring>

const char kHostHelp[] =
    R"(ochrine-host opens a clip in Ochrine and renders it with the grade that comes back.

    ochrine-host [options] [CLIP]

CLIP is a movie, a still, one file of a numbered row, or a pattern such as shot_%04d.png.
Without CLIP the host makes a scene of its own: two seconds, 1920 x 1080.

  --output FILE       graded clip: .mov (ProRes 422 HQ), .png (16 bits) or .exr (32-bit float);
                      pictures take %0Nd or get a number   [NAME_graded.mov in the output folder]
  --out-dir DIR       folder of NAME.ocgrade and of the default output   [.]
  --grade FILE        start with this grade
  --render-only       no session: render CLIP with --grade
  --always-render     render even when the session was cancelled
  --rate R            frames a second of numbered rows, such as 25, 23.976, 30000/1001   [25]
  --chunk-rows N      hand the first frame over in pieces of N rows
  --threads N         worker threads   [one a processor]
  --app PATH          the application   [beside this program, in ../app, or on the PATH]
  --timeout SECONDS   how long the application may take to attach   [30]
  --sessions N        sessions one after the other, each with the grade of the last   [1]
  --serve             keep the clip open: after each session wait for a line on standard input;
                      "open" or an empty line begins the next one, "quit" or the end of input ends
  --no-render         write the grade only, not the graded clip
  --make-sample FILE  write the host's own scene as a movie and end
  --misbehave MODE    break the protocol, for tests.
                      The block: version6, wrong-signature, swapped, late-header, too-late-header, short-object,
                      wrong-sizes, clips250, clips-negative, no-process, no-grade, stale-block.
                      Frames: die-chunks, status11, die-pending, never-answer, late-answer, wrong-word,
                      two-frames, short-frame, long-frame, strange-status.
                      In the middle: unlink, truncate, die-idle
  --verbose           show the debug log
  --help, --version

Exit codes: 0 done or cancelled, 1 wrong command line, 2 clip or grade cannot be read, 3 no application,
4 the application refused the clip, 5 it died, 6 it did not attach in time, 7 output cannot be written,
8 another host is in a session, 130 interrupted.
)";

namespace {

struct ModeName {
    const char* name;
    Misbehave mode;
};

constexpr ModeName kModes[] = {
    {"version6", Misbehave::version6},
    {"wrong-signature", Misbehave::wrongSignature},
    {"swapped", Misbehave::swapped},
    {"late-header", Misbehave::lateHeader},
    {"too-late-header", Misbehave::tooLateHeader},
    {"short-object", Misbehave::shortObject},
    {"wrong-sizes", Misbehave::wrongSizes},
    {"clips250", Misbehave::clips250},
    {"clips-negative", Misbehave::clipsNegative},
    {"no-process", Misbehave::noProcess},
    {"no-grade", Misbehave::noGrade},
    {"stale-block", Misbehave::staleBlock},
    {"die-chunks", Misbehave::dieChunks},
    {"status11", Misbehave::status11},
    {"die-pending", Misbehave::diePending},
    {"never-answer", Misbehave::neverAnswer},
    {"late-answer", Misbehave::lateAnswer},
    {"wrong-word", Misbehave::wrongWord},
    {"two-frames", Misbehave::twoFrames},
    {"short-frame", Misbehave::shortFrame},
    {"long-frame", Misbehave::longFrame},
    {"strange-status", Misbehave::strangeStatus},
    {"unlink", Misbehave::unlinkBlock},
    {"truncate", Misbehave::truncateBlock},
    {"die-idle", Misbehave::dieIdle},
};

bool ReadMode(const std::string& text, Misbehave* mode)
{
    for (const ModeName& entry : kModes) {
        if (text == entry.name) return *mode = entry.mode, true;
    }
    return false;
}

/// Sets the option that takes a value; false when the value is wrong.
bool SetValue(const std::string& name, const std::string& value, HostOptions* options, bool* isKnown)
{
    uint32_t number = 0;
    *isKnown = true;
    if (name == "--output") return options->output = value, !value.empty();
    if (name == "--out-dir") return options->outFolder = value, !value.empty();
    if (name == "--grade") return options->grade = value, !value.empty();
    if (name == "--app") return options->application = value, !value.empty();
    if (name == "--make-sample") return options->makeSample = value, !value.empty();
    if (name == "--rate") return ClipParseRate(value, &options->rate);
    if (name == "--chunk-rows") return ReadNumber(value, 1u, 65535u, &options->chunkRows);
    if (name == "--timeout") return ReadNumber(value, 1u, 86400u, &options->timeoutSeconds);
    if (name == "--sessions") return ReadNumber(value, 1u, 1000u, &options->sessions);
    if (name == "--misbehave") return ReadMode(value, &options->misbehave);
    if (name == "--threads") {
        const bool isGood = ReadNumber(value, 1u, 256u, &number);
        options->threads = static_cast<int>(number);
        return isGood;
    }
    *isKnown = false;
    return false;
}

bool SetSwitch(const std::string& name, HostOptions* options)
{
    if (name == "--render-only") return options->renderOnly = true;
    if (name == "--always-render") return options->alwaysRender = true;
    if (name == "--serve") return options->serve = true;
    if (name == "--no-render") return options->noRender = true;
    if (name == "--verbose") return options->isVerbose = true;
    if (name == "--help" || name == "-h") return options->showHelp = true;
    if (name == "--version") return options->showVersion = true;
    return false;
}

} // namespace

bool ParseHostOptions(int count, const char* const* arguments, HostOptions* options, std::string* error)
{
    *options = {};
    const CommandRules rules = {
        .setSwitch = [&](const std::string& name) { return SetSwitch(name, options); },
        .setValue = [&](const std::string& name, const std::string& value,
                        bool* isKnown) { return SetValue(name, value, options, isKnown); },
        .setName =
            [&](const std::string& name, std::string* reason) {
                *reason = name.empty()             ? "an empty name is no clip"
                          : !options->clip.empty() ? "one clip at a time: " + name
                                                   : "";
                if (reason->empty()) options->clip = name;
                return reason->empty();
            },
    };
    if (!ReadCommand(count, arguments, rules, error)) return false;
    if (options->renderOnly && options->grade.empty()) {
        *error = "--render-only wants a --grade";
        return false;
    }
    return true;
}
