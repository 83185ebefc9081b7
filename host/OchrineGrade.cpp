// The C interface: grades whole, from and to bytes and files.
//
// Further kinds of files join in two places: where bytes are recognised (TakeGrade) and where they are made (ToBytes).
#include "host/OchrineObjects.h"

#include "host/GradeFile.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPMemory.h"

#include <cstring>
#include <new>
#include <vector>

namespace {

void Reset(OCSettings* settings)
{
    *settings = {};
    OCResetSettings(settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
}

BPStatus TakeGrade(const void* bytes, size_t byteCount, OCSettings* settings)
{
    if (GradeFromBytes(bytes, byteCount, settings) == bpNoErr) return bpNoErr;
    OCSettings loaded;
    Reset(&loaded);
    if (BPStatus err = LoadSettingsBytes(bytes, byteCount, &loaded); err != bpNoErr) return err;
    *settings = loaded;
    return bpNoErr;
}

bool IsKind(uint32_t kind)
{
    return kind == OCHRINE_RECORD || kind == OCHRINE_PRESET;
}

std::vector<uint8_t> ToBytes(const OCSettings& settings, uint32_t kind)
{
    if (kind == OCHRINE_PRESET) return SaveSettingsBytes(settings);
    const auto* first = reinterpret_cast<const uint8_t*>(&settings);
    return {first, first + sizeof settings};
}

} // namespace

static_assert(OCHRINE_RECORD_BYTES == sizeof(OCSettings));

ochrine_result ochrine_grade_create(ochrine_grade** grade)
{
    if (!grade) return OCHRINE_ARGUMENT;
    *grade = static_cast<ochrine_grade*>(BPAllocate(sizeof(ochrine_grade)));
    if (!*grade) return OCHRINE_NO_MEMORY;
    Reset(&(*grade)->settings);
    return OCHRINE_OK;
}

void ochrine_grade_destroy(ochrine_grade* grade)
{
    BPFree(grade);
}

ochrine_result ochrine_grade_reset(ochrine_grade* grade)
{
    if (!grade) return OCHRINE_ARGUMENT;
    Reset(&grade->settings);
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_copy(ochrine_grade* to, const ochrine_grade* from)
{
    if (!to || !from) return OCHRINE_ARGUMENT;
    if (to != from) to->settings = from->settings;
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_from_bytes(ochrine_grade* grade, const void* bytes, size_t byte_count)
{
    if (!grade || (!bytes && byte_count != 0)) return OCHRINE_ARGUMENT;
    if (byte_count > kOCSettingsFileLimit) return OCHRINE_NO_GRADE;
    return ResultOf(TakeGrade(bytes, byte_count, &grade->settings));
}

ochrine_result ochrine_grade_to_bytes(const ochrine_grade* grade, uint32_t kind, void* bytes, size_t capacity,
                                      size_t* needed)
{
    if (!grade || !IsKind(kind) || (!bytes && capacity != 0)) return OCHRINE_ARGUMENT;
    const std::vector<uint8_t> made = ToBytes(grade->settings, kind);
    if (needed) *needed = made.size();
    if (capacity < made.size()) return OCHRINE_ARGUMENT;
    std::memcpy(bytes, made.data(), made.size());
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_load(ochrine_grade* grade, const char* path)
{
    if (!grade || !path) return OCHRINE_ARGUMENT;
    std::vector<uint8_t> bytes;
    BPStatus err = BPReadFile(path, kOCSettingsFileLimit, &bytes);
    if (err == bpParamErr || err == bpIsFolderErr) err = bpInvalidSettingsErr; // no file, or far too large
    if (err == bpNoErr) err = TakeGrade(bytes.data(), bytes.size(), &grade->settings);
    return ResultOf(err);
}

ochrine_result ochrine_grade_save(const ochrine_grade* grade, const char* path, uint32_t kind)
{
    if (!grade || !path || !IsKind(kind)) return OCHRINE_ARGUMENT;
    const std::vector<uint8_t> bytes = ToBytes(grade->settings, kind);
    return ResultOf(BPWriteFile(path, bytes.data(), bytes.size()));
}
