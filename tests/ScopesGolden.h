// Golden pictures of the displays: small, exact, in tests/data/scopes, written by update-scopes alone.
//
// A file holds the surface's words run by run: "SCOP", width, height, then pairs of a count and a pixel word, all 32-bit
// little-endian. Letters are boxes of known size, so that no font matters.
#pragma once

#include "src/TincturaUIDispProbe.h"

#include <span>
#include <string>
#include <vector>

struct ScopeGoldenSize {
    uint32_t width, height;
};

struct ScopeGoldenCase {
    const char* name; ///< of the file
    int32_t tab;      ///< ScopeTab
    void (*edit)(ScopeContext* context, ScopeSelection* selection);
    ScopeGoldenSize size;  ///< of the pane
    bool hasGhost = false; ///< the source's, behind the result
};

std::span<const ScopeGoldenCase> ScopeGoldenCases();

/// The file of a case as the readable or the fast kernels make it.
std::vector<uint8_t> MakeScopeGolden(const ScopeGoldenCase& which, bool readable);
