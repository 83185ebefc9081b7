// The woman of the sample scene: a distance field of soft shapes, walked once for each pixel and lit by a sky, a sun
// from behind on the right, and the warm wall.
//
// Units are roughly a hand's breadth: the head is 2.3 high, its middle is the origin, y points up, z to the camera.
#include "host/ScenePlates.h"

namespace {

enum Matter { skin, hair, coat, scarf };

struct Hit {
    float distance;
    Matter matter;
};

float SmoothMin(float a, float b, float k)
{
    const float h = std::max(k - std::abs(a - b), 0.0f) / k;
    return std::min(a, b) - h * h * k * 0.25f;
}

float SmoothMax(float a, float b, float k)
{
    return -SmoothMin(-a, -b, k);
}

float Ellipsoid(Vec3 p, Vec3 centre, Vec3 radius)
{
    const Vec3 q = p - centre;
    const Vec3 a = {q.x / radius.x, q.y / radius.y, q.z / radius.z};
    const Vec3 b = {a.x / radius.x, a.y / radius.y, a.z / radius.z};
    const float k = Length(a);
    return k * (k - 1.0f) / std::max(Length(b), 1e-6f);
}

float Ball(Vec3 p, Vec3 centre, float radius)
{
    return Length(p - centre) - radius;
}

float Rod(Vec3 p, Vec3 a, Vec3 b, float ra, float rb)
{
    const Vec3 along = b - a;
    const float t = std::clamp(Dot(p - a, along) / Dot(along, along), 0.0f, 1.0f);
    return Length(p - a - along * t) - Mix(ra, rb, t);
}

/// A ring around the neck, higher at the back.
float Ring(Vec3 p, Vec3 centre, float radius, float thickness, float tilt)
{
    Vec3 q = p - centre;
    q.y += q.z * tilt;
    const float around = Hypotenuse(q.x, q.z * 1.15f) - radius;
    return Hypotenuse(around, q.y * 0.72f) - thickness;
}

constexpr float kTurn = 0.52f, kNod = 0.09f;

/// Into the space of the head: turned to her left, a little down.
Vec3 ToHead(Vec3 p)
{
    const float c = std::cos(kTurn), s = std::sin(kTurn);
    Vec3 q = {p.x * c - p.z * s, p.y, p.x * s + p.z * c};
    const float nc = std::cos(kNod), ns = std::sin(kNod);
    return {q.x, q.y * nc + q.z * ns, q.z * nc - q.y * ns};
}

float Face(Vec3 p)
{
    const float side = std::abs(p.x);
    const Vec3 m = {side, p.y, p.z};
    float d = Ellipsoid(p, {0, 0.30f, -0.12f}, {0.74f, 0.84f, 0.90f});
    d = SmoothMin(d, Ellipsoid(p, {0, -0.30f, 0.22f}, {0.55f, 0.74f, 0.56f}), 0.30f);
    d = SmoothMin(d, Ellipsoid(p, {0, -0.90f, 0.50f}, {0.20f, 0.17f, 0.20f}), 0.28f);
    d = SmoothMin(d, Ball(m, {0.36f, -0.25f, 0.46f}, 0.20f), 0.24f);
    d = SmoothMin(d, Rod(m, {0.0f, 0.13f, 0.775f}, {0.42f, 0.15f, 0.58f}, 0.05f, 0.05f), 0.18f);
    d = SmoothMax(d, -Ellipsoid(m, {0.27f, -0.03f, 0.84f}, {0.17f, 0.12f, 0.15f}), 0.16f);
    d = SmoothMin(d, Ellipsoid(m, {0.265f, -0.045f, 0.60f}, {0.145f, 0.115f, 0.145f}), 0.03f);
    float nose = Rod(p, {0, 0.08f, 0.76f}, {0, -0.28f, 0.97f}, 0.060f, 0.085f);
    nose = SmoothMin(nose, Ball(m, {0.095f, -0.33f, 0.86f}, 0.062f), 0.08f);
    d = SmoothMin(d, nose, 0.11f);
    d = SmoothMin(d, Ellipsoid(p, {0, -0.55f, 0.70f}, {0.25f, 0.15f, 0.13f}), 0.14f);
    d = SmoothMin(d, Ellipsoid(p, {0, -0.535f, 0.80f}, {0.17f, 0.042f, 0.06f}), 0.035f);
    d = SmoothMin(d, Ellipsoid(p, {0, -0.625f, 0.785f}, {0.145f, 0.055f, 0.065f}), 0.035f);
    d = SmoothMax(d, -Rod(m, {0, -0.578f, 0.885f}, {0.20f, -0.575f, 0.79f}, 0.016f, 0.010f), 0.03f);
    return d;
}

/// Displacements are left out where they cannot matter: far from the surface, and in the walks of shadows.
constexpr float kFine = 0.12f;

float Hair(Vec3 p, bool isFine)
{
    const float side = std::abs(p.x);
    const Vec3 m = {side, p.y, p.z};
    float d = Ellipsoid(p, {0, 0.36f, -0.20f}, {0.83f, 0.86f, 0.98f});
    // Parted off the middle, it leaves the face free.
    const Vec3 opening = {p.x + 0.06f, p.y, p.z};
    const float edge = isFine && d < 0.3f ? 0.06f * Noise({p.x * 3.5f, p.y * 2.0f, 3.0f}) : 0.0f;
    d = SmoothMax(d, -Ellipsoid(opening, {0, -0.24f, 0.85f}, {0.57f, 0.94f, 0.80f}) + edge, 0.12f);
    float locks = Rod(m, {0.60f, 0.52f, 0.06f}, {0.75f, -0.85f, 0.04f}, 0.20f, 0.23f);
    locks = SmoothMin(locks, Rod(m, {0.75f, -0.85f, 0.04f}, {0.60f, -1.75f, 0.22f}, 0.23f, 0.15f), 0.3f);
    locks = SmoothMin(locks, Ellipsoid(p, {0, -0.75f, -0.50f}, {0.78f, 1.05f, 0.42f}), 0.25f);
    d = SmoothMin(d, locks, 0.22f);
    if (!isFine || d > kFine) return d;
    const float angle = std::atan2(p.x, p.z + 0.4f) + 0.10f * std::sin(p.y * 2.6f + p.x);
    d -= 0.075f * (Noise({angle * 5.0f, p.y * 0.7f, 2.0f}) - 0.5f);
    d -= 0.036f * (Noise({angle * 15.0f, p.y * 1.1f, 4.0f}) - 0.5f);
    d -= 0.014f * (Noise({angle * 44.0f, p.y * 1.8f, 5.0f}) - 0.5f);
    return d;
}

float Scarf(Vec3 p, bool isFine)
{
    float d = Ring(p, {0.0f, -1.42f, -0.10f}, 0.50f, 0.225f, 0.16f);
    d = SmoothMin(d, Ring(p, {0.03f, -1.70f, -0.02f}, 0.62f, 0.215f, 0.24f), 0.05f);
    d = SmoothMin(d, Ellipsoid(p, {0.16f, -1.98f, 0.52f}, {0.40f, 0.42f, 0.20f}), 0.14f);
    if (!isFine || d > kFine) return d;
    const float around = std::atan2(p.x, p.z + 0.1f);
    const float soft = Noise({p.x * 2.0f, p.y * 2.0f, p.z * 2.0f});
    d -= 0.045f * std::sin(around * 4.0f + p.y * 10.0f + 3.0f * soft);
    d -= 0.04f * Noise({p.x * 5.0f + p.y * 4.0f, p.y * 6.0f, p.z * 5.0f});
    return d;
}

float Coat(Vec3 p, bool isFine)
{
    const Vec3 m = {std::abs(p.x), p.y, p.z};
    float d = Ellipsoid(p, {0, -3.7f, -0.30f}, {1.34f, 2.0f, 0.76f});
    d = SmoothMin(d, Rod(m, {0.10f, -1.90f, -0.28f}, {1.12f, -2.42f, -0.28f}, 0.36f, 0.36f), 0.40f);
    d = SmoothMin(d, Rod(m, {1.20f, -2.50f, -0.25f}, {1.62f, -5.3f, -0.02f}, 0.38f, 0.42f), 0.30f);
    d = SmoothMin(d, Ellipsoid(m, {0.42f, -3.20f, 0.12f}, {0.48f, 0.52f, 0.46f}), 0.45f);
    // The collar stands up behind the scarf; the front is closed on her left.
    d = SmoothMin(d, Ring(p, {0, -1.88f, -0.16f}, 0.74f, 0.17f, 0.34f), 0.10f);
    if (!isFine || d > kFine) return d;
    const float seam = p.x - 0.28f - 0.03f * p.y;
    d -= p.z > 0.0f ? 0.045f * Step(0.02f, -0.02f, seam) * Step(-2.0f, -2.5f, p.y) : 0.0f;
    // Folds run from the shoulder to the waist and across the sleeves.
    const float warp = Fractal({p.x * 1.1f, p.y * 0.9f, p.z + 3.0f}, 3);
    const float sleeve = Step(0.95f, 1.25f, m.x);
    const float body = std::sin((m.x * 2.1f + p.y * 0.75f) * 3.3f + warp * 8.0f);
    const float arm = std::sin((p.y * 2.1f - m.x * 1.5f) * 2.5f + warp * 7.0f);
    d -= Mix(0.034f * body, 0.060f * arm, sleeve) + 0.05f * (warp - 0.5f);
    return d;
}

Hit Distance(Vec3 p, bool isFine = true)
{
    Hit hit = {1e9f, skin};
    const auto take = [&hit](float d, Matter matter) {
        if (d < hit.distance) hit = {d, matter};
    };
    // Balls around head and shoulders spare most of the work.
    const float toHead = Length(p - Vec3{0, -0.45f, -0.1f}) - 1.75f;
    const float toBody = p.y > -0.9f ? p.y + 0.9f + 0.05f : -1.0f;
    if (toHead < 0.25f) {
        const Vec3 h = ToHead(p);
        take(SmoothMin(Face(h), Rod(p, {0.03f, -0.7f, -0.12f}, {0, -1.9f, -0.22f}, 0.38f, 0.42f), 0.18f), skin);
        take(Hair(h, isFine), hair);
    } else {
        take(toHead, hair);
    }
    if (toBody < 0.0f) {
        take(Scarf(p, isFine), scarf);
        take(Coat(p, isFine), coat);
    } else {
        take(toBody, coat);
    }
    return hit;
}

Vec3 NormalAt(Vec3 p)
{
    constexpr float e = 0.006f;
    const Vec3 k[4] = {{1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, 1}};
    Vec3 n;
    for (const Vec3& corner : k) n = n + corner * Distance(p + corner * e).distance;
    return Normalise(n);
}

float Openness(Vec3 p, Vec3 n)
{
    float closed = 0.0f, weight = 1.0f;
    for (int i = 1; i <= 4; ++i) {
        const float far = 0.05f * static_cast<float>(i * i);
        closed += weight * std::max(0.0f, far - Distance(p + n * far, false).distance) / far;
        weight *= 0.62f;
    }
    return std::clamp(1.0f - 0.55f * closed, 0.0f, 1.0f);
}

float Shadow(Vec3 p, Vec3 light)
{
    float lit = 1.0f;
    for (float t = 0.06f; t < 2.6f;) {
        const float d = Distance(p + light * t, false).distance;
        lit = std::min(lit, 0.5f + 7.0f * d / t);
        if (lit <= 0.0f) return 0.0f;
        t += std::clamp(d, 0.05f, 0.4f);
    }
    return Step(0.0f, 1.0f, lit);
}

Vec3 SkinColour(Vec3 p)
{
    const Vec3 h = ToHead(p);
    const Vec3 m = {std::abs(h.x), h.y, h.z};
    Vec3 colour = {0.63f, 0.375f, 0.265f};
    const float mottle = Fractal(h * 7.0f, 4) - 0.5f;
    colour = colour * (1.0f + 0.10f * mottle);
    const auto near = [&m](Vec3 centre, float radius) {
        const float d = Length(m - centre) / radius;
        return std::exp(-d * d);
    };
    const float blush = 0.55f * near({0.40f, -0.27f, 0.62f}, 0.22f) + 0.4f * near({0, -0.31f, 1.0f}, 0.13f) +
                        0.25f * near({0, -0.95f, 0.68f}, 0.16f);
    colour = Mix(colour, Vec3{0.58f, 0.245f, 0.185f}, std::min(blush, 1.0f));
    // Lips, brows, and the line of the lashes of lowered lids.
    const float lipX = m.x / 0.215f;
    const float lipY = (h.y + 0.578f + 0.018f * lipX * lipX) / (h.y > -0.578f ? 0.062f : 0.092f);
    const float lips = h.z > 0.6f ? Step(1.15f, 0.75f, Hypotenuse(lipX, lipY)) : 0.0f;
    colour = Mix(colour, Vec3{0.40f, 0.115f, 0.105f}, 0.85f * lips);
    const float browY = h.y - 0.155f - 0.16f * m.x + 0.42f * std::max(0.0f, m.x - 0.30f) * 1.4f;
    const float brow = Step(0.048f, 0.012f, std::abs(browY)) * Step(0.07f, 0.13f, m.x) * Step(0.47f, 0.38f, m.x);
    const float hairs = 0.55f + 0.45f * Noise({h.x * 70.0f + h.y * 40.0f, h.y * 22.0f, 1.0f});
    if (h.z > 0.3f) colour = Mix(colour, Vec3{0.052f, 0.030f, 0.018f}, 0.82f * brow * hairs);
    const float u = (m.x - 0.262f) / 0.138f;
    const float lash = h.y + 0.098f - 0.042f * u * u;
    const float lashes = Step(0.024f, 0.006f, std::abs(lash)) * Step(1.10f, 0.92f, std::abs(u));
    const float lidShade = Step(0.10f, 0.0f, std::abs(lash - 0.06f)) * Step(1.15f, 0.6f, std::abs(u));
    if (h.z > 0.4f) {
        colour = colour * (1.0f - 0.20f * lidShade);
        colour = Mix(colour, Vec3{0.022f, 0.013f, 0.010f}, 0.92f * lashes);
    }
    return colour;
}

struct Light {
    Vec3 colour;
    float rim;
};

Vec3 Shade(Vec3 p, Vec3 n, Matter matter)
{
    const Vec3 eye = {0, 0, 1};
    const Vec3 sun = Normalise({0.74f, 0.62f, -0.30f});
    const Vec3 sky = Normalise({-0.55f, 0.62f, 0.62f});
    const Vec3 sunColour = {4.3f, 3.6f, 2.65f}, skyColour = {0.86f, 0.95f, 1.08f}, wallColour = {0.62f, 0.46f, 0.31f};
    const float open = Openness(p, n);
    const float direct = Dot(n, sun) > -0.2f ? Shadow(p + n * 0.03f, sun) : 0.0f;
    const float soft = Shadow(p + n * 0.05f, sky) * 0.75f + 0.25f;

    const float wrap = matter == skin ? 0.28f : 0.06f;
    const float sunTerm = std::max(0.0f, (Dot(n, sun) + wrap * 0.5f) / (1.0f + wrap * 0.5f)) * direct;
    const float skyTerm = std::max(0.0f, (Dot(n, sky) + wrap) / (1.0f + wrap)) * soft;
    const float dome = 0.5f + 0.5f * n.y;
    const float wall = std::max(0.0f, 0.45f + 0.55f * Dot(n, Normalise({0.95f, -0.1f, 0.3f})));
    Vec3 light =
        sunColour * sunTerm + skyColour * (0.72f * skyTerm + 0.30f * dome * open) + wallColour * (0.42f * wall * open);
    light = light + Vec3{0.16f, 0.17f, 0.10f} * ((0.5f - 0.5f * n.y) * open);
    const float facing = std::clamp(Dot(n, eye), 0.0f, 1.0f);
    const float grazing = std::pow(1.0f - facing, 3.0f);

    switch (matter) {
    case skin: {
        Vec3 colour = SkinColour(p) * light;
        // Light that has been below the surface comes back red where the shadow begins.
        const float edge = std::exp(-18.0f * (Dot(n, sky) + 0.05f) * (Dot(n, sky) + 0.05f));
        colour = colour + Vec3{0.055f, 0.012f, 0.004f} * (edge * open);
        const float pores = 0.7f + 0.6f * Noise(ToHead(p) * 60.0f);
        const float shine = std::pow(std::max(0.0f, Dot(n, Normalise(sky + eye))), 26.0f) * 0.13f * soft * pores;
        return colour + Vec3{1.0f, 0.96f, 0.92f} * shine + sunColour * (grazing * 0.05f * direct);
    }
    case hair: {
        const Vec3 h = ToHead(p);
        const float angle = std::atan2(h.x, h.z + 0.4f);
        const float strand = Noise({angle * 60.0f + 1.2f * std::sin(h.y * 3.0f), h.y * 1.8f, 8.0f});
        const Vec3 base = Mix(Vec3{0.030f, 0.0165f, 0.009f}, Vec3{0.125f, 0.066f, 0.032f}, strand);
        const Vec3 along = Normalise(Vec3{0.10f * std::sin(h.y * 3.0f), -1.0f, 0.15f});
        const Vec3 half = Normalise(sky + eye);
        const float t = Dot(along, half) + 0.10f * (strand - 0.5f);
        const float gleam = std::pow(std::max(0.0f, 1.0f - t * t), 22.0f) * 0.16f * soft * (0.4f + strand);
        const Vec3 back =
            sunColour * Vec3{0.50f, 0.30f, 0.15f} * (std::pow(1.0f - facing, 2.0f) * 0.45f * direct * (0.35f + strand));
        return base * light + Vec3{0.55f, 0.46f, 0.38f} * gleam + back;
    }
    case coat: {
        const float weave = 0.5f * Noise({p.x * 55.0f, p.y * 55.0f, p.z * 55.0f}) +
                            0.5f * Noise({p.x * 24.0f, p.y * 24.0f, p.z * 24.0f});
        const Vec3 base = Vec3{0.026f, 0.031f, 0.048f} * (0.55f + 0.9f * weave);
        return base * light * 1.15f + Vec3{0.055f, 0.062f, 0.085f} * (grazing * (0.35f + 0.65f * direct) * open);
    }
    case scarf: {
        const float rib = 0.5f + 0.5f * std::sin((p.y * 1.0f + std::atan2(p.x, p.z) * 0.35f) * 62.0f);
        const float wool = Noise(p * 40.0f);
        const Vec3 base = Mix(Vec3{0.27f, 0.035f, 0.030f}, Vec3{0.42f, 0.065f, 0.045f}, 0.5f * rib + 0.5f * wool);
        return base * light + Vec3{0.20f, 0.06f, 0.05f} * (grazing * 0.5f * open);
    }
    }
    return {};
}

/// Hairs that have come loose: thin bent lines around the outline, lit from behind.
void PaintLooseHair(ScenePlate* plate, float unit)
{
    Dice dice = {31337u};
    const float middle = kFigureBox * 0.5f;
    for (int strand = 0; strand < 420; ++strand) {
        const bool isLock = strand % 3 == 0;
        const float right = dice.Roll() < 0.5f ? -1.0f : 1.0f;
        float x, y, direction;
        if (isLock) {
            x = right * dice.Between(0.70f, 0.92f) - 0.06f;
            y = dice.Between(-1.2f, 0.3f);
            direction = -1.5708f + dice.Between(-0.25f, 0.25f);
        } else {
            const float angle = 1.5708f + dice.Between(-1.7f, 1.7f);
            x = 0.93f * std::cos(angle) - 0.10f;
            y = 0.34f + 0.90f * std::sin(angle);
            direction = angle + (std::cos(angle) > 0 ? -1.0f : 1.0f) * dice.Between(0.9f, 1.7f);
        }
        const float bend = dice.Between(-2.2f, 2.2f), length = dice.Between(0.12f, isLock ? 0.7f : 0.4f);
        const float alpha = dice.Between(0.05f, 0.22f);
        const Vec3 colour =
            Mix(Vec3{0.10f, 0.06f, 0.035f}, Vec3{0.85f, 0.55f, 0.30f}, dice.Roll() * (x > -0.2f ? 1.0f : 0.4f));
        for (float gone = 0.0f; gone < length; gone += unit) {
            const float fade = 1.0f - gone / length;
            x += std::cos(direction) * unit;
            y += std::sin(direction) * unit;
            direction += bend * unit;
            const int column = static_cast<int>((x + middle) / unit),
                      row = static_cast<int>((middle - kFigureDrop - y) / unit);
            if (column < 0 || row < 0 || column >= plate->width || row >= plate->height) break;
            Cover(plate->At(column, row), colour, alpha * std::min(1.0f, 2.0f * fade));
        }
    }
}

} // namespace

void PaintFigure(ScenePlate* plate, int side, int threads)
{
    plate->Make(side, side);
    const float unit = kFigureBox / static_cast<float>(side);
    ForRows(threads, side, [&](int row) {
        for (int column = 0; column < side; ++column) {
            const float x = (static_cast<float>(column) + 0.5f) * unit - kFigureBox * 0.5f;
            const float y = kFigureBox * 0.5f - kFigureDrop - (static_cast<float>(row) + 0.5f) * unit;
            // Above the shoulders the figure is narrow.
            if ((y > -1.5f && std::abs(x) > 1.6f) || y > 1.5f || std::abs(x) > 2.6f) continue;
            float z = 1.5f;
            Hit hit = {1e9f, skin};
            for (int step = 0; step < 56 && z > -1.4f && hit.distance >= 0.0035f; ++step) {
                hit = Distance({x, y, z});
                if (hit.distance >= 0.0035f) z -= std::max(hit.distance * 0.82f, 0.004f);
            }
            if (hit.distance >= 0.0035f) continue;
            const Vec3 p = {x, y, z};
            const Vec3 colour = Shade(p, NormalAt(p), hit.matter);
            Cover(plate->At(column, row), colour, 1.0f);
        }
    });
    PaintLooseHair(plate, unit);
    BlurPlate(plate, std::max(1, side / 900));
}
