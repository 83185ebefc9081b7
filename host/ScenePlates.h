// The layers of the sample scene, back to front. Each is painted once.
#pragma once

#include "host/SceneMath.h"

/// Layers of half the frame's resolution reach this far beyond each edge of the frame, as a fraction of its height.
inline constexpr float kSceneMargin = 0.06f;

/// Where things stand, as fractions of width and height.
inline constexpr float kWindowX = 0.815f, kWindowY = 0.36f;
inline constexpr float kFigureX = 0.395f, kFigureY = 0.385f; ///< middle of the head
inline constexpr float kFigureUnit = 0.143f;                 ///< height of the frame a unit of the figure takes

/// Sky with clouds; opaque. Wider than the others by the way that clouds go.
void PaintSky(ScenePlate* plate, int width, int height, int threads);

/// Hills, trees and hedge, out of focus.
void PaintTrees(ScenePlate* plate, int width, int height, int threads);

/// House wall with a window in the sun, and the light that spreads from it.
void PaintHouse(ScenePlate* plate, int width, int height, int threads);

/// The woman, in focus, at full resolution: head and shoulders in a box of 6.4 x 6.4 units whose middle is 1.9 units
/// below that of the head.
void PaintFigure(ScenePlate* plate, int side, int threads);
inline constexpr float kFigureBox = 6.4f, kFigureDrop = 1.9f;

/// A shrub in the lower left corner, at full resolution.
void PaintShrub(ScenePlate* plate, int width, int height);
