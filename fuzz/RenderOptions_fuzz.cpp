// Whole command lines of ochrine-render, one word a line, and the texts that its JSON carries.
#include "tools/ochrine-render/RenderNotes.h"
#include "tools/ochrine-render/RenderReport.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size < 4096 ? size : 4096);
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (c == '\n') {
            words.emplace_back();
        } else if (c != 0) {
            words.back() += c;
        }
    }
    std::vector<const char*> arguments;
    for (const std::string& word : words) arguments.push_back(word.c_str());
    RenderOptions options;
    std::string error;
    const bool isGood = ParseRenderOptions(static_cast<int>(arguments.size()), arguments.data(), &options, &error);
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
