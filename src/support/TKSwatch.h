// Colour swatches: a field of colour that shows a float triple of the grade, or what the whole correction makes of it,
// with its values in one of seven formats.
//
// Thread of everything here: main.
#pragma once

#include "src/support/TincturaUIControls.h"

/// How values are printed: entries of the popup, counted from 1.
enum TKColorFormat : int32_t {
    tkColorRGB8 = 1,
    tkColorRGB10 = 2,
    tkColorRGB16 = 3,
    tkColorRGBFloat = 4,
    tkColorRGBPercent = 5,
    tkColorHSL = 6,
    tkColorHex = 7,
    tkColorFormatCount = 7,
};

/// The entries, separated by "|".
const char* TKColorFormatList();

/// Edges of a swatch that a neighbour may stand at.
enum : uint32_t { kTKEdgeLeft = 1, kTKEdgeRight = 2 };

struct TKSwatch {
    uint8_t* dataBase;   ///< start of the record that it shows
    uint32_t dataOffset; ///< of the float triple red, green, blue
    bool showsResult;    ///< through the whole correction
    bool showsValues;
    uint32_t joinedEdges;  ///< where a neighbour stands, so that no frame is drawn
    const int32_t* format; ///< of the values: TKColorFormat; null means 8 bits
    const char* label;
    const char* objectName;
    void (*redraw)(void* window); ///< set by its window, may be null
    void* window;
};

/// Fills a swatch for the triple at `dataOffset` of `base`: the colour as it stands, without values, with a whole frame.
void TKCreateSwatch(TKSwatch* swatch, void* base, uint32_t dataOffset, const char* label, const char* objectName);

/// Enters a swatch into the table that TKRedrawSwatches walks; takes it out. One without data is logged as "nil
/// SwatchVarsH\n" with bpParamErr; bpMemFullErr when the table is full.
BPStatus TKRegisterSwatch(TKSession* session, TKSwatch* swatch);
void TKForgetSwatch(TKSession* session, TKSwatch* swatch);

/// Asks every window of a swatch to paint anew.
void TKRedrawSwatches(TKSession* session);

/// The colour of a swatch, not clamped: the field's, while a pick for this field is under way the sample's, for a result
/// swatch sent down the whole correction. What is no finite number counts as 0. One without data is logged as "nil
/// SwatchVarsH\n" and black.
void TKSwatchColor(const TKSession* session, const TKSwatch& swatch, float rgb[3]);

/// The fill of a swatch, each component of the colour clamped to 0 to 1 and rounded to 8 bits.
void TKSwatchFill(const float rgb[3], uint8_t fill[3]);

/// Whether text on the clamped colour is white: where its Y is at most 0.5.
bool TKSwatchTextIsWhite(const float rgb[3]);

/// Row 0, 1 or 2 of the values.
struct TKSwatchRow {
    const char* label; ///< one letter
    char text[64];     ///< UTF-8
};
TKSwatchRow TKFormatSwatchRow(const float rgb[3], int32_t format, uint32_t row);

/// Hue, saturation and lightness of 16-bit components; 65536 is 360 degrees and 100%. Greys have hue and saturation 0.
void RGBToHSL(const uint16_t rgb[3], uint32_t hsl[3]);
