// The shared block of a host and the application, byte for byte, and the meaning of its `status`.
//
// The block belongs to the host; the application maps it while it is attached. Whatever stands in it is the word of
// another process and may change at any moment: code reads a field once, into a local, and checks that.
#pragma once

#include "src/OCSettings.h"
#include "src/OCTransfer.h"

inline constexpr char kTKCommBlockName[] = "Ochrine3CommBlock";
inline constexpr char kTKUIBlockName[] = "Ochrine2UIBlock";
inline constexpr uint32_t kTKUISignature = 0x4F436333; ///< 'OCc3'
inline constexpr uint32_t kTKUIVersion = 7;
inline constexpr uint32_t kTKUIVersionSwapped = 0x07000000;
inline constexpr uint32_t kTKUIClipLimit = 200;
inline constexpr uint32_t kTKUICommBytes = 86628; ///< the least size of a mapping

/// Bits of `pixelFlags`; the second wins over the first.
enum : uint32_t {
    kTKUIFlagPixelsInline = 1,  ///< the whole frame lies at `pixels`
    kTKUIFlagPixelsChunked = 2, ///< the frame comes in pieces through `pixels`
};

/// Values of `status`. Values that are not listed have no meaning for the application.
enum : uint32_t {
    kTKUIStatusDataReady = 1,      ///< host: a new frame and settings are in the block
    kTKUIStatusUIFailed = 2,       ///< application: it could not take the data and detaches
    kTKUIStatusUIRunning = 3,      ///< application: attached and idle
    kTKUIStatusUIDone = 4,         ///< application: OK, Cancel or the end of the process
    kTKUIStatusChunkConsumed = 5,  ///< application: the chunk at `pixels` has been taken
    kTKUIStatusChunkReady = 6,     ///< host: the next chunk lies at `pixels`
    kTKUIStatusRequestFrame = 9,   ///< application: send the frame at `frameTime`
    kTKUIStatusRequestFailed = 11, ///< host: the request cannot be served
};

struct TKClipRecord {
    char path[260];    ///< ends in a zero byte; an empty path is skipped
    uint32_t reserved; ///< swapped, not read
};

struct TKUIComm {
    uint32_t version;
    uint32_t signature;
    uint32_t pixelFlags;
    uint32_t status; ///< stored with release and read with acquire order; each side stores it last
    uint32_t reserved16;
    uint32_t reserved20; ///< not swapped
    uint32_t reserved24;
    uint8_t timeDisplayFormat; ///< 1 timecode, 2 frames, 3 feet and frames; 0 no format given
    uint8_t framesPerFoot;
    uint8_t dropFrameMode; ///< 0 drop-frame, 1 non-drop
    uint8_t reserved31;
    uint16_t frameRate100;  ///< frames a second times 100
    uint16_t startFrame;    ///< added to the frame number before it is shown
    uint32_t reserved36[3]; ///< not swapped
    TKClipRecord clipList[kTKUIClipLimit];
    int32_t clipCount;
    uint32_t reserved52852;
    uint32_t reserved52856; ///< not swapped
    uint32_t frameWidth;    ///< pixels
    uint32_t frameHeight;   ///< rows
    uint32_t frameRowBytes;
    int32_t frameTime;    ///< the host's time units; written by the application
    int32_t frameStep;    ///< duration of one frame
    int32_t frameTimeMax; ///< last valid frameTime
    uint32_t reserved52884;
    uint32_t framePixelFormat; ///< an FBPixelFormat
    uint32_t reserved52892;    ///< not swapped
    uint32_t chunkBytes;       ///< size of the chunk now at `pixels`, whole rows
    int32_t bytesRemaining;    ///< bytes of the frame still to come
    uint32_t reserved52904;
    uint32_t reserved52908; ///< not swapped
    float pixelAspect;      ///< not swapped
    uint32_t hostProcessHigh;
    uint32_t hostProcessID;
    uint32_t reserved52924;
    uint32_t hostApp;          ///< four characters as they lie in memory
    uint32_t reserved52932[3]; ///< not swapped
    char commWindowName[64];   ///< written by the application
    OCPixelAdjust hostPixelAdjust;
    uint32_t reserved53040;
    OCSettings settings;
    uint32_t reserved86600[6];
    uint8_t pixels[4]; ///< the first bytes of the pixels, or a pointer word
};

#define TK_AT(field, position) static_assert(offsetof(TKUIComm, field) == (position))
static_assert(std::is_trivially_copyable_v<TKUIComm> && std::is_standard_layout_v<TKUIComm>);
static_assert(sizeof(TKUIComm) == kTKUICommBytes && alignof(TKUIComm) == 4);
static_assert(sizeof(TKClipRecord) == 264 && sizeof(OCPixelAdjust) == 32);
TK_AT(version, 0);
TK_AT(signature, 4);
TK_AT(pixelFlags, 8);
TK_AT(status, 12);
TK_AT(reserved16, 16);
TK_AT(reserved20, 20);
TK_AT(reserved24, 24);
TK_AT(timeDisplayFormat, 28);
TK_AT(framesPerFoot, 29);
TK_AT(dropFrameMode, 30);
TK_AT(reserved31, 31);
TK_AT(frameRate100, 32);
TK_AT(startFrame, 34);
TK_AT(reserved36, 36);
TK_AT(clipList, 48);
TK_AT(clipCount, 52848);
TK_AT(reserved52852, 52852);
TK_AT(reserved52856, 52856);
TK_AT(frameWidth, 52860);
TK_AT(frameHeight, 52864);
TK_AT(frameRowBytes, 52868);
TK_AT(frameTime, 52872);
TK_AT(frameStep, 52876);
TK_AT(frameTimeMax, 52880);
TK_AT(reserved52884, 52884);
TK_AT(framePixelFormat, 52888);
TK_AT(reserved52892, 52892);
TK_AT(chunkBytes, 52896);
TK_AT(bytesRemaining, 52900);
TK_AT(reserved52904, 52904);
TK_AT(reserved52908, 52908);
TK_AT(pixelAspect, 52912);
TK_AT(hostProcessHigh, 52916);
TK_AT(hostProcessID, 52920);
TK_AT(reserved52924, 52924);
TK_AT(hostApp, 52928);
TK_AT(reserved52932, 52932);
TK_AT(commWindowName, 52944);
TK_AT(hostPixelAdjust, 53008);
TK_AT(reserved53040, 53040);
TK_AT(settings, 53044);
TK_AT(reserved86600, 86600);
TK_AT(pixels, 86624);
#undef TK_AT

/// A field of the block, read exactly once.
template <class Value> Value TKReadOnce(const Value& field)
{
    return *static_cast<const volatile Value*>(&field);
}

/// With it a running application announces itself: a second object, made by the application.
struct UIBlock {
    uint32_t mappingHandle; ///< low word of the handle of the mapping itself
    uint32_t processID;     ///< of the application
};
static_assert(sizeof(UIBlock) == 8);
