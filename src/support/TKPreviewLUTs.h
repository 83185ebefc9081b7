// Preview tables of the three outputs: their menus, what is chosen, what the picture goes through.
//
// The table and the position of each output lie in the preferences, so that they outlive the session. A table never
// touches the correction: it is applied to pixels of 8 bits on their way to the output.
#pragma once

#include "src/OCPreviewLUT.h"
#include "src/support/TKSession.h"

#include <array>

enum TKPreviewOutput : uint32_t { tkPreviewPrimary, tkPreviewSecondary, tkPreviewExternal, tkPreviewOutputCount };

/// The base of the commands of an output: 14500, 14600, 14700. A command is the base plus a position.
uint32_t TKPreviewBase(TKPreviewOutput output);

/// An entry of an output's menu.
struct TKPreviewItem {
    const char* text;
    uint32_t command;
    bool checked; ///< it is the current choice
};
inline constexpr size_t kTKPreviewItems = 6;
std::array<TKPreviewItem, kTKPreviewItems> TKPreviewMenu(const TKPreferences& prefs, TKPreviewOutput output);

/// The position that an output has, and its table of 768 bytes.
uint32_t TKPreviewIndex(const TKPreferences& prefs, TKPreviewOutput output);
const uint8_t* TKPreviewTable(const TKPreferences& prefs, TKPreviewOutput output);

/// True when the table of an output changes pixels.
bool TKPreviewIsOn(const TKPreferences& prefs, TKPreviewOutput output);

/// Chooses the table at a list position: one of our own for 50 to 55 (50 takes the table of 55 unless the preference
/// for traditional gamma is on), a file for 56. What loads is kept with its position, and the displays are drawn again;
/// what does not load changes nothing. Other positions do nothing.   Thread: main.
bool TKSelectPreviewLUT(TKSession* session, TKPreviewOutput output, uint32_t index);

/// The same by a command from 14501 to 14757; other numbers do nothing.
bool TKSelectPreviewCommand(TKSession* session, uint32_t command);

/// Loads the table of position 50 again where the primary or the secondary output has it: after a change of the
/// preference for traditional gamma. True when a table became another.
bool TKReloadPreviewNone(TKPreferences* prefs);

/// Asks for a file of one of the four kinds and reads it; the end of its name decides the reader. What is wrong with it
/// is shown. After an error, or when the dialog was cancelled (bpNotFoundErr), the table is untouched.
BPStatus LoadPreviewLUT(const BPPlatform& platform, OCPreviewTable table);

/// Sends pixels in format 32 or BGRA through the table of an output, in place; nothing happens while it is off.
void TKApplyPreviewLUT(const TKSession* session, TKPreviewOutput output, uint8_t* pixels, uint32_t width,
                       uint32_t height, uint32_t rowBytes, FBPixelFormat format);
