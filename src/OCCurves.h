// Curves and luma range weights: from points to tables of kOCToneEntries floats.
#pragma once

#include "src/OCEngine.h"

inline constexpr uint32_t kOCBasisRows = 32768;

/// Fills kOCBasisRows rows of four floats: entry k of row i is the cubic of matrix row k at t = i / 32,768.
/// Thread: any, own table.
void OCBuildBasisTable(const float matrix[4][4], float (*table)[4]);

/// Fills `table` from a curve, sampled or of points. For each index it holds the first y found at or beyond that x, so
/// loops of the spline do no harm. Records of any content are safe: a point count outside 1 to 16 gives the identity
/// (above 16 with an assertion). Returns bpMemFullErr after reporting it, with the table untouched.
/// Thread: any, own table.
BPStatus OCBuildCurveTable(const HCurve* curve, float* table);

/// Fills the three weight tables. Shadows fall from 1 at black, highlights rise to 1 at white, midtones take the rest.
/// Returns bpMemFullErr after reporting it, with the tables untouched.   Thread: any, own tables.
BPStatus OCBuildLumaRangeTables(const OCLumaRangeBlock* block, float* shadowWeight, float* midtoneWeight,
                                float* highlightWeight);
