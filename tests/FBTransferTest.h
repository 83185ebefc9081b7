// What the tests of the transfers share: one row in, one row out, and the values of video.
#pragma once

#include "src/FBTransfer.h"
#include "tests/CoreTest.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

inline constexpr FBPixelFormat kPlanar = pixFormatRGBYPlanar_Float;

inline uint32_t Word(uint32_t top, uint32_t second, uint32_t third, uint32_t low)
{
    return top << 24 | second << 16 | third << 8 | low;
}

inline float Luma(float r, float g, float b)
{
    return static_cast<float>(0.5870000123977661 * static_cast<double>(g) +
                              0.29899999499320984 * static_cast<double>(r) +
                              0.11400000005960464 * static_cast<double>(b));
}

/// One row of source memory into a frame of this width.
inline FramePtr Taken(const void* source, uint32_t rowBytes, FBPixelFormat from, uint32_t width,
                      FBPixelFormat to = kPlanar)
{
    FramePtr frame = MakeFrame(width, 1, to);
    FBTransferPixToFBFrameSSE(source, rowBytes, rowBytes, from, frame.get());
    return frame;
}

inline FramePtr TakenTimesAlpha(const void* source, uint32_t rowBytes, FBPixelFormat from, uint32_t width,
                                FBPixelFormat to = kPlanar)
{
    FramePtr frame = MakeFrame(width, 1, to);
    FBTransferPixToFBFramePremultipliedSSE(source, rowBytes, from, frame.get());
    return frame;
}

inline void ExpectPixel(const FBFrame& frame, uint32_t column, double r, double g, double b, double y)
{
    EXPECT_EQ(At(frame, 0, 0, column), static_cast<float>(r)) << column;
    EXPECT_EQ(At(frame, 1, 0, column), static_cast<float>(g)) << column;
    EXPECT_EQ(At(frame, 2, 0, column), static_cast<float>(b)) << column;
    EXPECT_EQ(At(frame, 3, 0, column), static_cast<float>(y)) << column;
}

struct Video {
    double r, g, b, y;
};

inline Video FromVideo(uint32_t luma, uint32_t cb, uint32_t cr)
{
    const double y = (luma - 16.0) * 1.164382815361023, u = cb - 128.0, v = cr - 128.0;
    return {(1.5960273742675781 * v + y) / 255.0, (y - u * 0.3917617201805115 - v * 0.81296875) / 255.0,
            (y + u * 2.01723051071167) / 255.0, y / 255.0};
}

/// A frame of one row with these pixels in its planes.
inline FramePtr Planes(const std::vector<std::array<float, 3>>& pixels)
{
    FramePtr frame = MakeFrame(static_cast<uint32_t>(pixels.size()), 1);
    for (uint32_t i = 0; i < pixels.size(); ++i)
        for (uint32_t c = 0; c < 3; ++c) At(*frame, c, 0, i) = pixels[i][c];
    return frame;
}

template <class T> std::vector<T> Out(const FBFrame& frame, FBPixelFormat to, size_t count)
{
    std::vector<T> out(count + 16, T{});
    FBTransferFBFrameToPixSSE(&frame, nullptr, out.data(), static_cast<uint32_t>(count * sizeof(T)), to);
    out.resize(count);
    return out;
}

inline std::string LogOf(const std::function<void()>& work)
{
    LogCatch log;
    work();
    return log.Text();
}
