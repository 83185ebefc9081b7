// Which frames are rendered, and into which files.
#pragma once

#include "tools/ochrine-render/RenderOptions.h"
#include "tools/ochrine-render/RenderSource.h"

struct RenderPlan {
    int64_t first = 0, last = -1; ///< frames of this chunk, both inside; empty when last is below first
    bool isMovie = false;
    bool isNumbered = false; ///< the output is a pattern
    SequenceName pattern;
    std::string path; ///< of a movie or a single picture

    int64_t Count() const { return last - first + 1; }
    std::string FileOf(int64_t number) const
    {
        return isNumbered ? SequencePath(pattern, static_cast<uint64_t>(number)) : path;
    }
};

/// Settles the plan and proves it: frames that are there, a folder that can be written, no output over its source.
///
/// error   receives one sentence when anything but renderDone is returned
RenderExit MakeRenderPlan(const RenderOptions& options, const RenderSource& source, RenderPlan* plan,
                          std::string* error);

/// True when a file is there that is not empty: outputs appear whole or not at all.
bool RenderExists(const std::string& path);
