// Eyedroppers: a button that fetches a colour from a picture, or from the colour dialog, into the grade.
//
// A click puts the image panes into pick mode: TKSession::pick then has a triple to fill. Whoever shows a picture gives
// it the colour under the pointer with each move (TKPickSample), and ends the pick at the release of the button
// (TKPickEnd). Nothing of the grade changes before that, so a pick can be given up at any time (TKPickCancel).
//
// Thread of everything here: main.
#pragma once

#include "src/support/TincturaUIControls.h"

struct TKEyedropper;

/// No field: what an eyedropper does not have.
inline constexpr uint32_t kTKNoOffset = 0xFFFFFFFF;

/// Called after a pick, before the colour is stored: the record still holds the old one. Without `opensUndo` it opens
/// the undo step itself, if it writes anything into the grade.
using TKEyedropperProc = void (*)(TKSession* session, TKEyedropper* eyedropper, const float rgb[3]);

enum : uint32_t {
    kTKCursorPick = 500,
    kTKCursorBlackPoint = 501, ///< the next two: gray, white
    kTKCursorPickShift = 513,
    kTKCursorPickControl = 514,
    kTKCursorPickBoth = 515,
};

struct TKEyedropper {
    uint8_t* dataBase;          ///< start of the record that it fills
    uint32_t dataOffset;        ///< of the float triple red, green, blue
    uint32_t linkedOffset;      ///< of a second triple that takes the colour too, or kTKNoOffset
    uint32_t switchOffset;      ///< of a word that a pick turns on when it is 0, or kTKNoOffset
    uint32_t cursor;            ///< resource of the cursor over pictures; 0 means 500
    bool opensUndo;             ///< a pick is an undo step of its own
    bool offersDialog;          ///< a click with control held opens the colour dialog
    bool repaint;               ///< whether a pick renders the picture anew
    TKEyedropperProc pickProc;  ///< may be null
    void* reference;            ///< for the procedure
    struct TKControlNode* node; ///< by which it finds the swatch of its composite; null for one that stands alone
    TKSectionID section;
    const char* label; ///< says what the colour is for; the title of the dialog
    const char* objectName;
};

/// Where a pick goes; a part of TKSession. Nothing is picked while `triple` is null.
struct TKPickTarget {
    float* triple;            ///< receives the samples; swatches bound to the same field show it meanwhile
    TKEyedropper* eyedropper; ///< that started the pick
    uint32_t cursor;          ///< resource over pictures; see TKPickCursor
    float sample[3];          ///< what `triple` points to
    bool sampled;             ///< a pane has given a colour
};

/// Fills an eyedropper for the triple at `dataOffset` of `base`: no link, no switch, cursor 500, an undo step for each
/// pick, with the dialog, with repaint.
void TKCreateEyedropper(TKEyedropper* eyedropper, void* base, uint32_t dataOffset, TKSectionID section,
                        const char* label, const char* objectName);

/// The button of the eyedropper was released on it. An open edit is committed. With control held, and `offersDialog`,
/// the colour dialog opens on the present colour in 8 bits a component: OK stores its answer divided by 255, Cancel
/// leaves the record as it was. Otherwise the panes are put into pick mode; a click on the eyedropper that is picking
/// already gives the pick up.
TKEffect TKEyedropperClick(TKSession* session, TKEyedropper* eyedropper, uint32_t modifiers);

/// Whether a pick is under way, and whether by this eyedropper.
bool TKIsPicking(const TKSession* session);
bool TKIsPickingFor(const TKSession* session, const TKEyedropper* eyedropper);

/// The resource of the cursor over a picture: the target's; the plain 500 turns into 513 with shift, 514 with control,
/// 515 with both. 0 while nothing is picked.
uint32_t TKPickCursor(const TKSession* session, uint32_t modifiers);

/// The colour under the pointer; outside the picture 0, 0, 0. Called with each move over a picture, before the press
/// too, with the press, each move of the drag and the release; swatches show it, the record keeps its colour. A
/// component that is no finite number counts as 0. Nothing happens while nothing is picked.
void TKPickSample(TKSession* session, const float rgb[3]);

/// The mouse button was released: the procedure is called with the last sample, which is then stored at the bound field
/// and the linked one; swatches are redrawn, the section is marked, the newest undo state is overwritten and the
/// picture rendered. Pick mode ends. Without any sample it is given up.
TKEffect TKPickEnd(TKSession* session);

/// Gives the pick up; nothing changes but what swatches show.
void TKPickCancel(TKSession* session);

/// Offers a key of the window, wherever the focus is: Escape gives a pick up, unless an open edit has a use for it.
/// True when the key was consumed.
bool TKPickKey(TKSession* session, uint32_t virtualKey);

/// An eyedropper ends before the session does: a pick of its own is given up.
void TKForgetEyedropper(TKSession* session, const TKEyedropper* eyedropper);
