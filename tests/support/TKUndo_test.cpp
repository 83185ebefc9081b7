// The ring alone; what the session does with it is tested with the commands and the controls.
#include "src/support/TKUndo.h"

#include "src/platform/BPMemory.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

struct RingDeleter {
    void operator()(TKUndoRing* ring) const { UndoDispose(ring); }
};
using Ring = std::unique_ptr<TKUndoRing, RingDeleter>;

OCSettings State(uint32_t number)
{
    OCSettings settings = {};
    settings.signature = kOCSettingsSignature;
    settings.tail[0] = number;
    return settings;
}

/// One edit: from what `live` is to state `number`.
void Edit(TKUndoRing* ring, OCSettings* live, uint32_t number)
{
    UndoPush(ring, *live);
    *live = State(number);
    UndoStore(ring, *live);
}

TEST(TKUndo, ANewRingHoldsNoSteps)
{
    Ring ring(UndoCreate(20, State(0)));
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->undoSlotCount, 21u);
    EXPECT_EQ(ring->undoHead, 40u);
    EXPECT_EQ(ring->undoTop, 40u);
    EXPECT_EQ(ring->undoAvailable, 0u);
    OCSettings live = State(7);
    EXPECT_FALSE(UndoStepBack(ring.get(), &live));
    EXPECT_FALSE(UndoStepForward(ring.get(), &live));
    EXPECT_EQ(live.tail[0], 7u);
    UndoReset(ring.get());
    EXPECT_EQ(ring->undoHead, 0u);
    EXPECT_EQ(ring->undoTop, 0u);
}

TEST(TKUndo, ADepthOfZeroMakesNoRingAndEverythingAcceptsThat)
{
    EXPECT_EQ(UndoCreate(0, State(0)), nullptr);
    OCSettings live = State(1);
    UndoReset(nullptr);
    UndoPush(nullptr, live);
    UndoStore(nullptr, live);
    EXPECT_FALSE(UndoStepBack(nullptr, &live));
    EXPECT_FALSE(UndoStepForward(nullptr, &live));
    UndoDispose(nullptr);
}

TEST(TKUndo, DepthOneAllowsOneStepAndASecondChangeOverwritesTheOlder)
{
    Ring ring(UndoCreate(1, State(0)));
    OCSettings live = State(0);
    Edit(ring.get(), &live, 1);
    Edit(ring.get(), &live, 2);
    EXPECT_TRUE(UndoStepBack(ring.get(), &live));
    EXPECT_EQ(live.tail[0], 1u);
    EXPECT_FALSE(UndoStepBack(ring.get(), &live));
    EXPECT_TRUE(UndoStepForward(ring.get(), &live));
    EXPECT_EQ(live.tail[0], 2u);
    EXPECT_FALSE(UndoStepForward(ring.get(), &live));
}

TEST(TKUndo, APushAfterUndosDropsWhatCouldBeRedone)
{
    Ring ring(UndoCreate(20, State(0)));
    OCSettings live = State(0);
    for (uint32_t i = 1; i <= 10; ++i) Edit(ring.get(), &live, i);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(UndoStepBack(ring.get(), &live));
    EXPECT_EQ(live.tail[0], 7u);
    EXPECT_TRUE(UndoCanStepForward(ring.get()));
    Edit(ring.get(), &live, 99);
    EXPECT_FALSE(UndoCanStepForward(ring.get()));
    EXPECT_EQ(ring->undoTop, ring->undoHead);
    EXPECT_FALSE(UndoStepForward(ring.get(), &live));
    EXPECT_TRUE(UndoStepBack(ring.get(), &live));
    EXPECT_EQ(live.tail[0], 7u);
}

TEST(TKUndo, EveryDepthWalksAllTheWayBackAndForth)
{
    for (const uint32_t depth : {1u, 5u, 10u, 20u, 50u, 99u}) {
        Ring ring(UndoCreate(depth, State(0)));
        ASSERT_TRUE(ring);
        OCSettings live = State(0);
        const uint32_t edits = depth * 3 + 2;
        for (uint32_t i = 1; i <= edits; ++i) Edit(ring.get(), &live, i);
        EXPECT_EQ(ring->undoAvailable, depth);
        for (uint32_t i = 1; i <= depth; ++i) {
            ASSERT_TRUE(UndoStepBack(ring.get(), &live)) << depth;
            ASSERT_EQ(live.tail[0], edits - i);
        }
        EXPECT_FALSE(UndoStepBack(ring.get(), &live));
        for (uint32_t i = depth; i > 0; --i) {
            ASSERT_TRUE(UndoStepForward(ring.get(), &live)) << depth;
            ASSERT_EQ(live.tail[0], edits - i + 1);
        }
        EXPECT_FALSE(UndoStepForward(ring.get(), &live));
        EXPECT_EQ(ring->undoAvailable, depth);
    }
}

TEST(TKUndo, WithoutMemoryForTheRecordsUndoIsOff)
{
    BPFailAllocation(2);
    Ring ring(UndoCreate(5, State(0)));
    BPFailAllocation(0);
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->undoSlotCount, 0u);
    OCSettings live = State(3);
    UndoPush(ring.get(), live);
    UndoStore(ring.get(), live);
    UndoReset(ring.get());
    EXPECT_FALSE(UndoStepBack(ring.get(), &live));
    EXPECT_FALSE(UndoStepForward(ring.get(), &live));
    BPFailAllocation(1);
    EXPECT_EQ(UndoCreate(5, State(0)), nullptr);
    BPFailAllocation(0);
}

} // namespace
