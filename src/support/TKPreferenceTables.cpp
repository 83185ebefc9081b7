// Every value of the preferences store, in the order of the record.
#include "src/support/TKPreferences.h"

#include <cstddef>

namespace {

#define TK_FIELD(field) offsetof(TKPreferences, field), sizeof(TKPreferences::field)
#define TK_NUMBER(name, field, value)                                                                                  \
    {                                                                                                                  \
        name, tkPrefNumber, TK_FIELD(field), value, nullptr, tkDefaultOwn                                              \
    }
#define TK_TEXT(name, field, value)                                                                                    \
    {                                                                                                                  \
        name, tkPrefText, TK_FIELD(field), 0, value, tkDefaultOwn                                                      \
    }
#define TK_TABLE(name, field)                                                                                          \
    {                                                                                                                  \
        name, tkPrefTable, TK_FIELD(field), 0, nullptr, tkDefaultTable                                                 \
    }
#define TK_SLOT(name, index)                                                                                           \
    {                                                                                                                  \
        name, tkPrefSlot, TK_FIELD(savedSettings[index]), 0, nullptr, tkDefaultOwn                                     \
    }

constexpr uint32_t kNowhere = 0xFFFFFFFFu; // -1: a window without a remembered place

constexpr TKPreferenceRow kRows[] = {
    {"Preferences Version", tkPrefVersion, TK_FIELD(preferencesVersion), 1, nullptr, tkDefaultOwn},
    TK_NUMBER("Tool Tips Enable", toolTipsEnable, 1),
    TK_NUMBER("Undo Depth", undoDepth, 20),
    TK_NUMBER("Beaconline Enable", beaconlineEnable, 1),
    TK_NUMBER("Multiprocessor Enable", multiprocessorEnable, 1),
    TK_NUMBER("UI Timeout Enable", uiTimeoutEnable, 1),
    TK_NUMBER("UI Timeout Duration", uiTimeoutDuration, 10),
    TK_NUMBER("Limiter Default", limiterDefault, 0),
    TK_NUMBER("Left Pane Default", leftPaneDefault, 1),
    TK_NUMBER("Right Pane Default", rightPaneDefault, 1),
    TK_NUMBER("Settings Pane Default", settingsPaneDefault, 1),
    TK_NUMBER("UI Brightness", uiBrightness, 22282),
    TK_NUMBER("UI Saturation", uiSaturation, 26214),
    {"Secondary Preview Monitor", tkPrefNumber, TK_FIELD(secondaryPreviewMonitor), 0, nullptr, tkDefaultMonitor},
    TK_NUMBER("External Preview Device", externalPreviewDevice, kTKDeviceNone),
    TK_NUMBER("External Preview Mode", externalPreviewMode, kTKDeviceNone),
    TK_NUMBER("External Preview Codec", externalPreviewCodec, 0),
    TK_NUMBER("External Preview Width", externalPreviewWidth, 0),
    TK_NUMBER("External Preview Height", externalPreviewHeight, 0),
    {"External Preview Frame Rate", tkPrefWholeFloat, TK_FIELD(externalPreviewFrameRate), 0, nullptr, tkDefaultOwn},
    TK_NUMBER("External Preview Pixel Format", externalPreviewPixelFormat, 0),
    TK_NUMBER("WFM Color", wfmColor, 0),
    TK_NUMBER("WFM Units mV", wfmUnitsMV, 0),
    TK_NUMBER("VS Calibration 100 Percent", vsCalibration100, 0),
    {"Video System", tkPrefVideoSystem, TK_FIELD(videoSystem), 1, nullptr, tkDefaultOwn},
    TK_NUMBER("Video Black Level", videoBlackLevel, 0),
    TK_NUMBER("Video White Level", videoWhiteLevel, 255),
    TK_NUMBER("Video Min Level", videoMinLevel, 0),
    TK_NUMBER("Video Max Level", videoMaxLevel, 255),
    TK_NUMBER("Video Black Setup Present", videoBlackSetupPresent, 0),
    TK_NUMBER("Gallery Col Width 0", galleryColWidth[0], 140),
    TK_NUMBER("Gallery Col Width 1", galleryColWidth[1], 85),
    TK_NUMBER("Gallery Col Width 2", galleryColWidth[2], 110),
    TK_NUMBER("Gallery Col Width 3", galleryColWidth[3], 132),
    TK_NUMBER("Gallery Col Width 4", galleryColWidth[4], 170),
    TK_NUMBER("Gallery Col Width 5", galleryColWidth[5], 0),
    TK_NUMBER("Gallery Col ID 0", galleryColID[0], 0),
    TK_NUMBER("Gallery Col ID 1", galleryColID[1], 1),
    TK_NUMBER("Gallery Col ID 2", galleryColID[2], 2),
    TK_NUMBER("Gallery Col ID 3", galleryColID[3], 3),
    TK_NUMBER("Gallery Col ID 4", galleryColID[4], 4),
    TK_NUMBER("Gallery Col ID 5", galleryColID[5], 5),
    TK_NUMBER("Gallery Sort Col", gallerySortCol, 0),
    TK_NUMBER("Gallery Sort Order", gallerySortOrder, 1),
    TK_NUMBER("Combo Upper Left", comboUpperLeft, 1),
    TK_NUMBER("Combo Upper Right", comboUpperRight, 8),
    TK_NUMBER("Combo Lower Left", comboLowerLeft, 10),
    TK_NUMBER("Combo Lower Right", comboLowerRight, 9),
    TK_NUMBER("Use Old Style Gamma", useOldStyleGamma, 0),
    {"Auto Luma Trim", tkPrefFloatText, TK_FIELD(autoLumaTrim), 0, "0.001", tkDefaultOwn},
    TK_TABLE("Primary LUT", primaryLUT),
    TK_TABLE("Secondary LUT", secondaryLUT),
    TK_TABLE("External LUT", externalLUT),
    TK_NUMBER("Primary LUT Index", primaryLUTIndex, 50),
    TK_NUMBER("Secondary LUT Index", secondaryLUTIndex, 50),
    TK_NUMBER("External LUT Index", externalLUTIndex, 50),
    TK_NUMBER("Control Surface Mode", controlSurfaceMode, 1),
    TK_NUMBER("Control Surface Interface", controlSurfaceInterface, 2),
    TK_TEXT("Control Surface IP", controlSurfaceIP, "192.168.1.100"),
    TK_NUMBER("Control Surface Port", controlSurfacePort, 23),
    {"Rapid Preview Cache Path", tkPrefText, TK_FIELD(rapidPreviewCachePath), 0, "", tkDefaultTempFolder},
    TK_NUMBER("Preview Image Scaling", previewImageScaling, 3),
    TK_NUMBER("Preview Aspect Ratio Conversion", previewAspectRatioConversion, 1),
    TK_NUMBER("Clip Info Window V Pos", clipInfoWindowV, kNowhere),
    TK_NUMBER("Clip Info Window H Pos", clipInfoWindowH, kNowhere),
    TK_NUMBER("Marker Edit Window V Pos", markerEditWindowV, kNowhere),
    TK_NUMBER("Marker Edit Window H Pos", markerEditWindowH, kNowhere),
    TK_NUMBER("User Preset Name Window V Pos", userPresetNameWindowV, kNowhere),
    TK_NUMBER("User Preset Name Window H Pos", userPresetNameWindowH, kNowhere),
    TK_TEXT("Adjust Host Pixels", adjustHostPixels, "FXTC"),
    TK_NUMBER("Preferences Window Selected Tab", preferencesWindowSelectedTab, kNowhere),
    TK_NUMBER("Preferences Window H Pos", preferencesWindowH, kNowhere),
    TK_NUMBER("Preferences Window V Pos", preferencesWindowV, kNowhere),
    TK_NUMBER("Control Surface Definition Window H Pos", controlSurfaceWindowH, kNowhere),
    TK_NUMBER("Control Surface Definition Window V Pos", controlSurfaceWindowV, kNowhere),
    TK_SLOT("Saved Settings 1", 0),
    TK_SLOT("Saved Settings 2", 1),
    TK_SLOT("Saved Settings 3", 2),
    TK_SLOT("Saved Settings 4", 3),
    TK_SLOT("Saved Settings 5", 4),
    TK_SLOT("Saved Settings 6", 5),
    TK_SLOT("Saved Settings 7", 6),
    TK_SLOT("Saved Settings 8", 7),
};

/// The rows fill the record from its start without a gap, up to what is derived.
constexpr bool CoversTheRecord()
{
    uint32_t next = 0;
    for (const TKPreferenceRow& row : kRows) {
        if (row.offset != next) return false;
        if (row.kind != tkPrefText && row.kind != tkPrefTable && row.kind != tkPrefSlot && row.capacity != 4)
            return false;
        next = row.offset + row.capacity;
    }
    return next == offsetof(TKPreferences, undoPopupIndex);
}
static_assert(CoversTheRecord());

} // namespace

std::span<const TKPreferenceRow> TKPreferenceRows()
{
    return kRows;
}
