// Pixel transfers: between interchange pixels and frames.
//
// Inputs are computed in double with the constants as printed and rounded to single when stored; luma comes from the
// rounded channels in double. Outputs of planar frames are computed in single. A pair that is missing writes one line to
// the log and leaves the destination untouched. Row padding may be written; what lies beyond the row bytes never is, and
// pixels that find no room there are left out. No routine holds state; all are re-entrant. Addresses must be aligned
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

/// The same as FBTransferPixToFBFrameSSE, with colour multiplied by alpha on the way in.
void FBTransferPixToFBFramePremultipliedSSE(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                            const FBFrame* frame);

/// Copies the alpha of each pixel of one interchange buffer into another; colour stays.   Thread: any, own rows.
void FBTransferPixAlphaToPixAlphaWork(const void* source, uint32_t sourceRowBytes, void* destination,
                                      uint32_t destinationRowBytes, uint32_t width, uint32_t height,
                                      FBPixelFormat format);

// The readable transfers: the truth that the others equal bit for bit.
void FBTransferPixToFBFrameScalar(const void* source, uint32_t sourceRowBytes, uint32_t sourcePlaneBytes,
                                  FBPixelFormat sourceFormat, const FBFrame* frame);
void FBTransferPixToFBFramePremultipliedScalar(const void* source, uint32_t sourceRowBytes, FBPixelFormat sourceFormat,
                                               const FBFrame* frame);
void FBTransferFBFrameToPixScalar(const FBFrame* frame, const FBRect* rect, void* destination,
                                  uint32_t destinationRowBytes, FBPixelFormat destinationFormat);

/// The byte count of one row of `width` pixels as it lies in interchange memory, without padding; 0 for a format that
/// no host can hand in. Of planar formats, one plane.
uint64_t FBPixelRowBytes(uint32_t width, FBPixelFormat format);
