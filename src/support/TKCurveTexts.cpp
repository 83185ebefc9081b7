// What the curve editor says: the readouts below the plot, and the value for screen readers.
#include "src/support/TKCurveEditor.h"
#include "src/support/TKSwatch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

bool IsPoint(const CurveVars& vars, int32_t index)
{
    return index >= 0 && index < TKCurvePointCount(vars);
}

} // namespace

void TKFormatCurveValue(int32_t format, float value, bool isHue, char* text, uint32_t length)
{
    if (length == 0) return;
    const float finite = std::isfinite(value) ? value : 0.0f;
    const float grey[3] = {finite, finite, finite};
    if (format == tkColorHSL && isHue) {
        const double turn = static_cast<double>(std::clamp(finite, 0.0f, 1.0f)) + 0.5; // red stands in the middle
        const long degrees = std::lround((turn - std::floor(turn)) * 360.0) % 360;
        (void)std::snprintf(text, length, "%ld\u00B0", degrees);
        return;
    }
    const uint32_t row = format == tkColorHSL ? 2 : 0; // the lightness of a grey
    (void)std::snprintf(text, length, "%s", TKFormatSwatchRow(grey, format, row).text);
}

TKCurveReadout TKCurveReadouts(const CurveVars& vars)
{
    TKCurveReadout readout = {};
    if (TKCurveIsReadOnly(vars)) return readout;
    TKPlotPoint place = {};
    if (vars.hovering || vars.dragging) {
        place = {vars.hoverX, vars.hoverY};
    } else if (IsPoint(vars, vars.selectedPoint)) {
        place = {vars.pointX[vars.selectedPoint], vars.pointY[vars.selectedPoint]};
    } else {
        return readout;
    }
    const int32_t format = vars.displayFormat ? *vars.displayFormat : int32_t{tkColorRGB8};
    TKFormatCurveValue(format, place.x, vars.channel == kTKCurveHSLChannel, readout.input, sizeof readout.input);
    TKFormatCurveValue(format, place.y, false, readout.output, sizeof readout.output);
    return readout;
}

void TKCurveText(const CurveVars& vars, char* text, uint32_t length)
{
    if (length == 0) return;
    char full[96];
    const int32_t count = TKCurvePointCount(vars);
    if (TKCurveIsReadOnly(vars)) {
        (void)std::snprintf(full, sizeof full, "Loaded table");
    } else if (IsPoint(vars, vars.selectedPoint)) {
        CurveVars still = vars; // the readouts of the point, wherever the mouse is
        still.hovering = still.dragging = false;
        const TKCurveReadout readout = TKCurveReadouts(still);
        (void)std::snprintf(full, sizeof full, "Point %d of %d, Input %s, Output %s", vars.selectedPoint + 1, count,
                            readout.input, readout.output);
    } else {
        (void)std::snprintf(full, sizeof full, "%d points", count);
    }
    (void)std::snprintf(text, length, "%s", full);
}
