// Frame buffers: the one container for pictures.
//
// A frame is a small record with a pointer to pixel memory laid out for four pixels at a time. Records may be copied;
// a copy whose baseAddr and height are narrowed is a band of the same picture, and planes stay reachable through the
// unchanged planeBytes.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstddef>

enum FBPixelFormat : int32_t {
    pixFormatARGB8 = 32,             ///< word: A 24-31, R 16-23, G 8-15, B 0-7
    pixFormatARGB16_32K = 200,       ///< u16 A, R, G, B; 0 to 32768
    pixFormatYRGB32_Float = 201,     ///< as pixels: alpha or luma, R, G, B; as a frame: R, G, B, Y
    pixFormatRGBA32_Float = 202,     ///< float R, G, B, A
    pixFormatRGBYPlanar_Float = 203, ///< planes of float R, G, B, Y
    pixFormatRGBY16_32K = 205,       ///< u16 R, G, B, Y; frames only
    pixFormatABGR8 = 206,            ///< word: A, B, G, R; output only
    pixFormatVUYA8 = 207,            ///< word: A, Y, Cb, Cr
    pixFormatVUYA32_Float = 208,     ///< float V, U, Y, A
    pixFormatYUYV10_601 = 209,       ///< pairs of pixels in two words, 10 bits shifted up by 6
    pixFormatYUYV10_709 = 210,
    pixFormatBGRY32_Float = 215, ///< float B, G, R and alpha (input) or 1 (output)
    pixFormatA8 = 216,
    pixFormatA32_Float = 217,
    pixFormatRGB16Planar = 218,   ///< three planes of u16; input only
    pixFormatBGRA8 = 0x42475241,  ///< word: B 24-31, G 16-23, R 8-15, A 0-7; in memory A, R, G, B
    pixFormatARGB64 = 0x62363461, ///< recognised only to be refused
    pixFormatUYVA8R = 0x72343038,
    pixFormatAYUV32_Float_r4fl = 0x7234666c,
    pixFormat422YpCbCr10 = 0x76323130, ///< recognised only to be refused
    pixFormatUYVA8 = 0x76343038,
};

struct FBFrame {
    uint32_t width;    ///< pixels
    uint32_t height;   ///< rows
    uint32_t rowBytes; ///< between the starts of two rows of one plane
    FBPixelFormat pixelFormat;
    uint8_t* baseAddr;     ///< plane 0, row 0; on a 16-byte boundary when the frame owns its memory
    uint32_t planeCount;   ///< 1 interleaved, 4 planar
    uint32_t planeBytes;   ///< between the starts of two planes: rowBytes times the height of the whole frame
    uint32_t tagPrimary;   ///< 3 when width is below 769, otherwise 1
    uint32_t tagReserved;  ///< 1
    uint32_t tagSecondary; ///< 2 when width is below 769, otherwise 1
    uint32_t tagZero;      ///< 0
    void* allocation;      ///< the block to release; null with an allocator
    uint32_t flags;        ///< bit 0: the pixel memory belongs to somebody else
};

inline constexpr uint32_t kFBFlagWrapped = 1;

/// Bytes of a row, and planes, that a new frame of this format gets.
struct FBLayout {
    uint64_t rowBytes;
    uint32_t planeCount;
};
FBLayout FBLayoutOf(uint32_t width, FBPixelFormat format);

/// An allocator of the caller's own; `context` is passed through.
struct FBAllocator {
    void* (*allocate)(void* context, size_t byteCount, uint32_t isPixelMemory);
    void (*release)(void* context, void* block);
    void* context;
};

/// Makes a frame: a record and zeroed pixel memory of its own.
///
/// width, height   in pixels
/// frame           receives the record, owned by the caller until FBDisposeFrameBuffer; null after a failure
/// format          rows and planes follow FBLayoutOf; base address on a 16-byte boundary
///
/// Returns bpNoErr, or bpMemFullErr with nothing left allocated (also for sizes that no memory could hold).
/// Thread: any, the frame is not shared yet.
BPStatus FBCreateRGBFrameBuffer(uint32_t width, uint32_t height, FBFrame** frame, FBPixelFormat format);

/// The general form. With an allocator the record and then the pixels come from it; the record is zeroed, the pixels
/// are taken as they are, without an alignment step, and `allocation` stays null. The one who passes an allocator also
/// releases through it. Without one (null) this is FBCreateRGBFrameBuffer.
BPStatus FBCreateFrameBufferWithAllocator(uint32_t width, uint32_t height, FBFrame** frame, FBPixelFormat format,
                                          const FBAllocator* allocator);

/// Releases the pixels, unless they belong to somebody else, and the record. A null record is an assertion failure.
void FBDisposeFrameBuffer(FBFrame* frame);

/// Called once a pixel: its address in plane 0, the frame, the caller's pointer.
using FBPixelRoutine = void (*)(uint8_t* pixel, const FBFrame* frame, void* user);

/// Calls `routine` for each pixel of a frame in format 32, 201, 203 or BGRA, rows from the top, columns from the left.
/// The address advances by 4 bytes a pixel in all four formats.
void FBIterateFrame(const FBFrame* frame, FBPixelRoutine routine, void* user);

/// Fills rgba with R, G, B, A of one pixel of a frame in format 32, 203 or BGRA; four zeros outside the frame. Other
/// formats leave it untouched.
void FBGetPixelFloat(const FBFrame* frame, int32_t column, int32_t row, float rgba[4]);

/// Maps an 8-bit picture in format 32 or BGRA through three tables of 256 bytes (red, green, blue), in place, in groups
/// of four pixels: up to three pixels of padding past `width` are mapped too, those that `rowBytes` hold. One thread.
void FBApplyLUTBand(uint8_t* baseAddr, uint32_t width, uint32_t height, uint32_t rowBytes, const uint8_t table[768],
                    FBPixelFormat format);

/// The part of a frame that covers `rowCount` rows from `firstRow`.
FBFrame FBBandOf(const FBFrame& frame, uint32_t firstRow, uint32_t rowCount);
