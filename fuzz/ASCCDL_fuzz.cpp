// A colour decision list of any bytes: it is refused with the record untouched, or it changes only what lists carry, and
// what is saved then is a list that is read back.
#include "src/ASCCDL.h"
#include "src/platform/BPLog.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    OCSettings before = {};
    OCResetSettings(&before, kOCResetAll, kOCResetAll, kOCResetDefaults);
    OCSettings settings = before;
    if (ASCCDL_LoadCDL(data, size, "fuzz", &settings) != ASCCDLProblem::none) {
        if (std::memcmp(&settings, &before, sizeof settings) != 0) std::abort();
        return 0;
    }
    if (!settings.rgbOn || !settings.rgb.master.on) std::abort();
    // The numbers differ where a record is beyond what four decimals tell; everything else must come back.
    const std::string description(reinterpret_cast<const char*>(data), size < 300 ? size : 300);
    const std::string text =
        ASCCDL_CDLText(settings, {.date = "d", .clipPath = description.c_str(), .description = "x"});
    OCSettings again = before;
    if (ASCCDL_LoadCDL(text.data(), text.size(), "saved", &again) != ASCCDLProblem::none) std::abort();
    again.rgb.master = settings.rgb.master;
    again.hsl.master.saturation = settings.hsl.master.saturation;
    settings.hsl.master.on = settings.primaryOn = settings.hslOn = 1; // a saved list always has a saturation
    if (std::memcmp(&again, &settings, sizeof again) != 0) std::abort();
    return 0;
}
