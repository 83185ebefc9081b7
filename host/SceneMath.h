// Small mathematics of the sample scene: vectors, noise, plates. Everything is deterministic.
#pragma once

#include "src/platform/BPThreads.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

struct Vec3 {
    float x = 0, y = 0, z = 0;
};

inline Vec3 operator+(Vec3 a, Vec3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, float s)
{
    return {a.x * s, a.y * s, a.z * s};
}
inline Vec3 operator*(Vec3 a, Vec3 b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
inline float Dot(Vec3 a, Vec3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline float Length(Vec3 a)
{
    return std::sqrt(Dot(a, a));
}
inline Vec3 Normalise(Vec3 a)
{
    return a * (1.0f / std::max(Length(a), 1e-9f));
}
inline float Hypotenuse(float x, float y)
{
    return std::sqrt(x * x + y * y);
}
inline float Mix(float a, float b, float t)
{
    return a + (b - a) * t;
}
inline Vec3 Mix(Vec3 a, Vec3 b, float t)
{
    return a + (b - a) * t;
}

inline float Step(float low, float high, float value)
{
    const float t = std::clamp((value - low) / (high - low), 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

/// 0 to 1 from three whole numbers.
inline float Hash(int32_t x, int32_t y, int32_t z)
{
    uint32_t h = static_cast<uint32_t>(x) * 0x8da6b343u ^ static_cast<uint32_t>(y) * 0xd8163841u ^
                 static_cast<uint32_t>(z) * 0xcb1ab31fu;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    h *= 0x297a2d39u;
    h ^= h >> 15;
    return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

/// A row of numbers from 0 to 1.
struct Dice {
    uint32_t state;
    float Roll()
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) * (1.0f / 16777216.0f);
    }
    float Between(float low, float high) { return low + (high - low) * Roll(); }
};

/// Smooth noise, 0 to 1, one unit a lattice step.
float Noise(Vec3 p);
/// Octaves of it, 0 to 1.
float Fractal(Vec3 p, int octaves);

/// Pixels of a layer: linear light, colour multiplied by alpha. Colour may exceed alpha: that adds light.
struct ScenePlate {
    int width = 0, height = 0;
    std::vector<float> rgba;

    void Make(int w, int h)
    {
        width = w;
        height = h;
        rgba.assign(static_cast<size_t>(w) * static_cast<size_t>(h) * 4, 0.0f);
    }
    float* At(int x, int y)
    {
        return rgba.data() + (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 4;
    }
    const float* At(int x, int y) const { return const_cast<ScenePlate*>(this)->At(x, y); }
};

/// Lays a colour over a pixel.
inline void Cover(float* pixel, Vec3 colour, float alpha)
{
    const float keep = 1.0f - alpha;
    pixel[0] = pixel[0] * keep + colour.x * alpha;
    pixel[1] = pixel[1] * keep + colour.y * alpha;
    pixel[2] = pixel[2] * keep + colour.z * alpha;
    pixel[3] = pixel[3] * keep + alpha;
}

/// Blurs all four channels; three boxes, so nearly a Gaussian of this radius.
void BlurPlate(ScenePlate* plate, int radius);

/// Calls work(row) for all rows from several threads; rows must not depend on each other.
template <class Work> void ForRows(int threads, int rows, const Work& work)
{
    struct Share {
        const Work* work;
        int first, step, rows;
        BPThread thread;
    };
    std::vector<Share> shares(static_cast<size_t>(std::clamp(threads, 1, 64)));
    const auto run = [](void* argument) {
        const Share* share = static_cast<const Share*>(argument);
        for (int row = share->first; row < share->rows; row += share->step) (*share->work)(row);
    };
    const int count = static_cast<int>(shares.size());
    for (int i = 0; i < count; ++i) shares[static_cast<size_t>(i)] = {&work, i, count, rows, {}};
    for (size_t i = 1; i < shares.size(); ++i) {
        if (BPStartThread(run, &shares[i], &shares[i].thread) != bpNoErr) {
            shares[i].thread = {};
            run(&shares[i]);
        }
    }
    run(&shares[0]);
    for (size_t i = 1; i < shares.size(); ++i) {
        if (shares[i].thread.handle != 0) BPJoinThread(&shares[i].thread);
    }
}
