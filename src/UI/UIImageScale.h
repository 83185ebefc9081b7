// The last step of a picture on its way to the screen: the visible part of a surface at the size at which it is shown,
// as words of the window system. Only visible pixels are made.
#pragma once

#include "src/MPTasks.h"
#include "src/ScopeSurface.h"
#include "src/UI/UIImagePane.h"

/// Writes a surface as 32-bit words 0xFFRRGGBB, rowWords apart: what window systems want. Alpha is shown as opaque.
/// Thread: any, own rows.
void TKSurfaceToWords(const ScopeSurface& surface, uint32_t* words, size_t rowWords);

/// How a run of source pixels becomes a run of shown ones: shown pixel i covers the source from (start + i * step) /
/// divisor to (start + (i + 1) * step) / divisor, in pixels of the source. A pick computes its place in the same way, so
/// that it reads what is shown, to the bit.
struct TKScaleAxis {
    double start, step;
    int32_t count;
    double divisor = 1; ///< width of a pixel over its height
};

enum TKScaleKind : uint32_t {
    tkScaleNearest, ///< the source pixel at the start of what a shown pixel covers: what a pick there reads
    tkScaleSmooth,  ///< the mean of what it covers; where it covers less than one pixel, between the two nearest
};

/// Fills rows `firstRow` to `endRow` of a picture of across.count x down.count words. Sources outside the surface count as
/// its border.   Thread: any, own rows.
void TKScaleSurface(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down, TKScaleKind kind,
                    int32_t firstRow, int32_t endRow, uint32_t* words, size_t rowWords);

/// The whole picture, its rows shared by the tasks (null: none); the same words for any number of them.   Thread: main.
void TKScaleSurfaceShared(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down,
                          TKScaleKind kind, uint32_t* words, size_t rowWords, uint32_t taskCount, MPTask* tasks);

/// The axes of what a pane shows, and how it is scaled: at the fit size and where the picture is made smaller smoothly,
/// in a closer view pixel by pixel.
struct TKPaneScale {
    TKScaleAxis across, down;
    TKScaleKind kind;
};
TKPaneScale TKScaleOfPane(const ImagePaneVars& pane);
