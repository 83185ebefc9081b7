// Transfer tables: the host's pixel adjustment, applied when a frame is taken in.
#pragma once

#include "src/OCEngine.h"

/// The transfer record of the host block.
struct OCPixelAdjust {
    uint32_t adjustMode;  ///< bit 31 switches it on; the bits below say how, see OCAdjustMode
    uint32_t adjustBlack; ///< code of black out of 255
    uint32_t adjustWhite; ///< code of white out of 255
    float adjustGamma;
    uint32_t reserved[4];
};
static_assert(sizeof(OCPixelAdjust) == 32);

enum OCAdjustMode : uint32_t {
    ocAdjustScale = 1,      ///< straight between the two codes
    ocAdjustScaleGamma = 2, ///< the same, raised to 1 / gamma
    ocAdjustVideoA = 4,     ///< from video gamma to light
    ocAdjustVideoB = 8,     ///< likewise
    ocAdjustCineon = 16,    ///< from Cineon log, black and white as 10-bit codes
    ocAdjustFilmLog = 32,   ///< from a logarithmic film camera
    ocAdjustOn = 0x80000000,
};

/// The table of the adjustment that was prepared last, and that adjustment.
struct OCImageTransfer {
    OCPixelAdjust adjust;
    float* table; ///< kOCTransferEntries floats for inputs 0 to 5, or null
};

/// Makes ready what `adjust` asks for: rebuilds the table when the record differs from the last one. Returns bpNoErr and
/// *isIdentity true when nothing needs to be done to pixels, or bpMemFullErr.   Thread: main.
BPStatus OCPrepareImageTransfer(OCImageTransfer* transfer, const OCPixelAdjust& adjust, bool* isIdentity);

/// Prepares, then sends R, G and B of every pixel of a frame in format 203 through the table and computes luma anew.
/// Inputs are read at a clamped index. Without memory the frame stays as it is.   Thread: main.
BPStatus OCApplyPixelAdjust(OCImageTransfer* transfer, const OCPixelAdjust& adjust, const FBFrame* frame);

/// Frees the table.
void OCDisposeImageTransfer(OCImageTransfer* transfer);

/// Gain and offset of the Cineon curve for these reference codes.
struct OCCineonScale {
    float gain, offset;
};
OCCineonScale OCCineonScaleOf(float refBlack, float refWhite);

/// Light of a 10-bit Cineon code between the reference codes.
float OCCineonToLight(float code, float refBlack, float refWhite, OCCineonScale scale);

/// The same for codes that rise, in place and bit for bit.   Thread: any.
void OCCineonToLightArray(float* codes, size_t count, float refBlack, float refWhite, OCCineonScale scale);
