// What can be told of a clip without reading it: sizes, rates, timecode.
#include "host/ClipSource.h"

#include <algorithm>
#include <charconv>
#include <cmath>

bool ClipSetFormat(ClipInfo* info, uint32_t width, uint32_t height, FBPixelFormat format)
{
    const uint64_t rowBytes = uint64_t{width} * (format == pixFormatRGBA32_Float ? 16 : 4);
    if (width == 0 || height == 0 || width > 65535 || height > 65535 || rowBytes * height > INT32_MAX) return false;
    info->width = width;
    info->height = height;
    info->pixelFormat = format;
    info->rowBytes = static_cast<uint32_t>(rowBytes);
    return true;
}

uint16_t ClipRate100(ClipRate rate)
{
    const double hundredths = std::floor(100.0 * rate.numerator / rate.denominator + 0.5);
    return static_cast<uint16_t>(std::clamp(hundredths, 1.0, 65535.0));
}

bool ClipDropsFrames(const std::string& timecode, ClipRate rate)
{
    if (!timecode.empty()) return timecode.find_first_of(";.") != std::string::npos;
    const uint16_t rate100 = ClipRate100(rate);
    return rate100 == 2997 || rate100 == 5994;
}

bool ClipParseRate(const std::string& text, ClipRate* rate)
{
    const char* begin = text.data();
    const char* end = begin + text.size();
    const size_t slash = text.find('/');
    if (slash != std::string::npos) {
        ClipRate read = {0, 0};
        const auto above = std::from_chars(begin, begin + slash, read.numerator);
        const auto below = std::from_chars(begin + slash + 1, end, read.denominator);
        if (above.ec != std::errc() || above.ptr != begin + slash || below.ec != std::errc() || below.ptr != end ||
            read.numerator < 1 || read.denominator < 1 || read.numerator / 600 > read.denominator ||
            read.numerator < read.denominator) {
            return false;
        }
        *rate = read;
        return true;
    }
    double value = 0.0;
    const auto result = std::from_chars(begin, end, value);
    if (result.ec != std::errc() || result.ptr != end || !(value >= 1.0 && value <= 600.0)) return false;
    const double whole = std::ceil(value);
    if (whole != value && std::abs(whole * 1000.0 / 1001.0 - value) < 0.005) {
        *rate = {static_cast<int32_t>(whole) * 1000, 1001};
    } else {
        *rate = {static_cast<int32_t>(std::lround(value * 1000.0)), 1000};
        if (rate->numerator % 1000 == 0) *rate = {rate->numerator / 1000, 1};
    }
    return true;
}
