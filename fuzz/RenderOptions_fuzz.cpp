// Whole command lines of ochrine-render, one word a line, and the texts that its JSON carries.
#include "fuzz/CommandLine.h"
#include "tools/ochrine-render/RenderNotes.h"
#include "tools/ochrine-render/RenderReport.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text = CommandText(data, size);
    const CommandLine line = CommandLineOf(text);
    RenderOptions options;
    std::string error;
    const bool isGood = ParseRenderOptions(line.Count(), line.arguments.data(), &options, &error);
    if (isGood != error.empty()) std::abort();
    const bool wantsWork = isGood && !options.showHelp && !options.showVersion;
    if (wantsWork && (options.format.name == nullptr || options.output.empty() || options.first > options.last ||
                      options.chunk < 1 || options.chunk > options.chunkCount)) {
        std::abort();
    }
    // Between the quotes nothing is left that would end them.
    const std::string quoted = JSONText(text);
    for (size_t i = 1; i + 1 < quoted.size(); ++i) {
        if (quoted[i] == '\\') {
            ++i;
        } else if (quoted[i] == '"' || static_cast<unsigned char>(quoted[i]) < 32) {
            std::abort();
        }
    }
    (void)TimecodeAfter(text, {30000, 1001}, static_cast<int64_t>(size) * 1'000'003);
    return 0;
}
