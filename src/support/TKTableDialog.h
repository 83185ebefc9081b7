// The question for a file of one of the kinds that a reader knows.
#pragma once

#include "src/OCPreviewLUT.h"
#include "src/platform/BPPlatform.h"

#include <span>
#include <string>
#include <vector>

/// Asks for a table to load. The dialog lists the kinds in their order; false when the user cancels.   Thread: main.
template <class Kind>
bool TKAskForTable(const BPPlatform& platform, const char* title, std::span<const Kind> kinds, std::string* path)
{
    std::vector<BPFileType> types;
    for (const OCLUTFileKind& kind : kinds) types.push_back({.extension = kind.extension, .description = kind.type});
    const BPFileQuestion question = {.title = title,
                                     .button = "Load",
                                     .filter = "",
                                     .types = types.data(),
                                     .typeCount = types.size(),
                                     .defaultName = nullptr,
                                     .defaultExtension = nullptr};
    return platform.fileDialog.open(question, path);
}
