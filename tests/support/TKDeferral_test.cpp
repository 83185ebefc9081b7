// The render that waits for a pause of the hand.
#include "src/support/TKDeferral.h"

#include <gtest/gtest.h>

namespace {

TEST(TKDeferral, IsDueAfterTheTicksAskedForAndOnlyOnce)
{
    TKDeferral deferral = {};
    EXPECT_FALSE(TKDeferTick(&deferral));
    TKDefer(&deferral, 2);
    EXPECT_FALSE(TKDeferTick(&deferral));
    EXPECT_TRUE(TKDeferTick(&deferral));
    EXPECT_FALSE(TKDeferTick(&deferral));
}

TEST(TKDeferral, ANewChangeStartsTheCountAnew)
{
    TKDeferral deferral = {};
    for (int i = 0; i < 10; ++i) {
        TKDefer(&deferral, 5);
        for (int tick = 0; tick < 4; ++tick) EXPECT_FALSE(TKDeferTick(&deferral));
    }
    EXPECT_TRUE(TKDeferTick(&deferral));
}

TEST(TKDeferral, TheEndOfTheGestureTakesWhatWaits)
{
    TKDeferral deferral = {};
    EXPECT_FALSE(TKDeferFlush(&deferral));
    TKDefer(&deferral, 4);
    EXPECT_TRUE(TKDeferFlush(&deferral));
    EXPECT_FALSE(TKDeferFlush(&deferral));
    EXPECT_FALSE(TKDeferTick(&deferral));
}

TEST(TKDeferral, ACountOfNoneIsDueWithTheNextTick)
{
    TKDeferral deferral = {};
    TKDefer(&deferral, 0);
    EXPECT_TRUE(TKDeferTick(&deferral));
}

} // namespace
