// What the tests of the displays share: surfaces with an owner, letters of known size, a record of every mark, colour
// bars, and comparisons that say where two surfaces differ.
#pragma once

#include "src/TincturaUIDispCombo.h"
#include "tests/CoreTest.h"

#include <functional>

/// A surface of its own; filled with a pixel word when one is given.
class Surface : public ScopeSurface {
  public:
    Surface(uint32_t wide, uint32_t high);
    ~Surface();
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    struct Pixel {
        uint8_t alpha, red, green, blue;
        bool operator==(const Pixel&) const = default;
    };
    Pixel At(int32_t x, int32_t y) const;
    void Set(int32_t x, int32_t y, Pixel pixel);
    /// Every pixel of the picture; row padding is left alone.
    void Fill(const std::function<Pixel(int32_t x, int32_t y)>& color);
    /// Every byte, padding included.
    void FillBytes(uint8_t value);
    void FillNoise(Random& random);
};

/// Opaque.
inline Surface::Pixel Opaque(uint8_t red, uint8_t green, uint8_t blue)
{
    return {0xFF, red, green, blue};
}

/// Same bytes, row padding included.
[[nodiscard]] testing::AssertionResult SameSurface(const Surface& expected, const Surface& seen);

/// A mark with a text of its own.
struct SeenMark {
    ScopeMark mark;
    std::string text;
};

/// Letters of known size (each half the size wide, ascent three quarters, descent a quarter), drawn as boxes, and a
/// record of everything that is drawn.
class Recorder {
  public:
    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    ScopeLetters letters{};
    ScopeWitness witness{};
    std::vector<SeenMark> marks{};
    std::string family = "Arial"; ///< the only one that there is

    /// A context that draws and records with this.
    ScopeContext Context();

    std::vector<SeenMark> Of(ScopeMarkKind kind) const;
    /// Texts in order.
    std::vector<std::string> Texts() const;
    /// The one mark with this text; a failure when there is none or more.
    SeenMark Text(const std::string& text) const;
};

/// Colour bars of a level: white, yellow, cyan, green, magenta, red, blue, black.
inline constexpr int32_t kBarCount = 8;
Surface::Pixel BarColor(int32_t bar, uint8_t level);
void FillBars(Surface* surface, uint8_t level);

/// A scene with ramps, saturated patches and noise, the same each time.
void FillScene(Surface* surface);

// Readable and fast kernels --------------------------------------------------------------------------------------------

/// From low to high, both included.
int32_t Within(Random& random, int32_t low, int32_t high);

/// Noise, flat, bars, a scene, or few colours.
void FillAny(Surface* surface, Random& random);

/// A rectangle that reaches beyond a target of this size now and then; its top and left lie inside or before it.
ScopeRect AnyBounds(Random& random, int32_t width, int32_t height);

/// Runs `check` once for every instruction set of this machine, with that one as the best.
void OnEveryInstructionSet(const std::function<void()>& check);

/// A pool of workers, or one task on the calling thread.
struct Workers {
    explicit Workers(uint32_t wanted) { count = MPStartTaskCount(&tasks, wanted); }
    ~Workers() { MPDisposeTasks(count, &tasks); }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    uint32_t count = 1;
    MPTask* tasks = nullptr;
};
