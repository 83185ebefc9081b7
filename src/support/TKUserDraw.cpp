// The areas and their table.
#include "src/support/TKUserDraw.h"

#include "src/support/TKControlTable.h"
#include "src/support/TKSession.h"

#include <algorithm>

void TKCreateUserDraw(TKUserDraw* control, TKUserDrawProc drawProc, void* reference, const char* label,
                      const char* objectName)
{
    *control = {.drawProc = drawProc,
                .textProc = nullptr,
                .reference = reference,
                .paintsBackground = false,
                .label = label,
                .objectName = objectName,
                .redraw = nullptr,
                .window = nullptr};
}

BPStatus TKRegisterUserDraw(TKSession* session, TKUserDraw* control)
{
    return TKEnterTable(session->controls.userDraw, &session->controls.userDrawCount, control);
}

void TKForgetUserDraw(TKSession* session, TKUserDraw* control)
{
    TKLeaveTable(session->controls.userDraw, &session->controls.userDrawCount, control);
}

void TKRedrawUserDraws(TKSession* session)
{
    const TKControls& controls = session->controls;
    for (uint32_t i = 0; i < controls.userDrawCount; ++i)
        if (controls.userDraw[i]->redraw) controls.userDraw[i]->redraw(controls.userDraw[i]->window);
}

void TKPaintUserDraw(TKSession* session, const TKUserDraw& control, uint32_t background, ScopeSurface* surface)
{
    if (!surface->pixels) return;
    if (!control.paintsBackground) {
        const uint8_t pixel[4] = {255, static_cast<uint8_t>(background >> 16), static_cast<uint8_t>(background >> 8),
                                  static_cast<uint8_t>(background)};
        for (uint32_t row = 0; row < surface->height; ++row) {
            uint8_t* at = surface->pixels + size_t{row} * surface->rowBytes;
            for (uint32_t column = 0; column < surface->width; ++column, at += 4) std::copy_n(pixel, 4, at);
        }
    }
    if (control.drawProc) control.drawProc(session, &control, surface);
}

void TKUserDrawText(TKSession* session, const TKUserDraw& control, char* text, uint32_t length)
{
    text[0] = 0;
    if (control.textProc) control.textProc(session, &control, text, length);
}
