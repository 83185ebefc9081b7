// The user's preferences: one flat record, filled from a keyed store at the start and written back at the end.
//
// TKPreferenceRows, one row a value in the order of the record, drives the defaults, the reading and the writing. A value
// that is missing when the record is read is written back with its default, so that a first run fills the store.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPPlatform.h"

#include <span>

inline constexpr char kTKPreferencesStore[] = "Settings";
inline constexpr uint32_t kTKSlotCount = 8;
inline constexpr uint32_t kTKDeviceNone = 0x4E6F4E45;       ///< 'NoNE'
inline constexpr uint32_t kTKDeviceBeaconline = 0x42634C4E; ///< 'BcLN'

struct TKSavedSlot {
    uint32_t used;
    OCSettings settings;
};

/// A field for each value of the store, in its order, then what is derived from them. Numbers are signed where -1 has a
/// meaning.
struct TKPreferences {
    uint32_t preferencesVersion; ///< always 1; written, never compared
    uint32_t toolTipsEnable;
    uint32_t undoDepth; ///< 0, 1, 5, 10, 20, 50 or 99
    uint32_t beaconlineEnable;
    uint32_t multiprocessorEnable;
    uint32_t uiTimeoutEnable;
    uint32_t uiTimeoutDuration; ///< minutes
    uint32_t limiterDefault;
    uint32_t leftPaneDefault, rightPaneDefault, settingsPaneDefault; ///< one-based tab numbers
    uint32_t uiBrightness, uiSaturation;                             ///< 16.16 factors
    uint32_t secondaryPreviewMonitor; ///< counted among the non-primary monitors from 1; 0 none
    uint32_t externalPreviewDevice, externalPreviewMode, externalPreviewCodec;
    uint32_t externalPreviewWidth, externalPreviewHeight;
    float externalPreviewFrameRate; ///< frames a second; stored truncated
    uint32_t externalPreviewPixelFormat;
    uint32_t wfmColor, wfmUnitsMV, vsCalibration100;
    uint32_t videoSystem; ///< 1 NTSC, 2 PAL, 3 709, 4 240M; stored as text
    int32_t videoBlackLevel, videoWhiteLevel, videoMinLevel, videoMaxLevel;
    uint32_t videoBlackSetupPresent;
    uint32_t galleryColWidth[6], galleryColID[6];
    uint32_t gallerySortCol, gallerySortOrder;
    uint32_t comboUpperLeft, comboUpperRight, comboLowerLeft, comboLowerRight;
    uint32_t useOldStyleGamma;
    float autoLumaTrim; ///< stored as text
    uint8_t primaryLUT[768], secondaryLUT[768], externalLUT[768];
    uint32_t primaryLUTIndex, secondaryLUTIndex, externalLUTIndex;
    uint32_t controlSurfaceMode, controlSurfaceInterface;
    char controlSurfaceIP[128];
    uint32_t controlSurfacePort;
    char rapidPreviewCachePath[260];
    uint32_t previewImageScaling, previewAspectRatioConversion;
    int32_t clipInfoWindowV, clipInfoWindowH, markerEditWindowV, markerEditWindowH;
    int32_t userPresetNameWindowV, userPresetNameWindowH; ///< -1 is centred on the parent
    char adjustHostPixels[128];                           ///< hosts whose pixels need adjusting, as a text
    int32_t preferencesWindowSelectedTab, preferencesWindowH, preferencesWindowV;
    int32_t controlSurfaceWindowH, controlSurfaceWindowV;
    TKSavedSlot savedSettings[kTKSlotCount];

    // Derived, and the dialog's own.
    uint32_t undoPopupIndex;  ///< one-based position of undoDepth in "No Undo|1|5|10|20|50|99"
    uint32_t videoRangeIndex; ///< one-based row of "0-255|16-235|0-1023|64-940"
    uint32_t dialogDevice, dialogMode;
};

enum TKPreferenceKind : uint8_t {
    tkPrefNumber,      ///< 32 bits
    tkPrefWholeFloat,  ///< a float, stored as a whole number
    tkPrefVersion,     ///< written as 1 when missing; what is stored is not kept
    tkPrefVideoSystem, ///< a code 1 to 4, stored as "NTSC", "PAL", "709", "240M"
    tkPrefText,
    tkPrefFloatText, ///< a float as "%f"; 0 when missing, and not written back
    tkPrefTable,     ///< 768 bytes; not written back when missing
    tkPrefSlot,      ///< a saved slot; written only when used
};

/// Where the default comes from when it is not the row's own number or text.
enum TKPreferenceDefault : uint8_t { tkDefaultOwn, tkDefaultMonitor, tkDefaultTempFolder, tkDefaultTable };

struct TKPreferenceRow {
    const char* name; ///< in the store
    TKPreferenceKind kind;
    uint32_t offset;   ///< in TKPreferences
    uint32_t capacity; ///< bytes of the field
    uint32_t number;   ///< default, or its bit pattern
    const char* text;  ///< default of texts
    TKPreferenceDefault source;
};

/// Every value of the store in the order of the record.
std::span<const TKPreferenceRow> TKPreferenceRows();

/// Fills the record with the defaults. The platform is asked for the screens.   Thread: main.
void PrefsSetDefaults(TKPreferences* record, const BPPlatform& platform);

/// Sets the defaults, then reads every value that the store has and writes back those that are missing. A store that
/// cannot be opened leaves the defaults; one that fails while it is read leaves them to the values not yet read; one
/// that only can be read is read. The log tells each. Returns the first error of opening and reading; a missing value is
/// none, nor is a store that nobody has made yet. After an error the record is not what the user has stored, and
/// writing it would destroy that.   Thread: main.
BPStatus PrefsRead(TKPreferences* record, const BPPlatform& platform);

/// Writes every value, all or none: after an error, which the log tells too, the store holds what it held.
/// Thread: main.
BPStatus PrefsWrite(const TKPreferences& record, const BPPlatform& platform);

/// Copies the video levels and the video system into the settings. True when at least one differed.
bool PrefsApplyVideoLevels(const TKPreferences& record, OCSettings* settings);

/// What OCResetSettings takes from the preferences.
OCResetDefaults PrefsResetDefaults(const TKPreferences& record);

/// Derives undoPopupIndex; a depth that is not offered becomes 20.
void PrefsDeriveUndoDepth(TKPreferences* record);

/// Derives videoRangeIndex from the levels; a minimum other than 0 leaves it.
void PrefsDeriveVideoRange(TKPreferences* record);
