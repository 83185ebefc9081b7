// What the tests of incoming frames share: a block that is attached but not taken yet, and a look at what is shown.
#pragma once

#include "tests/support/TKTestSession.h"

class TKIntakeTest : public TKSessionTest {
  protected:
    void AttachOnly()
    {
        host_.Make();
        ASSERT_EQ(TKAttachHost(session_), tkAttached);
    }

    [[nodiscard]] bool ShowsFrame(const ScopeSurface& surface, uint32_t frame) const
    {
        if (surface.width != host_.width || surface.height != host_.height) return false;
        for (uint32_t row = 0; row < host_.height; ++row)
            for (uint32_t column = 0; column < host_.width; ++column) {
                const uint32_t wanted = 0xFF000000u | ((10 * frame + column) & 0xFF) << 16 | (row & 0xFF) << 8 | 200;
                if (TKPixelAt(surface, column, row) == wanted) continue;
                ADD_FAILURE() << "pixel " << column << ", " << row << " is " << std::hex
                              << TKPixelAt(surface, column, row) << ", not " << wanted;
                return false;
            }
        return true;
    }
};
