// The command line of ochrine-render.
#pragma once

#include "host/ClipSource.h"
#include "tools/ochrine-render/RenderFormat.h"

/// Exit codes of the program. A signal gives 128 and its number.
enum RenderExit : int {
    renderDone = 0,     ///< everything that was asked for is there
    renderUsage = 1,    ///< a wrong command line
    renderNoClip = 2,   ///< the clip cannot be opened
    renderNoGrade = 3,  ///< the grade cannot be read
    renderBadFrame = 4, ///< a frame is missing or cannot be decoded
    renderNoOutput = 5, ///< the output cannot be written
    renderNoMemory = 6,
};

/// What becomes of a frame that is missing or cannot be decoded.
enum class BadFrames {
    stop, ///< the render ends with renderBadFrame
    skip, ///< it is left out
    hold, ///< the nearest good frame before it takes its place
};

enum class ProgressKind {
    automatic, ///< a bar on a terminal, otherwise lines
    bar,
    lines, ///< "PROGRESS done/total"
    json,  ///< one JSON object a line
    none,
};

struct RenderOptions {
    std::string clip, output, grade;
    OutputFormat format = {};
    bool isZipped = true; ///< EXR
    bool hasFirst = false, hasLast = false;
    int64_t first = 0, last = 0; ///< frames that are wanted, both inside
    uint32_t chunk = 1, chunkCount = 1;
    int threads = 0; ///< 0 for one a processor
    ClipRate rate = {25, 1};
    bool hasRate = false;
    BadFrames badFrames = BadFrames::stop;
    bool keepAlpha = true, keepAudio = true;
    bool skipExisting = false, showStats = false, isVerbose = false;
    ProgressKind progress = ProgressKind::automatic;
    bool showHelp = false, showVersion = false;
};

extern const char kRenderHelp[];

/// Reads the arguments behind the program's name and settles the format. error receives one sentence when false is
/// returned.
bool ParseRenderOptions(int count, const char* const* arguments, RenderOptions* options, std::string* error);
