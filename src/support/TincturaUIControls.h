// Data-bound controls: what a drag, a key, a wheel turn or a click does to the grade.
//
// No control holds a copy of a value: `dataBase` + `dataOffset` is the value. A widget translates events into these
// functions and paints the record's label, thumb and text. RecomputeAndRefresh is the only road from a changed value to
// the screen, UpdateAllControls the only one from a settings record to the controls.
//
// Thread of everything here: main.
#pragma once

#include "src/OCSettings.h"
#include "src/ScopeSurface.h"
#include "src/platform/BPStatus.h"

#include <span>
#include <string_view>

struct TKSession;
struct SliderVars;
struct TKSwatch;
struct TKUserDraw;
struct TKWheelImage;

/// What a gesture did.
struct [[nodiscard]] TKEffect {
    bool changed;   ///< the field has another value than before
    bool opensUndo; ///< a new undo step was opened
    bool rerenders; ///< the picture was asked to follow
};

// --- Sections ---------------------------------------------------------------------------------------------------------

/// A group of controls with a switch of its own, and what must be on for it to act.
enum TKSectionID : uint32_t {
    tkSectionHSLMaster,
    tkSectionHSLHighlights,
    tkSectionHSLMidtones,
    tkSectionHSLShadows,
    tkSectionRGBMaster,
    tkSectionRGBHighlights,
    tkSectionRGBMidtones,
    tkSectionRGBShadows,
    tkSectionCMYMaster,
    tkSectionCMYHighlights,
    tkSectionCMYMidtones,
    tkSectionCMYShadows,
    tkSectionYCbCrMaster,
    tkSectionYCbCrHighlights,
    tkSectionYCbCrMidtones,
    tkSectionYCbCrShadows,
    tkSectionLevelsMaster,
    tkSectionLevelsRed,
    tkSectionLevelsGreen,
    tkSectionLevelsBlue,
    tkSectionHueOffsets,
    tkSectionCurveMaster,
    tkSectionCurveRed,
    tkSectionCurveGreen,
    tkSectionCurveBlue,
    tkSectionCurveHue,
    tkSectionCurveSaturation,
    tkSectionCurveLightness,
    tkSectionLumaRange,
    tkSectionSecondaryA,
    tkSectionSecondaryB,
    tkSectionSecondaryC,
    tkSectionSecondaryD,
    tkSectionSecondaryE,
    tkSectionSecondaryF,
    tkSectionLimiter,
    tkSectionCount,
    tkSectionNone = tkSectionCount,
};

struct TKSection {
    TKSectionID id;
    const char* name;
    uint32_t blockOffset;         ///< of the section's values in OCSettings
    uint32_t switchCount;         ///< 1 to 3
    uint32_t switchOffset[3];     ///< words in OCSettings, the innermost first
    uint32_t toolMask, curveMask; ///< of the group, as in OCResetSettings and UpdateAllControls
};

/// Every section, indexed by TKSectionID.
std::span<const TKSection> TKSections();

/// Sets the section's own switch to `on` and, with `propagate`, those of the tabs above it. A switch that is on already
/// keeps its word. Returns whether a word changed; the tabs' checkboxes are then told through the interface.
bool MarkSectionActive(TKSession* session, TKSectionID section, bool on, bool propagate);

// --- Sliders ----------------------------------------------------------------------------------------------------------

enum : uint32_t {
    kTKSliderScaled = 1, ///< a track unit is 1 / 65536
    kTKSliderFloat = 2,  ///< the field is a float, otherwise a signed word
};

/// A row of a pane's table.
struct TKSliderRow {
    const char* label;
    const char* objectName;     ///< last part of the widget's name
    uint32_t offset;            ///< in the block
    double low, high;           ///< of the track
    double entryLow, entryHigh; ///< of a typed value
    double neutral;
    uint32_t flags = kTKSliderScaled | kTKSliderFloat;
};

/// Offset of a float field, proved to be one.
#define TK_FLOAT_FIELD(record, field)                                                                                  \
    ([] {                                                                                                              \
        static_assert(std::is_same_v<decltype(record::field), float>);                                                 \
        return static_cast<uint32_t>(offsetof(record, field));                                                         \
    }())

/// Proves a table: labels, fields inside the block and on a word, entryLow <= low < high <= entryHigh, neutral inside
/// the track, everything inside the 32 bits of track units.
constexpr bool TKSlidersAreSound(std::span<const TKSliderRow> rows, size_t blockBytes)
{
    for (const TKSliderRow& row : rows) {
        const bool named = row.label && row.label[0] && row.objectName && row.objectName[0];
        const bool placed = row.offset % 4 == 0 && row.offset + 4 <= blockBytes;
        const bool ordered = row.entryLow <= row.low && row.low < row.high && row.high <= row.entryHigh &&
                             row.low <= row.neutral && row.neutral <= row.high;
        const bool fits = row.entryLow * 65536.0 >= -2147483648.0 && row.entryHigh * 65536.0 <= 2147483647.0;
        if (!named || !placed || !ordered || !fits) return false;
    }
    return true;
}

/// May replace what follows a change: called after the store with the new value in engineering units.
using TKChangeProc = void (*)(TKSession* session, SliderVars* slider, double value, bool repaint);

struct SliderVars {
    uint8_t* dataBase;   ///< start of the record the slider is bound to
    uint32_t dataOffset; ///< byte offset in that record
    uint32_t flags;
    int32_t trackMin, trackMax; ///< track units
    int32_t typeMin, typeMax;   ///< track units
    float defaultValue;         ///< engineering units
    TKSectionID section;
    bool repaint;            ///< whether a change renders the picture anew
    TKChangeProc changeProc; ///< may be null
    void* reference;         ///< whose slider it is, for the change procedure
    const char* label;
    const char* objectName;
    SliderVars* next; ///< in Tab order
    SliderVars* previous;
    // What the widget shows.
    int32_t position;    ///< of the thumb, in trackMin to trackMax
    char valueText[64];  ///< of the field
    bool editing;        ///< the edit is shown instead of the value
    char editText[64];   ///< what stands in the edit; see TKSetEditText
    char openedText[64]; ///< what stood in it when it was opened
    // Between events.
    int32_t wheelRest; ///< of a turn below one notch, in 1/120
};

/// Fills a slider. `blockOffset` is added to the row's offset; `base` is the settings record, `defaults` a record of
/// defaults of the same kind (null takes the row's neutral value). Position and text follow the field. The slider joins
/// no chain and no table.
void TKCreateSlider(SliderVars* slider, const TKSliderRow& row, void* base, uint32_t blockOffset, const void* defaults,
                    TKSectionID section);

/// Enters a slider into the table that UpdateAllControls walks. It must stay in place until the session ends.
/// bpParamErr for an unbound slider (an assertion failure), bpMemFullErr when the table is full.
BPStatus TKRegisterSlider(TKSession* session, SliderVars* slider);

/// Takes a slider that ends before the session out of everything that knows it. Its open edit is dropped.
void TKForgetSlider(TKSession* session, SliderVars* slider);

/// Tab order: each slider is linked to the one before; closing links the ends.
struct TKTabChain {
    SliderVars* first;
    SliderVars* last;
};
void ResetTabChain(TKTabChain* chain);
void TKChainSlider(TKTabChain* chain, SliderVars* slider);
void TKCloseTabChain(TKTabChain* chain);

/// The field's value in engineering units, as it stands in the record.
double GetSliderValue(const SliderVars& slider);

/// Shows a value: pins the thumb to the track and writes the text. The field is not touched.
void TKShowSliderValue(SliderVars* slider, double value);

/// Sets a slider to a value in engineering units, beyond the track too. With `repaint` the field is written as by a
/// gesture: an open edit is committed, then undo, store, change procedure, section and picture. Without, thumb and text
/// alone follow a record that holds the value already, which is how UpdateAllControls does it.
TKEffect SetSliderValue(TKSession* session, SliderVars* slider, double value, bool repaint);

/// Writes "%1.2f" of a scaled value, otherwise "%d", as in the C locale; always ended.
void FormatSliderValue(const SliderVars& slider, double value, char* text, uint32_t length);

/// Engineering units to track units and back; the first rounds and saturates (a NaN gives 0).
int32_t TKTrackUnits(const SliderVars& slider, double value);
double TKEngineeringUnits(const SliderVars& slider, int32_t position);

/// The thumb on a track of `length` pixels: distance of its centre from the track's start, 0 to length, and back. What
/// lies outside the track counts as its end.
int32_t TKThumbPixel(const SliderVars& slider, int32_t length);

/// Writes the field from a track position: position / 65536 when scaled, otherwise the position. True when the field's
/// value changed.
bool SetFieldFromTrack(const SliderVars& slider, int32_t position);

// Gestures. Each commits an open edit of any slider first. The first change by a slider opens an undo step, further
// changes by the same one overwrite it; a gesture that changes nothing opens none.

/// A drag, a click on the track or a key on it brought the thumb to `position`. The tick makes the last UndoStore when
/// the mouse button is up.
TKEffect TKSliderDrag(TKSession* session, SliderVars* slider, int32_t position);

/// A wheel turn over the slider, 120 a notch; smaller turns add up. Nothing happens while its edit is shown.
TKEffect TKSliderWheel(TKSession* session, SliderVars* slider, int32_t delta);

/// A click on the value. With control held it resets to the default, otherwise it opens the edit.
TKEffect TKSliderValueClick(TKSession* session, SliderVars* slider, uint32_t modifiers);

// Text editing.

/// Commits an open edit, then shows this slider's with its value, all selected.
void OpenEdit(TKSession* session, SliderVars* slider);

/// The widget reports each change of the edit's text; what is too long is cut.
void TKSetEditText(SliderVars* slider, const char* text);

/// Whether the edit lets the character in: digits, minus, point, comma, backspace.
bool TKEditAcceptsCharacter(uint32_t character);

enum TKEditAction : uint32_t {
    tkEditPass,     ///< the key goes on to the edit
    tkEditCommit,   ///< Return
    tkEditNext,     ///< Tab: commit, open the next
    tkEditPrevious, ///< shift and Tab: commit, open the previous
    tkEditCancel,   ///< Escape: close without effect
};

/// What a virtual key does in an open edit.
TKEditAction TKEditKeyAction(uint32_t virtualKey, uint32_t modifiers);

/// Carries the action out.
TKEffect TKEditKey(TKSession* session, SliderVars* slider, uint32_t virtualKey, uint32_t modifiers);

/// Closes the open edit, if there is one. With `apply` its text becomes the value: read as a number in the C locale,
/// clamped to the typing range; the thumb stops at the track's end while the field keeps what was typed. A text that
/// was not touched, or that is no number, changes nothing.
TKEffect CommitOpenEdit(TKSession* session, bool apply);

// --- Checkboxes and popups --------------------------------------------------------------------------------------------

struct TKCheckbox {
    uint8_t* dataBase;
    uint32_t dataOffset; ///< of a word
    uint32_t mask;       ///< of the bits that count: on when one of them is set
    TKSectionID section; ///< tkSectionNone for the switch of a tab
    bool repaint;
    const char* label;
    const char* objectName;
};

/// Fills a checkbox for the word at `dataOffset` of `base`. Without a word it is an assertion failure.
void TKCreateCheckbox(TKCheckbox* checkbox, void* base, uint32_t dataOffset, TKSectionID section, const char* label,
                      const char* objectName);

bool TKCheckboxIsOn(const TKCheckbox& checkbox);

/// The mouse button was released on the checkbox: writes 1 or 0.
TKEffect TKCheckboxClick(TKSession* session, const TKCheckbox* checkbox, bool on);

struct TKPopup;
/// Called before the store; its result is what is stored. What else it writes into the grade belongs to the same undo
/// step, and the controls of those fields are its own to update.
using TKPopupProc = int32_t (*)(TKSession* session, const TKPopup* popup, int32_t oldValue, int32_t newValue,
                                bool repaint);

struct TKPopup {
    uint8_t* dataBase;
    uint32_t dataOffset; ///< of a signed word; values are one-based
    TKSectionID section;
    bool repaint;
    TKPopupProc changeProc; ///< may be null
    const char* label;
    const char* objectName;
    const char* items;     ///< separated by "|"
    int64_t reference = 0; ///< a constant for the procedure
};

/// Fills a popup for the word at `dataOffset` of `base`.
void TKCreatePopup(TKPopup* popup, void* base, uint32_t dataOffset, TKSectionID section, const char* label,
                   const char* objectName, const char* items);

/// The value in the record, one-based; what the list does not have is as it stands.
int32_t TKPopupValue(const TKPopup& popup);

/// How many items a list has, and the bytes of one of them (counted from 0; empty beyond the last).
uint32_t TKItemCount(const char* items);
std::string_view TKItemAt(const char* items, uint32_t index);

/// The user chose item `index`, counted from 0.
TKEffect TKPopupSelect(TKSession* session, const TKPopup* popup, int32_t index);

// --- From the record to the controls, and to the screen ---------------------------------------------------------------

/// Brings the controls of the selected groups to the values of a record. It never writes the record, opens no undo step,
/// calls no change procedure and renders nothing. With `previous`, fields that are equal in both are left alone, unless
/// forced. Both masks all ones also bring the tabs' checkboxes up. Returns the number of sliders that were set.
uint32_t UpdateAllControls(TKSession* session, const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                           const OCSettings* previous, bool force);

/// Whether the masks select a section's group; what belongs to no section goes with all of them.
bool TKGroupIsSelected(TKSectionID section, uint32_t toolMask, uint32_t curveMask);

/// Whether two records hold other bytes at a place.
bool TKFieldsDiffer(const OCSettings* a, const OCSettings* b, size_t offset, size_t byteCount);

/// With caps lock on: marks the update as suspended and lets the panes repaint what they hold. Otherwise clears the mark
/// and updates the parameters, renders and refreshes; while a render is in progress that is put off to a tick.
void RecomputeAndRefresh(TKSession* session, bool force);

/// Updates parameters, renders the result and carries it into the result surface, whatever caps lock says.
void TKRenderResult(TKSession* session);

/// The same with the parameters of the last update: for a new frame under an unchanged grade.
void TKRenderFrame(TKSession* session);

/// Renders at once what controls hold back of their last changes (see TKDeferral.h), so that the live settings are whole:
/// the values, and the switches that make them act. Every step of undo, every command and the end of a session does it
/// first. Nothing happens when nothing is held back.
void TKSettleControls(TKSession* session);

// --- Undo of the session ----------------------------------------------------------------------------------------------

/// Opens an undo step with the live settings, unless `control` made the last one. True when a step was opened.
bool TKGestureUndo(TKSession* session, const void* control);

/// The live settings are the state after the change.
void TKStoreUndo(TKSession* session);

/// Opens a step for a command and forgets the control of the last gesture. True when there is a ring to hold it. The
/// second form is for a change that has been made already: `before` is the grade without it.
bool TKCommandUndo(TKSession* session);
bool TKCommandUndoFrom(TKSession* session, const OCSettings& before);

/// Undo and redo of the whole grade: commit of nothing, controls, picture. False when there is no step.
bool TKUndoStepBack(TKSession* session);
bool TKUndoStepForward(TKSession* session);

// --- Views ------------------------------------------------------------------------------------------------------------

/// A window that shows a value of the record and is no slider: a checkbox, a popup, an eyedropper.
struct TKView {
    void (*show)(void* window); ///< brings it to the record's value
    void* window;
};

/// Enters a view into the table that TKShowViews walks; takes it out. bpMemFullErr when the table is full.
BPStatus TKRegisterView(TKSession* session, TKView* view);
void TKForgetView(TKSession* session, TKView* view);

/// Brings all views to the values of the record. UpdateAllControls and changes of switches do it.
void TKShowViews(TKSession* session);

/// What the controls share; a part of TKSession.
inline constexpr uint32_t kTKSliderLimit = 1024;
inline constexpr uint32_t kTKSwatchLimit = 256;
inline constexpr uint32_t kTKViewLimit = 512;
inline constexpr uint32_t kTKUserDrawLimit = 16;
struct TKControls {
    SliderVars* slider[kTKSliderLimit];
    uint32_t sliderCount;
    TKSwatch* swatch[kTKSwatchLimit];
    uint32_t swatchCount;
    TKView* view[kTKViewLimit];
    uint32_t viewCount;
    TKUserDraw* userDraw[kTKUserDrawLimit];
    uint32_t userDrawCount;
    SliderVars* openSlider;   ///< holds the open edit, or null
    const void* lastTouched;  ///< control of the last undo step, or null
    bool undoPending;         ///< a drag waits for its last UndoStore
    bool updatePending;       ///< an image update came while another was in progress; the tick makes it up
    TKWheelImage* wheelImage; ///< background that hue wheels share, or null; see TKHueWheelImage.h
};
