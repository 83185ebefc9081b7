// Tables as sampled curves: widened or averaged to 1,024 values.
#include "src/OCSampledCurves.h"

#include "src/OCCurveFile.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace {

using Samples = float[kOCCurveSampleCount];

void Identity(Samples samples)
{
    for (uint32_t i = 0; i < kOCCurveSampleCount; ++i)
        samples[i] = static_cast<float>(i / static_cast<double>(kOCCurveSampleCount - 1));
}

/// Fewer values than samples. Where the samples are a multiple of the values, each value gets as many; otherwise a
/// sample takes its part of the way from one value to the next.
template <class Value> void Widen(const Value* value, uint32_t count, double largest, Samples samples)
{
    for (uint32_t j = 0; j < kOCCurveSampleCount; ++j) {
        const uint32_t i = static_cast<uint32_t>(uint64_t{j} * count / kOCCurveSampleCount);
        const double part = (static_cast<double>(uint64_t{j} * count % kOCCurveSampleCount)) / kOCCurveSampleCount;
        // Deliberate: behind the last value the curve turns back by the last step; existing grades depend on it.
        const double next = i + 1 < count ? value[i + 1] : i > 0 ? value[i - 1] : value[i];
        samples[j] = static_cast<float>((value[i] + (next - value[i]) * part) / largest);
    }
}

/// As many values as samples or more: each sample is the average of those that fall to it.
void Merge(const uint16_t* value, uint32_t count, double largest, Samples samples)
{
    for (uint32_t j = 0; j < kOCCurveSampleCount; ++j) {
        const auto first = static_cast<uint32_t>(uint64_t{j} * count / kOCCurveSampleCount);
        const auto end = static_cast<uint32_t>(uint64_t{j + 1} * count / kOCCurveSampleCount);
        uint64_t sum = 0;
        for (uint32_t i = first; i < end; ++i) sum += value[i];
        samples[j] = static_cast<float>(static_cast<double>(sum) / (end - first) / largest);
    }
}

/// The curve as a table; its first words stay what they are.
float* SampledCurve(OCSettings* settings, uint32_t curve)
{
    settings->rgbCurve[curve].curveKind |= 1;
    return settings->rgbCurve[curve].points.samples;
}

void SwitchOn(OCSettings* settings)
{
    settings->curvesOn = settings->rgbCurvesOn = 1;
}

void FillCurves(const OCLUTNumbers& numbers, OCSettings* settings)
{
    Identity(SampledCurve(settings, 0));
    const double largest = numbers.depth - 1.0;
    for (uint32_t channel = 0; channel < 3; ++channel) {
        const uint16_t* const values = &numbers.values[size_t{channel} * numbers.entries];
        float* const samples = SampledCurve(settings, channel + 1);
        if (numbers.entries < kOCCurveSampleCount) {
            Widen(values, numbers.entries, largest, samples);
        } else {
            Merge(values, numbers.entries, largest, samples);
        }
    }
    SwitchOn(settings);
}

void LogMerge(const OCLUTNumbers& numbers)
{
    const double merge = static_cast<double>(numbers.entries) / kOCCurveSampleCount;
    BPDebugLog("bitDepth = %d, sampleMerge = %1.6f\n", static_cast<int>(numbers.depth), merge);
}

OCLUTRead ReadACVKind(std::span<const uint8_t> bytes, OCSettings* settings)
{
    return {OCLoadCurveBytes(bytes.data(), bytes.size(), settings), nullptr};
}

constexpr OCCurveKind kKinds[] = {
    {{".acv", "Curve Files"}, ReadACVKind},
    {{".amp", "Arbitrary Map Files"}, OCReadArbitraryMapCurves},
    {{".txt", "Quantel iQ LUT Files"}, OCReadQuantelCurves},
    {{".lut", "Discreet LUT Files"}, OCReadDiscreetCurves},
};
constexpr uint32_t kFirstTextKind = 2;

} // namespace

OCLUTRead OCReadDiscreetCurves(std::span<const uint8_t> bytes, OCSettings* settings)
{
    OCLUTNumbers numbers;
    if (const OCLUTRead read = OCReadDiscreetNumbers(bytes, &numbers); read.status != bpNoErr) return read;
    LogMerge(numbers);
    FillCurves(numbers, settings);
    return {bpNoErr, nullptr};
}

OCLUTRead OCReadQuantelCurves(std::span<const uint8_t> bytes, OCSettings* settings)
{
    OCLUTNumbers numbers;
    if (const OCLUTRead read = OCReadQuantelNumbers(bytes, &numbers); read.status != bpNoErr) return read;
    LogMerge(numbers);
    FillCurves(numbers, settings);
    return {bpNoErr, nullptr};
}

OCLUTRead OCReadArbitraryMapCurves(std::span<const uint8_t> bytes, OCSettings* settings)
{
    const OCMapTables tables = OCReadMapTables(bytes);
    BPDebugLog("channelCount = %d\n", static_cast<int>(tables.count));
    if (tables.count == 0) return {bpEndOfFileErr, nullptr};
    // Deliberate: further tables are counted, never used.
    const bool master = tables.count < 3;
    const uint32_t colours = tables.count; // 3: red and green, 4: blue too
    for (uint32_t curve = 0; curve < 4; ++curve) {
        float* const samples = SampledCurve(settings, curve);
        if (curve == 0 ? master : !master && curve < colours) {
            Widen(tables.table[0], 256, 255.0, samples);
        } else {
            Identity(samples);
        }
    }
    SwitchOn(settings);
    return {bpNoErr, nullptr};
}

std::span<const OCCurveKind> OCCurveKinds()
{
    return kKinds;
}

OCLUTRead OCLoadCurveFile(uint32_t index, const char* path, OCSettings* settings)
{
    if (index >= std::size(kKinds)) return {bpParamErr, nullptr};
    std::vector<uint8_t> bytes;
    if (BPReadFile(path, kOCLUTFileLimit, &bytes) == bpNoErr) return kKinds[index].read(bytes, settings);
    if (index < kFirstTextKind) {
        BPDebugLog("unable to open file, err=%d\n", bpFileNotFoundErr);
        return {bpFileNotFoundErr, nullptr};
    }
    BPDebugLog("unable to process LUT file, err=%d\n", bpFileNotFoundErr);
    return {bpFileNotFoundErr, kOCLUTError};
}

int OCCurveKindOf(const char* path)
{
    const std::string name = path;
    for (size_t i = 0; i < std::size(kKinds); ++i) {
        const std::string extension = kKinds[i].extension;
        if (name.size() >= extension.size() &&
            strcasecmp(name.c_str() + name.size() - extension.size(), extension.c_str()) == 0)
            return static_cast<int>(i);
    }
    return -1;
}
