// Noise and blur of the sample scene.
#include "host/SceneMath.h"

float Noise(Vec3 p)
{
    const float fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    const int32_t x = static_cast<int32_t>(fx), y = static_cast<int32_t>(fy), z = static_cast<int32_t>(fz);
    const float dx = p.x - fx, dy = p.y - fy, dz = p.z - fz;
    const float u = dx * dx * (3 - 2 * dx), v = dy * dy * (3 - 2 * dy), w = dz * dz * (3 - 2 * dz);
    const float front =
        Mix(Mix(Hash(x, y, z), Hash(x + 1, y, z), u), Mix(Hash(x, y + 1, z), Hash(x + 1, y + 1, z), u), v);
    if (dz == 0.0f) return front;
    const float back = Mix(Mix(Hash(x, y, z + 1), Hash(x + 1, y, z + 1), u),
                           Mix(Hash(x, y + 1, z + 1), Hash(x + 1, y + 1, z + 1), u), v);
    return Mix(front, back, w);
}

float Fractal(Vec3 p, int octaves)
{
    float sum = 0.0f, weight = 0.5f, total = 0.0f;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * Noise(p);
        total += weight;
        weight *= 0.5f;
        p = p * 2.03f + Vec3{17.1f, 9.2f, 0.0f};
    }
    return sum / total;
}

namespace {

/// One box of 2 * radius + 1 pixels over `count` pixels that lie `stride` floats apart; edges repeat.
void BoxLine(const float* in, float* out, int count, ptrdiff_t stride, int radius)
{
    float sum[4] = {};
    const auto at = [&](int i) { return in + static_cast<ptrdiff_t>(std::clamp(i, 0, count - 1)) * stride; };
    for (int i = -radius; i <= radius; ++i) {
        for (int c = 0; c < 4; ++c) sum[c] += at(i)[c];
    }
    const float scale = 1.0f / static_cast<float>(2 * radius + 1);
    for (int i = 0; i < count; ++i) {
        float* target = out + static_cast<ptrdiff_t>(i) * 4;
        const float* leaves = at(i - radius);
        const float* enters = at(i + radius + 1);
        for (int c = 0; c < 4; ++c) {
            target[c] = sum[c] * scale;
            sum[c] += enters[c] - leaves[c];
        }
    }
}

} // namespace

void BlurPlate(ScenePlate* plate, int radius)
{
    if (radius < 1) return;
    const int box = std::max(1, static_cast<int>(std::lround(static_cast<float>(radius) * 0.6f)));
    std::vector<float> line(static_cast<size_t>(std::max(plate->width, plate->height)) * 4);
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < plate->height; ++y) {
            BoxLine(plate->At(0, y), line.data(), plate->width, 4, box);
            std::copy(line.begin(), line.begin() + plate->width * 4, plate->At(0, y));
        }
        const ptrdiff_t stride = static_cast<ptrdiff_t>(plate->width) * 4;
        for (int x = 0; x < plate->width; ++x) {
            BoxLine(plate->At(x, 0), line.data(), plate->height, stride, box);
            for (int y = 0; y < plate->height; ++y) std::copy_n(line.data() + y * 4, 4, plate->At(x, y));
        }
    }
}
