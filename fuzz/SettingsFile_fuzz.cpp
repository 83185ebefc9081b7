// A settings file of any bytes: it is refused with the record untouched, or it changes only what files carry, and the
// result is saved and loaded again without a loss.
#include "src/TincturaFileIO.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    OCSettings before;
    std::memset(&before, 0x3C, sizeof before);
    OCSettings settings = before;
    if (LoadSettingsBytes(data, size, &settings) != bpNoErr) {
        if (std::memcmp(&settings, &before, sizeof settings) != 0) std::abort();
        return 0;
    }
    // What no chunk carries.
    if (settings.signature != before.signature ||
        std::memcmp(&settings.unassigned, &before.unassigned,
                    offsetof(OCSettings, inputControls_highlight_recovery) - offsetof(OCSettings, unassigned)) != 0)
        std::abort();

    // Chunks follow one another inside the file.
    size_t position = 0, end = 8;
    OCSettingsChunk chunk;
    while (OCNextSettingsChunk(data, size, &position, &chunk)) {
        if (chunk.position != end || position > size || chunk.presentBytes > chunk.recordBytes) std::abort();
        end = position;
    }

    const std::vector<uint8_t> saved = SaveSettingsBytes(settings);
    OCSettings again = before;
    if (LoadSettingsBytes(saved.data(), saved.size(), &again) != bpNoErr) std::abort();
    if (std::memcmp(&again, &settings, sizeof again) != 0) std::abort();
    return 0;
}
