// A grade of any kind in any bytes: what is refused leaves the record as it was and is told in a sentence; what is taken
// is taken without one, and a raw record whole.
#include "src/OCGradeFile.h"
#include "src/platform/BPLog.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    OCSettings before;
    std::memset(&before, 0x3C, sizeof before);
    OCSettings settings = before;
    OCGradeKind kind = {};
    std::string error = "old";
    if (OCLoadGradeBytes(data, size, "fuzz", &settings, &kind, &error) != bpNoErr) {
        // A refusal is a sentence about this file, and a record is never refused.
        if (error.rfind("fuzz", 0) != 0 || kind == OCGradeKind::record) std::abort();
        if (std::memcmp(&settings, &before, sizeof settings) != 0) std::abort();
        return 0;
    }
    if (!error.empty()) std::abort();
    if (kind == OCGradeKind::record) {
        if (size != sizeof settings || std::memcmp(&settings, data, size) != 0) std::abort();
    } else if (settings.signature != before.signature) {
        std::abort(); // no file of the other kinds carries it
    }
    return 0;
}
