// The cases: every display, and every setting where it shows.
#include "tests/ScopesGolden.h"

#include "tests/ScopeBoxes.h"

#include <cstring>

namespace {

using Context = ScopeContext;
using Selection = ScopeSelection;

void Nothing(Context*, Selection*) {}

constexpr ScopeGoldenSize kSmall = {160, 120}, kMiddle = {320, 240};

constexpr ScopeGoldenCase kCases[] = {
    {"combo", scopeTabCombo, Nothing, kMiddle},
    {"combo-of-others", scopeTabCombo,
     [](Context*, Selection* s) {
         s->comboSelection[0] = scopeRGBWFM;
         s->comboSelection[1] = scopeOverlayWFM;
         s->comboSelection[2] = scopeVectorscope;
         s->comboSelection[3] = scopeYCWFM;
         s->comboVectorscopeZoom = 2;
     },
     kMiddle},
    {"luma", scopeTabLumaWFM, Nothing, kSmall},
    {"luma-pal-mv", scopeTabLumaWFM,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 2;
         c->settings.wfmUnitsMV = 1;
     },
     kSmall},
    {"luma-709-legal", scopeTabLumaWFM,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 3;
         c->settings.videoBlackLevel = 16;
         c->settings.videoWhiteLevel = 235;
     },
     kSmall},
    {"luma-709-legal-mv", scopeTabLumaWFM,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 3;
         c->settings.wfmUnitsMV = 1;
         c->settings.videoBlackLevel = 16;
         c->settings.videoWhiteLevel = 235;
     },
     kSmall},
    {"luma-setup", scopeTabLumaWFM, [](Context* c, Selection*) { c->settings.videoBlackSetupPresent = 1; }, kSmall},
    {"luma-picture-colour", scopeTabLumaWFM, [](Context* c, Selection*) { c->settings.wfmColor = 1; }, kSmall},
    {"luma-saturated", scopeTabLumaWFM, [](Context* c, Selection*) { c->settings.uiSaturation = 0x10000; }, kSmall},
    {"luma-grey", scopeTabLumaWFM, [](Context* c, Selection*) { c->settings.uiSaturation = 0xCCC; }, kSmall},
    {"luma-suspended", scopeTabLumaWFM, [](Context* c, Selection*) { c->settings.updateSuspended = true; }, kSmall},
    {"luma-playing", scopeTabLumaWFM, [](Context*, Selection* s) { s->isPlaying = true; }, kSmall},
    {"yc", scopeTabLumaWFM + 1, Nothing, kSmall},
    {"yc-mv", scopeTabLumaWFM + 1,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 2;
         c->settings.wfmUnitsMV = 1;
     },
     kSmall},
    {"yc-picture-colour", scopeTabLumaWFM + 1, [](Context* c, Selection*) { c->settings.wfmColor = 1; }, kSmall},
    {"rgb", scopeTabLumaWFM + 2, Nothing, kSmall},
    {"gbr", scopeTabLumaWFM + 3, Nothing, kSmall},
    {"yrgb", scopeTabLumaWFM + 4, Nothing, kSmall},
    {"ycbcr", scopeTabLumaWFM + 5, Nothing, kSmall},
    {"ycbcr-mv", scopeTabLumaWFM + 5,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 2;
         c->settings.wfmUnitsMV = 1;
     },
     kSmall},
    {"ycbcr-picture-colour", scopeTabLumaWFM + 5, [](Context* c, Selection*) { c->settings.wfmColor = 1; }, kSmall},
    {"overlay", scopeTabLumaWFM + 6, Nothing, kSmall},
    {"vectorscope-601", scopeTabVectorscope, Nothing, kSmall},
    {"vectorscope-601-100", scopeTabVectorscope, [](Context* c, Selection*) { c->settings.vsCalibration100 = 1; },
     kSmall},
    {"vectorscope-709", scopeTabVectorscope, [](Context* c, Selection*) { c->settings.videoSystem = 3; }, kSmall},
    {"vectorscope-240m-100", scopeTabVectorscope,
     [](Context* c, Selection*) {
         c->settings.videoSystem = 4;
         c->settings.vsCalibration100 = 1;
     },
     kSmall},
    {"vectorscope-5x", scopeTabVectorscope, [](Context*, Selection* s) { s->vectorscopeZoom = 5; }, kSmall},
    {"histograms", scopeTabHistograms, Nothing, kMiddle},
    {"histograms-small", scopeTabHistograms, Nothing, kSmall},
    {"histograms-wide", scopeTabHistograms, Nothing, {640, 480}},   // 512 bins, statistics beside them
    {"histograms-tight", scopeTabHistograms, Nothing, {312, 288}},  // 256 bins, the statistics moved in
    {"histograms-halves", scopeTabHistograms, Nothing, {240, 300}}, // 128 bins with statistics
    {"histograms-ghost", scopeTabHistograms, Nothing, {360, 288}, true},
    {"combo-ghost", scopeTabCombo, Nothing, kMiddle, true},
    {"tone-curve", scopeTabToneCurve, Nothing, kSmall},
    {"source", scopeTabCombo, [](Context*, Selection* s) { s->imageSelection = scopeImageSource; }, kSmall},
};

/// Eight bars above, ramps of several colours below; alpha is real.
void FillPicture(const ScopeSurface& surface, uint8_t level)
{
    for (uint32_t y = 0; y < surface.height; ++y)
        for (uint32_t x = 0; x < surface.width; ++x) {
            const uint32_t bits = 7 - x * 8 / surface.width, ramp = x * 255 / (surface.width - 1);
            uint8_t* pixel = surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4;
            const bool isBar = y * 2 < surface.height, isGrey = y * 4 < surface.height * 3;
            pixel[0] = static_cast<uint8_t>(255 - y);
            pixel[1] = static_cast<uint8_t>(isBar ? (bits & 2 ? level : 0) : ramp);
            pixel[2] = static_cast<uint8_t>(isBar ? (bits & 4 ? level : 0) : isGrey ? ramp : 200 - ramp / 2);
            pixel[3] = static_cast<uint8_t>(isBar ? (bits & 1 ? level : 0) : isGrey ? ramp : ramp / 3 + y);
        }
}

void Append(std::vector<uint8_t>* bytes, uint32_t word)
{
    for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<uint8_t>(word >> (8 * i)));
}

std::vector<uint8_t> Packed(const ScopeSurface& surface)
{
    std::vector<uint8_t> bytes = {'S', 'C', 'O', 'P'};
    Append(&bytes, surface.width);
    Append(&bytes, surface.height);
    uint32_t run = 0, last = 0;
    for (uint32_t y = 0; y < surface.height; ++y)
        for (uint32_t x = 0; x < surface.width; ++x) {
            uint32_t word;
            std::memcpy(&word, surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4, sizeof word);
            if (run != 0 && word != last) {
                Append(&bytes, run);
                Append(&bytes, last);
                run = 0;
            }
            last = word;
            ++run;
        }
    Append(&bytes, run);
    Append(&bytes, last);
    return bytes;
}

} // namespace

std::span<const ScopeGoldenCase> ScopeGoldenCases()
{
    return kCases;
}

std::vector<uint8_t> MakeScopeGolden(const ScopeGoldenCase& which, bool readable)
{
    ScopeSurface result, source, target;
    if (ScopeSurfaceCreate(176, 96, &result) != bpNoErr || ScopeSurfaceCreate(64, 48, &source) != bpNoErr ||
        ScopeSurfaceCreate(which.size.width, which.size.height, &target) != bpNoErr)
        return {};
    FillPicture(result, 191);
    FillPicture(source, 255);
    GetLumaTable(ocMatrix601); // what a histogram without a waveform monitor before it finds
    const ScopeLetters letters = ScopeBoxes<ScopeFrameRect>();
    ScopeContext context = ScopeDefaultContext();
    context.letters = &letters;
    context.readable = readable;
    ScopeSelection selection = ScopeDefaultSelection();
    selection.analysisSelection = which.tab;
    which.edit(&context, &selection);
    DrawAnalysisPane(&target, selection, {&result, &source, nullptr}, context);
    if (which.hasGhost) DrawScopeGhost(&target, selection, &source, context);
    std::vector<uint8_t> bytes = Packed(target);
    ScopeSurfaceDispose(&result);
    ScopeSurfaceDispose(&source);
    ScopeSurfaceDispose(&target);
    return bytes;
}
