// Pixel transfers: between interchange pixels and frames.
//
// Inputs are computed in double with the constants as printed and rounded to single when stored; luma comes from the
// rounded channels in double. Outputs of planar frames are computed in single. A pair that is missing writes one line to
// the log and leaves the destination untouched. No routine holds state; all are re-entrant. Addresses must be aligned
// to the component size of their format.
#pragma once

#include "src/TincturaFrameBuffer.h"

struct FBRect {
    uint16_t top, left, bottom, right; ///< inside the frame; bottom and right are outside
};

/// Brings width x height pixels of the frame's size in. sourcePlaneBytes matters only for planar sources.
/// Thread: any, own rows.
void FBTransferPixToFBFrameSSE(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                               FBPixelFormat sourceFormat, const FBFrame* frame);

/// Carries a frame, or with a rectangle that part of it, out.   Thread: any, own rows.
void FBTransferFBFrameToPixSSE(const FBFrame* frame, const FBRect* rect, void* destination,
                               uint32_t destinationRowBytes, FBPixelFormat destinationFormat);

/// The byte count of one row of `width` pixels as it lies in interchange memory, without padding; 0 for a format that
/// no host can hand in.
uint64_t FBPixelRowBytes(uint32_t width, FBPixelFormat format);
