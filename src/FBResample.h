// Resampling of pictures: cubic, pixel-square, behind an interface of its own so that another resampler can stand in.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstddef>

/// A rectangle of a picture, in pixels.
struct FBRegion {
    int32_t x, y;
    uint32_t width, height;
};

enum FBResampleMethod : uint32_t { fbResampleCubic = 1 }; ///< Catmull-Rom

/// Everything that a resampler is told. Destination coordinates map to source coordinates by the factors, so that the
/// edges of both regions coincide; sampling stays within the source picture.
struct FBResampleCall {
    const uint8_t* source;
    uint32_t sourceWidth, sourceHeight, sourceRowBytes;
    FBRegion sourceRegion;
    uint8_t* destination;
    uint32_t destinationRowBytes;
    FBRegion destinationRegion;
    double xFactor, yFactor; ///< destination size over source size
    double xShift, yShift;   ///< of the picture, in destination pixels
    FBResampleMethod method;
    uint8_t* scratch;    ///< on a 64-byte boundary; null fails
    size_t scratchBytes; ///< at least FBResampleScratchBytes
};

/// What a picture is made of.
enum FBSampleKind : uint32_t { fbSample8u4, fbSample32f4, fbSample32f1 };

/// Bytes of scratch memory that resampling between these regions needs; 0 for sizes that cannot be resampled.
size_t FBResampleScratchBytes(FBSampleKind kind, const FBRegion& source, const FBRegion& destination,
                              FBResampleMethod method);

/// Resamples. 0, or the number of a failure with the destination in an undefined state.
/// Thread: main (what was prepared for the last call is kept).
int32_t FBResample(FBSampleKind kind, const FBResampleCall& call);

/// Releases what is kept between calls.   Thread: main.
void FBReleaseResampler();
