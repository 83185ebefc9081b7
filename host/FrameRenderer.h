// Pictures through the engine: brought in, graded and carried out in one pass over bands of rows that stay in the cache,
// by several threads.
//
// The bits are those of FBTransferPixToFBFrame, ProcessImage and FBTransferFBFrameToPix over whole frames. No pixel
// depends on another one, so neither bands nor threads nor the order of rows show.
#pragma once

#include "src/OCEngine.h"

#include <cstddef>

/// A picture in somebody's memory. A planar format has further planes planeBytes apart.
struct RenderImage {
    uint8_t* firstRow; ///< of the picture, at the top
    ptrdiff_t step;    ///< bytes from a row to the one below; negative when the picture stands on its head
    size_t planeBytes; ///< 0 for formats without planes
    FBPixelFormat format;
};

/// Formats that can be brought in and carried out.
bool RenderReads(FBPixelFormat format);
bool RenderWrites(FBPixelFormat format);

/// The bytes of one row's pixels, of planar formats in one plane; 0 for a format that is neither.
uint64_t RenderRowBytes(uint32_t width, FBPixelFormat format);

/// The planes that are read of a source, or written of a target.
uint32_t RenderSourcePlanes(FBPixelFormat format);
uint32_t RenderTargetPlanes(FBPixelFormat format);

/// True when the pixels of this format have an alpha that can be kept.
bool RenderHasAlpha(FBPixelFormat format);

/// Threads, tables and a band of memory for each thread.
struct FrameRenderer;

/// Makes a renderer with a neutral grade.
///
/// threads    that work together, the caller's among them; at least 1
/// renderer   to be released with DisposeFrameRenderer; null after a failure
///
/// Returns bpNoErr, or bpMemFullErr when memory or a thread cannot be had.   Thread: any, own renderer.
BPStatus CreateFrameRenderer(uint32_t threads, FrameRenderer** renderer);
void DisposeFrameRenderer(FrameRenderer* renderer); ///< null is allowed

/// Takes a grade for all pictures to come; see OCUpdateParameters.
///
/// Returns bpNoErr, or bpMemFullErr when a table could not be built: what was there stands in for it, until the grade is
/// set again.   Thread: any, own renderer.
BPStatus SetRendererGrade(FrameRenderer* renderer, const OCSettings& grade);

/// Renders a picture of width x height pixels, both at least 1. Only pixels are touched, no padding.
///
/// source, target   may be the same image, but may not overlap otherwise
/// keepAlpha        the target takes the source's alpha; both formats are one, of RenderHasAlpha
///
/// Returns bpNoErr, or bpMemFullErr with the target untouched.   Thread: any, own renderer; returns when all is done.
BPStatus RenderFrame(FrameRenderer* renderer, uint32_t width, uint32_t height, const RenderImage& source,
                     const RenderImage& target, bool keepAlpha);
