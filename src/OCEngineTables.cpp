// Slots and powers of the engine's tables.
#include "src/OCEngineTables.h"

#include "src/BPMath.h"

#include <atomic>
#include <cstring>

using namespace ocengine;

Key ocengine::KeyOf(std::initializer_list<float> values)
{
    Key key = {};
    for (float value : values) key.value[key.count++] = value;
    return key;
}

float* ocengine::TableAt(OCEngine* engine, uint32_t slot)
{
    return engine->tables + size_t{slot} * kTableStride;
}

OCTone ocengine::ToneAt(OCEngine* engine, uint32_t slot, float base)
{
    const float* entry = TableAt(engine, slot);
    const uint32_t steps = 16384 / static_cast<uint32_t>(base);
    // Deliberate: the last entry but one is the top; inputs above 1 have always continued from there.
    return {.entry = entry,
            .top = entry[16383],
            .slope = (entry[16383] - entry[16383 - steps]) * base,
            .version = engine->version[slot]};
}

const float* ocengine::LaySideBySide(OCEngine* engine, uint32_t rows, uint32_t first, uint32_t step)
{
    float* out = TableAt(engine, rows);
    const float* table[3] = {TableAt(engine, first), TableAt(engine, first + step), TableAt(engine, first + 2 * step)};
    for (size_t i = 0; i < kOCToneEntries; ++i)
        for (size_t k = 0; k < 3; ++k) out[4 * i + k] = table[k][i];
    return out;
}

bool ocengine::Renew(OCEngine* engine, uint32_t slot, const Key& key)
{
    if (std::memcmp(&engine->key[slot], &key, sizeof key) == 0) return false;
    engine->key[slot] = key;
    ++engine->tablesBuilt;
    MarkChanged(engine, slot);
    return true;
}

void ocengine::MarkChanged(OCEngine* engine, uint32_t slot)
{
    static std::atomic<uint64_t> last = 0; // of all engines of the process
    engine->version[slot] = ++last;
}

void ocengine::FillRamp(float* table)
{
    for (uint32_t i = 0; i < kOCToneEntries; ++i) table[i] = static_cast<float>(i) / 16384.0f;
}

OCTone ocengine::BuildPowers(OCEngine* engine, uint32_t slot, float own, float whole,
                             std::initializer_list<float> further)
{
    Key key = KeyOf({own, whole});
    for (float exponent : further) key.value[key.count++] = exponent;
    if (Renew(engine, slot, key)) {
        float* table = TableAt(engine, slot);
        FillRamp(table);
        const double product = static_cast<double>(own) * static_cast<double>(whole);
        if (product != 1) BPPowerArray(table, product, table, kOCToneEntries);
        for (float exponent : further)
            if (exponent != 1) BPPowerArray(table, static_cast<double>(exponent), table, kOCToneEntries);
    }
    return ToneAt(engine, slot);
}
