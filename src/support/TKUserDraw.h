// User-drawn areas: a rectangle of the panel whose pixels a procedure makes.
//
// Thread of everything here: main.
#pragma once

#include "src/ScopeSurface.h"
#include "src/support/TincturaUIControls.h"

struct TKUserDraw;

/// Draws the area. The surface has one pixel a device pixel and lies on the panel's colour, unless the control paints its
/// background itself: then every pixel is the procedure's to set.
using TKUserDrawProc = void (*)(TKSession* session, const TKUserDraw* control, ScopeSurface* surface);

/// Tells in words what is drawn, always ended.
using TKUserDrawTextProc = void (*)(TKSession* session, const TKUserDraw* control, char* text, uint32_t length);

struct TKUserDraw {
    TKUserDrawProc drawProc;     ///< may be null: the area is empty
    TKUserDrawTextProc textProc; ///< for those who do not see it; may be null
    void* reference;             ///< for the procedure
    bool paintsBackground;       ///< the procedure sets every pixel
    const char* label;
    const char* objectName;
    void (*redraw)(void* window); ///< set by its window, may be null
    void* window;
};

/// Fills a control that lies on the panel's colour.
void TKCreateUserDraw(TKUserDraw* control, TKUserDrawProc drawProc, void* reference, const char* label,
                      const char* objectName);

/// Enters a control into the table that TKRedrawUserDraws walks; takes it out. bpMemFullErr when the table is full.
BPStatus TKRegisterUserDraw(TKSession* session, TKUserDraw* control);
void TKForgetUserDraw(TKSession* session, TKUserDraw* control);

/// Asks every window of a user-drawn area to paint anew; each render of the result does it.
void TKRedrawUserDraws(TKSession* session);

/// Makes the pixels of an area: the background 0xRRGGBB, then what the procedure draws. A surface without pixels is left
/// alone.
void TKPaintUserDraw(TKSession* session, const TKUserDraw& control, uint32_t background, ScopeSurface* surface);

/// What the area says of itself in words; empty without a procedure. `length` is at least 1.
void TKUserDrawText(TKSession* session, const TKUserDraw& control, char* text, uint32_t length);
