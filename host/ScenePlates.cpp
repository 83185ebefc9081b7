// Sky, trees, house and shrub of the sample scene. Light is linear; the sun stands high on the right, behind.
#include "host/ScenePlates.h"

namespace {

constexpr float kPi = 3.14159265f;

/// A leaf: a pointed oval with a rib, lit from one side.
struct Leaf {
    float x, y, length, width, angle;
    Vec3 colour;
    float rib; ///< strength of the rib and veins
};

void PaintLeaf(ScenePlate* plate, const Leaf& leaf)
{
    const float c = std::cos(leaf.angle), s = std::sin(leaf.angle);
    const int reach = static_cast<int>(leaf.length) + 2;
    const int left = std::max(0, static_cast<int>(leaf.x) - reach);
    const int right = std::min(plate->width - 1, static_cast<int>(leaf.x) + reach);
    const int top = std::max(0, static_cast<int>(leaf.y) - reach);
    const int bottom = std::min(plate->height - 1, static_cast<int>(leaf.y) + reach);
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const float dx = static_cast<float>(x) - leaf.x, dy = static_cast<float>(y) - leaf.y;
            const float u = (dx * c + dy * s) / leaf.length; // along, -1 to 1
            const float v = (dy * c - dx * s) / leaf.width;
            if (u <= -1.0f || u >= 1.0f) continue;
            const float half = (1.0f - u * u) * (1.0f - 0.25f * u);
            const float inside = (half - std::abs(v)) * leaf.width;
            if (inside <= -0.5f) continue;
            const float alpha = std::clamp(inside + 0.5f, 0.0f, 1.0f);
            float light = 0.85f + 0.3f * v + 0.12f * u;
            if (leaf.rib > 0.0f) {
                const float rib = std::exp(-std::abs(v) * leaf.width * 0.8f);
                const float veins = 0.5f + 0.5f * std::cos((u * 9.0f + std::abs(v) * 4.0f) * kPi);
                light *= 1.0f + leaf.rib * (0.55f * rib + 0.16f * veins - 0.1f);
            }
            Cover(plate->At(x, y), leaf.colour * light, alpha);
        }
    }
}

Vec3 LeafColour(Dice* dice, float light)
{
    const Vec3 shade = Mix(Vec3{0.020f, 0.045f, 0.014f}, Vec3{0.045f, 0.07f, 0.015f}, dice->Roll());
    const Vec3 sunlit = Mix(Vec3{0.20f, 0.30f, 0.045f}, Vec3{0.36f, 0.37f, 0.07f}, dice->Roll());
    return Mix(shade, sunlit, std::clamp(light, 0.0f, 1.0f)) * dice->Between(0.75f, 1.3f);
}

/// Fills a crown with leaves whose light follows the crown's roundness and large-scale clumps.
void PaintCrown(ScenePlate* plate, Dice* dice, float cx, float cy, float rx, float ry, int count, float size, float sun)
{
    for (int i = 0; i < count; ++i) {
        const float angle = dice->Between(0.0f, 2.0f * kPi);
        const float r = std::sqrt(dice->Roll());
        const float ragged =
            0.75f + 0.5f * Noise({std::cos(angle) * 2.5f + cx * 0.1f, std::sin(angle) * 2.5f + cy * 0.1f, 0});
        const float nx = std::cos(angle) * r, ny = std::sin(angle) * r;
        const float x = cx + nx * rx * ragged, y = cy + ny * ry * ragged;
        const float clump = Fractal({x * 2.2f / rx, y * 2.2f / ry, cx}, 3);
        const float light = sun * (0.42f + 0.45f * nx - 0.55f * ny) + (clump - 0.52f) * 2.4f;
        // Back to front: later leaves are the lit ones, so holes stay dark.
        const float order = static_cast<float>(i) / static_cast<float>(count);
        PaintLeaf(plate, {x, y, size * dice->Between(0.6f, 1.3f), size * dice->Between(0.3f, 0.6f),
                          dice->Between(0.0f, 2.0f * kPi), LeafColour(dice, light * (0.35f + 0.65f * order)), 0.0f});
    }
}

/// A light out of focus: a disc with a slightly brighter rim.
void PaintBokeh(ScenePlate* plate, float cx, float cy, float radius, Vec3 light)
{
    const int reach = static_cast<int>(radius) + 2;
    for (int y = static_cast<int>(cy) - reach; y <= static_cast<int>(cy) + reach; ++y) {
        for (int x = static_cast<int>(cx) - reach; x <= static_cast<int>(cx) + reach; ++x) {
            if (x < 0 || y < 0 || x >= plate->width || y >= plate->height) continue;
            const float d = Hypotenuse(static_cast<float>(x) - cx, static_cast<float>(y) - cy);
            const float inside = std::clamp(radius - d + 0.7f, 0.0f, 1.4f) / 1.4f;
            if (inside <= 0.0f) continue;
            const Vec3 add = light * (inside * (0.75f + 0.25f * (d / radius) * (d / radius)));
            float* pixel = plate->At(x, y);
            pixel[0] += add.x;
            pixel[1] += add.y;
            pixel[2] += add.z;
        }
    }
}

} // namespace

void PaintSky(ScenePlate* plate, int width, int height, int threads)
{
    plate->Make(width, height);
    const float scale = 1.0f / static_cast<float>(height);
    ForRows(threads, height, [&](int y) {
        const float v = static_cast<float>(y) * scale;
        const Vec3 clear =
            Mix(Vec3{0.105f, 0.225f, 0.50f}, Vec3{0.50f, 0.62f, 0.76f}, std::pow(std::min(v / 0.62f, 1.0f), 0.75f));
        for (int x = 0; x < width; ++x) {
            const float u = static_cast<float>(x) * scale;
            // Clouds lie flatter towards the horizon.
            const Vec3 p = {u * 1.7f, v * (2.6f + 2.2f * v), 3.0f};
            const float warp = Fractal(p * 1.6f + Vec3{5.0f, 1.0f, 0.0f}, 3) - 0.5f;
            const Vec3 q = p + Vec3{warp * 0.7f, warp * 0.45f, 0.0f};
            const float body = Fractal(q * 1.5f, 6);
            const float lit = body - Fractal((q + Vec3{0.16f, -0.15f, 0.0f}) * 1.5f, 4);
            const float cover = Step(0.47f, 0.66f, body + 0.05f * (0.5f - v));
            const Vec3 cloud = Mix(Vec3{0.50f, 0.53f, 0.60f}, Vec3{0.99f, 0.95f, 0.88f}, Step(-0.10f, 0.13f, lit));
            Cover(plate->At(x, y), clear, 1.0f);
            Cover(plate->At(x, y), cloud, cover * 0.92f);
        }
    });
    BlurPlate(plate, height / 240);
}

void PaintTrees(ScenePlate* plate, int width, int height, int threads)
{
    plate->Make(width, height);
    const float h = static_cast<float>(height), w = static_cast<float>(width);
    ForRows(threads, height, [&](int y) {
        for (int x = 0; x < width; ++x) {
            const float u = static_cast<float>(x) / h, v = static_cast<float>(y) / h;
            const float ridge = 0.50f - 0.07f * Fractal({u * 2.1f, 0.0f, 9.0f}, 4);
            if (v > ridge) {
                const float texture = Fractal({u * 18.0f, v * 26.0f, 2.0f}, 4);
                const Vec3 hill = Mix(Vec3{0.20f, 0.27f, 0.30f}, Vec3{0.26f, 0.33f, 0.26f}, texture);
                Cover(plate->At(x, y), hill, 1.0f);
            }
        }
    });
    BlurPlate(plate, height / 130);

    Dice dice = {20260u};
    const float leaf = h * 0.0085f;
    // Trees in the distance, then the nearer ones on the left, then the hedge.
    for (int i = 0; i < 9; ++i) {
        const float x = w * (static_cast<float>(i) + dice.Between(0.1f, 0.9f)) / 9.0f;
        PaintCrown(plate, &dice, x, h * dice.Between(0.47f, 0.53f), h * dice.Between(0.07f, 0.12f),
                   h * dice.Between(0.07f, 0.13f), 700, leaf * 0.7f, 0.75f);
    }
    BlurPlate(plate, height / 110);
    for (int i = 0; i < 5; ++i) {
        const float x = w * (-0.03f + 0.075f * static_cast<float>(i)),
                    y = h * (0.30f + 0.05f * static_cast<float>(i % 3));
        PaintCrown(plate, &dice, x, y, h * 0.17f, h * 0.20f, 1500, leaf, 1.0f);
    }
    for (int i = 0; i < 13; ++i) {
        const float x = w * (static_cast<float>(i) + dice.Between(0.2f, 0.8f)) / 13.0f;
        PaintCrown(plate, &dice, x, h * dice.Between(0.66f, 0.76f), h * 0.13f, h * dice.Between(0.13f, 0.19f), 900,
                   leaf * 1.2f, 0.85f);
    }
    for (int i = 0; i < 14; ++i) {
        const float x = w * (static_cast<float>(i) + dice.Between(0.2f, 0.8f)) / 14.0f;
        PaintCrown(plate, &dice, x, h * dice.Between(0.90f, 1.02f), h * 0.15f, h * 0.17f, 900, leaf * 1.5f, 0.5f);
    }
    BlurPlate(plate, height / 85);
    // Sky and wet leaves that shine through, as discs of the aperture.
    for (int i = 0; i < 150; ++i) {
        const float x = w * dice.Roll();
        const float y = h * dice.Between(0.10f, 0.86f);
        const float* under =
            plate->At(std::clamp(static_cast<int>(x), 0, width - 1), std::clamp(static_cast<int>(y), 0, height - 1));
        if (under[3] < 0.9f) continue;
        const float power = 0.03f + 0.30f * std::pow(dice.Roll(), 4.0f);
        const Vec3 tint = Mix(Vec3{1.0f, 0.95f, 0.55f}, Vec3{0.85f, 1.0f, 0.75f}, dice.Roll());
        PaintBokeh(plate, x, y, h * dice.Between(0.010f, 0.017f), tint * power);
    }
    BlurPlate(plate, 1);
}

void PaintHouse(ScenePlate* plate, int width, int height, int threads)
{
    plate->Make(width, height);
    const float h = static_cast<float>(height);
    const float marginX = kSceneMargin * h;
    const float frameW = static_cast<float>(width) - 2.0f * marginX, frameH = h - 2.0f * marginX;
    const float wallLeft = marginX + frameW * 0.675f;
    const float cx = marginX + frameW * kWindowX, cy = marginX + frameH * kWindowY;
    const float halfW = frameH * 0.165f, halfH = frameH * 0.245f;
    ForRows(threads, height, [&](int py) {
        for (int px = 0; px < width; ++px) {
            const float x = static_cast<float>(px), y = static_cast<float>(py);
            if (x < wallLeft - 1.0f) continue;
            const float u = x / h, v = y / h;
            // Stucco in raking light, with the shade of leaves on it.
            const float rough = Fractal({u * 34.0f, v * 34.0f, 4.0f}, 4);
            const float stain = Fractal({u * 3.0f, v * 6.0f, 5.0f}, 4);
            const float dapple = Step(0.42f, 0.60f, Fractal({u * 5.0f + v * 1.5f, v * 4.0f, 6.0f}, 4));
            Vec3 colour = Mix(Vec3{0.33f, 0.255f, 0.18f}, Vec3{0.42f, 0.34f, 0.25f}, stain) * (0.72f + 0.56f * rough);
            colour = colour * Mix(Vec3{0.34f, 0.38f, 0.47f}, Vec3{1.25f, 1.14f, 0.97f}, dapple);
            // The corner of the house, in its own shade.
            colour = colour * (0.45f + 0.55f * Step(0.0f, 0.045f, (x - wallLeft) / h));

            const float wx = (x - cx) / halfW, wy = (y - cy) / halfH;
            const float casing = std::max(std::abs(wx) - 1.12f, std::abs(wy) - 1.09f);
            if (casing < 0.0f) colour = Vec3{0.40f, 0.37f, 0.33f} * (0.8f + 0.4f * rough) * (wx > 0 ? 1.15f : 0.9f);
            const float sill = std::max(std::abs(wx) - 1.22f, std::abs(wy - 1.14f) - 0.05f);
            if (sill < 0.0f) colour = Vec3{0.62f, 0.58f, 0.52f};
            if (std::abs(wx) < 1.22f && wy > 1.19f && wy < 1.34f) colour = colour * 0.5f;
            if (std::abs(wx) < 1.0f && std::abs(wy) < 1.0f) {
                // Panes mirror a bright sky, and the sun in the upper part.
                const float sky = Step(1.0f, -0.9f, wy);
                const float cloud = Fractal({u * 7.0f, v * 9.0f, 7.0f}, 4);
                colour = Mix(Vec3{0.20f, 0.22f, 0.20f}, Vec3{1.15f, 1.22f, 1.32f}, sky * (0.55f + 0.6f * cloud));
                const float sun = std::exp(-((wx - 0.12f) * (wx - 0.12f) * 7.0f + (wy + 0.36f) * (wy + 0.36f) * 9.0f));
                colour = colour + Vec3{5.2f, 4.5f, 3.5f} * sun;
                const float barX = std::abs(std::abs(wx) - 0.0f) < 0.045f ? 1.0f : 0.0f;
                const float barY = std::abs(wy + 0.33f) < 0.025f || std::abs(wy - 0.33f) < 0.025f ? 1.0f : 0.0f;
                const float edge = std::max(std::abs(wx), std::abs(wy)) > 0.94f ? 1.0f : 0.0f;
                if (barX + barY + edge > 0.0f) colour = Vec3{0.16f, 0.15f, 0.13f} + Vec3{0.5f, 0.42f, 0.32f} * sun;
            }
            Cover(plate->At(px, py), colour, std::clamp(x - wallLeft, 0.0f, 1.0f));
        }
    });
    BlurPlate(plate, height / 190);
    // Light that spreads in the lens.
    const float gx = cx + 0.12f * halfW, gy = cy - 0.36f * halfH;
    ForRows(threads, height, [&](int py) {
        for (int px = 0; px < width; ++px) {
            const float d = Hypotenuse(static_cast<float>(px) - gx, static_cast<float>(py) - gy) / h;
            const float glow = 0.16f * std::exp(-d * d * 60.0f) + 0.055f * std::exp(-d * 5.5f);
            float* pixel = plate->At(px, py);
            pixel[0] += glow * 1.00f;
            pixel[1] += glow * 0.88f;
            pixel[2] += glow * 0.70f;
        }
    });
}

void PaintShrub(ScenePlate* plate, int width, int height)
{
    plate->Make(width, height);
    Dice dice = {77u};
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    // Sprigs fan out of the corner; leaves sit in pairs along them, the far ones first.
    for (int sprig = 0; sprig < 46; ++sprig) {
        const float depth = static_cast<float>(sprig) / 45.0f;
        const float reach = dice.Between(0.55f, 1.0f) * h * (1.0f - 0.25f * depth);
        const float rootX = w * dice.Between(-0.17f, 0.36f), rootY = h * 1.05f;
        // Those on the right lean less, so that nothing reaches the plate's edge.
        const float lean = dice.Between(-0.15f, 1.10f) * (1.0f - 0.9f * std::max(0.0f, rootX / w));
        const float bend = dice.Between(-0.3f, 0.35f);
        for (int i = 3; i < 22; ++i) {
            const float t = static_cast<float>(i) / 21.0f;
            const float angle = lean + bend * t;
            const float x = rootX + std::sin(angle) * reach * t, y = rootY - std::cos(angle) * reach * t;
            const float sun =
                0.12f + 0.5f * depth * t + 0.5f * (Fractal({x * 6.0f / h, y * 6.0f / h, 1.0f}, 3) - 0.35f);
            for (float side : {-1.0f, 1.0f}) {
                const float size = h * dice.Between(0.055f, 0.085f) * (1.0f - 0.55f * t);
                const float out = angle + side * dice.Between(0.6f, 1.25f);
                Vec3 colour = LeafColour(&dice, sun + dice.Between(-0.25f, 0.3f)) * (0.35f + 0.75f * depth);
                PaintLeaf(plate, {x + std::sin(out) * size, y - std::cos(out) * size, size,
                                  size * dice.Between(0.32f, 0.45f), out - 0.5f * kPi, colour, 1.0f});
            }
        }
    }
    BlurPlate(plate, std::max(1, height / 300));
}
