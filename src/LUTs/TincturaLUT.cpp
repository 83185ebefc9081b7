// The sampler and the pieces of text that several targets share.
#include "src/LUTs/TincturaLUT.h"

#include "src/BPXML2Support.h"
#include "src/OCVersion.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

using Axis = float[kOCLUTIntervalLimit + 1];

void FillAxis(const OCLUTGrid& grid, Axis axis)
{
    const auto step = static_cast<float>(1.0 / grid.cubeIntervals);
    axis[0] = 0;
    for (uint32_t i = 1; i <= grid.cubeIntervals; ++i) {
        // Deliberate: the sum runs in single, so that its last value may miss 1 by a rounding; existing tables do.
        axis[i] = grid.axis == lutRunningSum ? static_cast<float>(double{axis[i - 1]} + double{step})
                                             : static_cast<float>(static_cast<double>(i) / grid.cubeIntervals);
    }
}

float* PlaneOf(const FBFrame& frame, uint32_t plane)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{plane} * frame.planeBytes);
}

void FillGrid(const OCLUTGrid& grid, const FBFrame& frame)
{
    Axis axis;
    FillAxis(grid, axis);
    const uint32_t points = grid.cubeIntervals + 1;
    float* const outer = PlaneOf(frame, grid.order == lutBlueFastest ? 0 : 2);
    float* const middle = PlaneOf(frame, 1);
    float* const inner = PlaneOf(frame, grid.order == lutBlueFastest ? 2 : 0);
    size_t place = 0;
    for (uint32_t i = 0; i < points; ++i)
        for (uint32_t j = 0; j < points; ++j)
            for (uint32_t k = 0; k < points; ++k, ++place) {
                outer[place] = axis[i];
                middle[place] = axis[j];
                inner[place] = axis[k];
            }
    std::fill_n(PlaneOf(frame, 3), place, 1.0f);
}

/// Writes the digits of a number behind `width` places' worth of blanks; returns the end.
char* PutPadded(char* out, uint32_t value, uint32_t width)
{
    char digits[10];
    const char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    const auto length = static_cast<uint32_t>(end - digits);
    for (uint32_t i = length; i < width; ++i) *out++ = ' ';
    return std::copy(static_cast<const char*>(digits), end, out);
}

constexpr size_t kRowLimit = 96; // five numbers of ten digits at the most, and what stands between

} // namespace

BPStatus OCSampleLUTCube(const OCLUTJob& job, const OCLUTGrid& grid, OCLUTCube* cube)
{
    *cube = {};
    if (grid.cubeIntervals < 1 || grid.cubeIntervals > kOCLUTIntervalLimit) return bpParamErr;
    const uint32_t points = grid.cubeIntervals + 1, count = points * points * points;
    FBFrame *framePtr = nullptr, *dstFramePtr = nullptr;
    BPStatus err = FBCreateRGBFrameBuffer(count, 1, &framePtr, pixFormatRGBYPlanar_Float);
    const BPStatus dstErr = FBCreateRGBFrameBuffer(count, 1, &dstFramePtr, pixFormatRGBYPlanar_Float);
    if (err == bpNoErr) err = dstErr;
    BP_ASSERT(framePtr != 0, grid.source);
    BP_ASSERT(dstFramePtr != 0, grid.source);
    if (err != bpNoErr) {
        if (framePtr) FBDisposeFrameBuffer(framePtr);
        if (dstFramePtr) FBDisposeFrameBuffer(dstFramePtr);
        return err;
    }
    FillGrid(grid, *framePtr);
    BPDebugLog("%s LUT (%u processors): ", grid.logName, job.taskCount);
    OCUpdateParameters(job.engine, job.settings);
    ProcessImage(job.engine, framePtr, dstFramePtr, job.settings, 0, job.taskCount, job.tasks);
    OCUpdateParameters(job.engine, job.settings);
    FBDisposeFrameBuffer(framePtr);
    *cube = {.points = points,
             .count = count,
             .plane = {PlaneOf(*dstFramePtr, 0), PlaneOf(*dstFramePtr, 1), PlaneOf(*dstFramePtr, 2)},
             .frame = dstFramePtr};
    return bpNoErr;
}

void OCDisposeLUTCube(OCLUTCube* cube)
{
    if (cube->frame) FBDisposeFrameBuffer(cube->frame);
    *cube = {};
}

uint32_t OCLUTCode(float value, double scale, double offset, uint32_t maximum)
{
    const double code = std::floor(double{value} * scale + offset + 0.5);
    if (!(code > 0)) return 0;
    return code >= maximum ? maximum : static_cast<uint32_t>(code);
}

void OCAppendPadded(std::string* text, uint32_t value, uint32_t width)
{
    char buffer[32];
    const char* const end = PutPadded(buffer, value, std::min(width, 16u));
    text->append(static_cast<const char*>(buffer), end);
}

void OCAppendLUTRows(const OCLUTCube& cube, const OCLUTEncoding& encoding, const OCLUTRowLayout& layout,
                     std::string* text)
{
    char row[kRowLimit];
    text->reserve(text->size() + size_t{cube.count} * 24);
    for (uint32_t i = 0; i < cube.count; ++i) {
        char* out = row;
        if (layout.indexed) {
            out = PutPadded(out, i, 4);
            *out++ = ' ';
        }
        for (uint32_t plane = 0; plane < 3; ++plane) {
            if (plane > 0) out = std::copy(layout.between.begin(), layout.between.end(), out);
            out = PutPadded(out, OCLUTCode(cube.plane[plane][i], encoding.scale, encoding.offset, encoding.maximum),
                            layout.width);
        }
        *out++ = '\n';
        text->append(static_cast<const char*>(row), static_cast<const char*>(out));
    }
}

BPStatus OCWriteCodeLUT(const OCLUTJob& job, const OCLUTParameters& parameters, const OCLUTCodeTarget& target,
                        std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = target.logName,
                                        .source = target.source},
                                       &cube);
        err != bpNoErr)
        return err;

    target.appendHead(job, parameters, cube.count, text);
    OCAppendLUTRows(cube, target.encoding, target.layout, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}

void OCAppendShaper(std::string* text, uint32_t inBits, uint32_t cubeIntervals)
{
    const uint32_t range = 1u << inBits, increment = range / cubeIntervals;
    if (increment == 0) return; // more points than codes: there is no such line
    for (uint32_t value = 0; value <= range; value += increment) {
        OCAppendPadded(text, std::min(value, range - 1), 0);
        *text += ' ';
    }
}

std::string OCLUTFileNameText(const char* fileName)
{
    std::string text = BPXML2_ValidUtf8(fileName);
    for (char& character : text)
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) character = '_';
    return text;
}

void OCAppendMegaGammaHead(std::string* text, const OCLUTJob& job, const char* type, uint32_t count)
{
    const std::string name = OCLUTFileNameText(job.fileName);
    *text += "#HEADER\n#filename:\t" + name + "\n#type:\t\t" + type + "\n#format:\t1.00\n#created:\t";
    *text += OCFileDate(job.wallSeconds);
    *text += std::string("\n#owner:\t\tBrindlepath Ochrine 3 v") + kOCVersion + "\n#title:\t\t" + name + "\n#END\n\n";
    *text += "channel 3d\nin ";
    OCAppendPadded(text, count, 0);
    *text += "\nout 65536\n\nformat lut\n\nvalues  red  green  blue\n";
}

void OCAppendThomsonHead(std::string* text, const OCLUTJob& job, const char* target, uint32_t count)
{
    *text += "# channels: c3\n# entries = ";
    OCAppendPadded(text, count, 0);
    *text += "\n# \n# Creator:  Brindlepath Ochrine 3\n# Version:  ";
    *text += kOCVersion;
    *text += "\n# Platform: Windows\n# Target:   ";
    *text += target;
    *text += "\n# Date:     " + OCFileDate(job.wallSeconds) + "\n# \n";
}
