// The probe: which pixel is under the pointer, and what it measures.
#include "src/support/TKSession.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

/// What red and blue weigh in luma; green weighs the rest.
struct LumaWeights {
    double red, blue;
};
constexpr LumaWeights kLumaWeights[kOCMatrixCount] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.212, 0.087}};
constexpr double kSetupIRE = 7.5;
constexpr double kMillivolts = 7; // of one IRE, in every video system: so are the lines of the waveform monitors

double LevelOf(const TKPreferences& prefs, const ScopeProbe& pixel)
{
    const LumaWeights& weights = kLumaWeights[ScopeMatrix(prefs.videoSystem)];
    const double luma =
        weights.red * pixel.red + (1 - weights.red - weights.blue) * pixel.green + weights.blue * pixel.blue;
    const double range = prefs.videoWhiteLevel - static_cast<double>(prefs.videoBlackLevel);
    if (range <= 0) return 0;
    const double setup = static_cast<int32_t>(prefs.videoBlackSetupPresent) > 0 ? kSetupIRE : 0;
    const double level = setup + (luma - prefs.videoBlackLevel) / range * (100 - setup);
    return prefs.wfmUnitsMV == 0 ? level : level * kMillivolts;
}

const FBFrame* FrameBehind(const TKSession* session, const ScopeSurface* seen)
{
    const FBFrame* frame = seen == &session->resultSurface   ? session->resultFrame
                           : seen == &session->sourceSurface ? session->sourceFrame
                                                             : nullptr;
    return frame && frame->width == seen->width && frame->height == seen->height ? frame : nullptr;
}

/// Split views and luma ranges show sides and greys that the displays do not analyse: the values are the result's there,
/// and whoever reads them has to know.
const char* PictureOf(const TKSession* session, const ScopeSurface* seen)
{
    return seen == TKSurfaceOfMode(session, session->imagePaneMode) ? "" : "Result";
}

/// The nearest code of the full range; what is below or above it, its end.
int TenBits(float value)
{
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::lround(std::clamp(value, 0.0f, 1.0f) * 1023.0f));
}

} // namespace

void TKMoveProbe(TKSession* session, bool hasPixel, int32_t x, int32_t y)
{
    TKViews& views = session->views;
    const bool isSame = views.probeHasPixel == hasPixel && views.probeX == x && views.probeY == y;
    views.probeHasPixel = hasPixel; // kept while the probe is off: switched on, it begins where the pointer is
    views.probeX = x;
    views.probeY = y;
    if (!views.probeOn || isSame) return;
    TK_UI(session, showAnalysis, false);
    if (views.window.isOpen != 0) TK_UI(session, showScopeWindow, false);
    TK_UI(session, repaintPicture, false);
}

TKProbeReading TKReadProbe(const TKSession* session)
{
    const TKViews& views = session->views;
    const ScopeSurface* seen = ScopePictureOf(TKSelectionOf(session), TKScopePicturesOf(session));
    TKProbeReading reading = {};
    reading.picture = "";
    if (!views.probeOn || !views.probeHasPixel || !seen || views.probeX < 0 || views.probeY < 0) return reading;
    if (static_cast<uint32_t>(views.probeX) >= seen->width || static_cast<uint32_t>(views.probeY) >= seen->height)
        return reading;
    reading.valid = true;
    reading.picture = PictureOf(session, seen);
    reading.x = views.probeX;
    reading.y = views.probeY;
    const uint8_t* pixel = seen->pixels + static_cast<size_t>(reading.y) * seen->rowBytes +
                           static_cast<size_t>(reading.x) * 4; // alpha, red, green, blue
    reading.pixel = {.across = (reading.x + 0.5) / seen->width,
                     .alpha = pixel[0],
                     .red = pixel[1],
                     .green = pixel[2],
                     .blue = pixel[3]};
    for (int i = 0; i < 3; ++i) reading.rgb[i] = static_cast<float>(pixel[i + 1]) / 255.0f;
    if (const FBFrame* frame = FrameBehind(session, seen)) {
        float rgba[4] = {};
        FBGetPixelFloat(frame, reading.x, reading.y, rgba);
        std::copy_n(rgba, 3, reading.rgb);
    }
    reading.level = LevelOf(session->prefs, reading.pixel);
    reading.inMillivolts = session->prefs.wfmUnitsMV != 0;
    return reading;
}

int32_t TKFindProbe(TKSession* session, TKScopePlace place, uint32_t width, uint32_t height,
                    ScopeProbeMark marks[kScopePaneMarkLimit])
{
    const TKProbeReading reading = TKReadProbe(session);
    if (!reading.valid) return 0;
    return ScopeFindProbes(width, height, TKSelectionOf(session, place), reading.pixel, TKScopeContextOf(session),
                           marks, &session->views.probeMemory[place]);
}

void TKProbeText(const TKProbeReading& reading, char* text, uint32_t length)
{
    if (length == 0) return;
    text[0] = 0;
    if (!reading.valid) return;
    const ScopeProbe& pixel = reading.pixel;
    const char* gap = reading.picture[0] != 0 ? "   " : "";
    std::snprintf(text, length, "%s%s%d, %d   8-bit %d %d %d   10-bit %d %d %d   %.4f %.4f %.4f   %.1f %s",
                  reading.picture, gap, static_cast<int>(reading.x), static_cast<int>(reading.y), pixel.red,
                  pixel.green, pixel.blue, TenBits(reading.rgb[0]), TenBits(reading.rgb[1]), TenBits(reading.rgb[2]),
                  static_cast<double>(reading.rgb[0]), static_cast<double>(reading.rgb[1]),
                  static_cast<double>(reading.rgb[2]), reading.level, reading.inMillivolts ? "mV" : "IRE");
}
