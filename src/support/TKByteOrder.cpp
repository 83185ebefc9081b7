// The block of a host of the other byte order.
#include "src/support/TincturaCallback.h"

#include <cstring>

namespace {

uint32_t Reversed(uint32_t word)
{
    return __builtin_bswap32(word);
}

void SwapWords(uint8_t* bytes, uint64_t wordCount)
{
    for (uint64_t i = 0; i < wordCount; ++i, bytes += 4) {
        uint32_t word;
        std::memcpy(&word, bytes, sizeof word);
        word = Reversed(word);
        std::memcpy(bytes, &word, sizeof word);
    }
}

struct WordRun {
    uint32_t offset, count;
};

// Deliberate: not every field is in this list, pixelAspect and several reserved words among those that are not. The
// asymmetry is part of the format.
constexpr WordRun kSwappedWords[] = {
    {0, 5},       // version, signature, pixelFlags, status, reserved
    {24, 1},      // reserved
    {52848, 2},   // clipCount, reserved
    {52860, 8},   // frame geometry, timing, reserved, framePixelFormat
    {52896, 3},   // chunkBytes, bytesRemaining, reserved
    {52916, 4},   // host process, reserved, hostApp
    {53008, 8},   // hostPixelAdjust
    {53044, 8389} // settings
};
static_assert(8389 * 4 == sizeof(OCSettings));

} // namespace

void TKSwapCommBlock(const TKSession* session, TKUIComm* block)
{
    if (!session->hostSwapped || !block) return;
    auto* bytes = reinterpret_cast<uint8_t*>(block);
    for (const WordRun& run : kSwappedWords) SwapWords(bytes + run.offset, run.count);
    for (TKClipRecord& clip : block->clipList) clip.reserved = Reversed(clip.reserved);
    block->frameRate100 = __builtin_bswap16(block->frameRate100);
    block->startFrame = __builtin_bswap16(block->startFrame);
}

void TKSwapPixels(const TKSession* session, uint8_t* pixels, uint64_t byteCount)
{
    if (!session->hostSwapped || !pixels || byteCount < 4) return;
    SwapWords(pixels, byteCount / 4);
}
