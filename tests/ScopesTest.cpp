#include "tests/ScopesTest.h"

#include "tests/ScopeBoxes.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cstring>

Surface::Surface(uint32_t wide, uint32_t high) : ScopeSurface{}
{
    EXPECT_EQ(ScopeSurfaceCreate(wide, high, this), bpNoErr);
}

Surface::~Surface()
{
    ScopeSurfaceDispose(this);
}

Surface::Pixel Surface::At(int32_t x, int32_t y) const
{
    Pixel pixel;
    std::memcpy(&pixel, pixels + static_cast<size_t>(y) * rowBytes + static_cast<size_t>(x) * 4, 4);
    return pixel;
}

void Surface::Set(int32_t x, int32_t y, Pixel pixel)
{
    std::memcpy(pixels + static_cast<size_t>(y) * rowBytes + static_cast<size_t>(x) * 4, &pixel, 4);
}

void Surface::Fill(const std::function<Pixel(int32_t x, int32_t y)>& color)
{
    for (int32_t y = 0; y < static_cast<int32_t>(height); ++y)
        for (int32_t x = 0; x < static_cast<int32_t>(width); ++x) Set(x, y, color(x, y));
}

void Surface::FillBytes(uint8_t value)
{
    std::memset(pixels, value, size_t{rowBytes} * height);
}

void Surface::FillNoise(Random& random)
{
    for (size_t i = 0; i < size_t{rowBytes} * height; ++i) pixels[i] = static_cast<uint8_t>(random() >> 11);
}

testing::AssertionResult SameSurface(const Surface& expected, const Surface& seen)
{
    const ScopeSurface& a = expected;
    const ScopeSurface& b = seen;
    if (a.width != b.width || a.height != b.height || a.rowBytes != b.rowBytes)
        return testing::AssertionFailure() << "sizes differ";
    for (size_t i = 0; i < size_t{a.rowBytes} * a.height; ++i)
        if (a.pixels[i] != b.pixels[i])
            return testing::AssertionFailure()
                   << "row " << i / a.rowBytes << ", column " << i % a.rowBytes / 4 << ", byte " << i % 4
                   << ": expected " << int{a.pixels[i]} << ", seen " << int{b.pixels[i]};
    return testing::AssertionSuccess();
}

Recorder::Recorder()
{
    letters = ScopeBoxes<ScopeFrameRect>();
    letters.context = this;
    letters.hasFamily = [](void* context, const char* name) { return static_cast<Recorder*>(context)->family == name; };
    witness = {.context = this, .saw = [](void* context, const ScopeMark& mark) {
                   static_cast<Recorder*>(context)->marks.push_back({mark, mark.text ? mark.text : ""});
               }};
}

ScopeContext Recorder::Context()
{
    ScopeContext context = ScopeDefaultContext();
    context.letters = &letters;
    context.witness = &witness;
    return context;
}

std::vector<SeenMark> Recorder::Of(ScopeMarkKind kind) const
{
    std::vector<SeenMark> found;
    std::copy_if(marks.begin(), marks.end(), std::back_inserter(found),
                 [=](const SeenMark& seen) { return seen.mark.kind == kind; });
    return found;
}

std::vector<std::string> Recorder::Texts() const
{
    std::vector<std::string> texts;
    for (const SeenMark& seen : Of(scopeMarkText)) texts.push_back(seen.text);
    return texts;
}

SeenMark Recorder::Text(const std::string& text) const
{
    std::vector<SeenMark> found;
    for (const SeenMark& seen : Of(scopeMarkText))
        if (seen.text == text) found.push_back(seen);
    EXPECT_EQ(found.size(), 1u) << "\"" << text << "\"";
    return found.empty() ? SeenMark{} : found.front();
}

Surface::Pixel BarColor(int32_t bar, uint8_t level)
{
    // Counted down, the bits of 7 to 0 are green, red, blue.
    const int32_t bits = kBarCount - 1 - bar;
    const auto channel = [=](int32_t bit) { return bits & bit ? level : uint8_t{0}; };
    return Opaque(channel(2), channel(4), channel(1));
}

void FillBars(Surface* surface, uint8_t level)
{
    const auto width = static_cast<int32_t>(surface->width);
    surface->Fill([=](int32_t x, int32_t) { return BarColor(x * kBarCount / width, level); });
}

void FillScene(Surface* surface)
{
    const auto width = static_cast<int32_t>(surface->width), height = static_cast<int32_t>(surface->height);
    uint32_t state = 12345;
    surface->Fill([&](int32_t x, int32_t y) {
        state = state * 1664525 + 1013904223;
        const auto noise = static_cast<int32_t>(state >> 28);
        const int32_t ramp = x * 255 / std::max(width - 1, 1);
        const auto byte = [](int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); };
        if (y < height / 4) return Opaque(byte(ramp), byte(ramp), byte(ramp));
        if (y < height / 2) return BarColor(x * kBarCount / width, 191);
        if (y < height * 3 / 4) return Opaque(byte(ramp + noise), byte(128 + noise - ramp / 4), byte(255 - ramp));
        return Opaque(byte(180 + noise), byte(120 + noise), byte(90 + ramp / 8)); // skin
    });
}

int32_t Within(Random& random, int32_t low, int32_t high)
{
    return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
}

void FillAny(Surface* surface, Random& random)
{
    switch (random() % 5) {
    case 0: surface->FillNoise(random); break;
    case 1: {
        const Surface::Pixel color = {static_cast<uint8_t>(random()), static_cast<uint8_t>(random()),
                                      static_cast<uint8_t>(random()), static_cast<uint8_t>(random())};
        surface->Fill([=](int32_t, int32_t) { return color; });
        break;
    }
    case 2: FillBars(surface, static_cast<uint8_t>(random())); break;
    case 3: FillScene(surface); break;
    default:
        surface->Fill([&](int32_t, int32_t) {
            const auto grey = static_cast<uint8_t>(random() % 3 * 90);
            return random() % 4 == 0 ? Opaque(grey, 10, 200) : Opaque(grey, grey, grey);
        });
    }
}

ScopeRect AnyBounds(Random& random, int32_t width, int32_t height)
{
    if (random() % 3 == 0) return ScopeRectOf(0, 0, height, width);
    const int32_t left = Within(random, -40, width - 1), top = Within(random, -40, height - 1);
    return ScopeRectOf(top, left, Within(random, top, height + 40), Within(random, left, width + 40));
}

void OnEveryInstructionSet(const std::function<void()>& check)
{
    const int64_t all = hwy::SupportedTargets();
    int sets = 0;
    for (int64_t bits = all; bits != 0; bits &= bits - 1) { // from the best down
        SCOPED_TRACE(hwy::TargetName(bits & -bits));
        hwy::SetSupportedTargetsForTest(bits);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        check();
        ++sets;
        if (testing::Test::HasFatalFailure()) break;
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    EXPECT_GE(sets, 1);
    EXPECT_EQ(hwy::SupportedTargets(), all);
}
