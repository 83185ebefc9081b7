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

/// Pictures of a second in which a hand reports every `periodMs`, from its `first` millisecond on.
int PicturesOfASecond(double periodMs, double first)
{
    TKDeferral deferral = {};
    TKDeferPace pace = {};
    double next = first;
    int pictures = 0;
    for (int tick = 1; tick <= kTKPacedTicksPerSecond; ++tick) {
        for (; next <= tick * 10.0; next += periodMs) TKDefer(&deferral, 2);
        pictures += TKDeferTickPaced(&deferral, &pace) ? 1 : 0;
    }
    return pictures;
}

TEST(TKDeferral, AHandThatNeverPausesSees60PicturesASecond)
{
    for (const double periodMs : {1.0, 2.0, 5.0, 8.0, 10.0}) {
        const int pictures = PicturesOfASecond(periodMs, 0);
        EXPECT_GE(pictures, 58) << periodMs; // the first one comes a tick late
        EXPECT_LE(pictures, kTKPicturesPerSecond) << periodMs;
    }
}

TEST(TKDeferral, AMouseOf60ReportsASecondSeesNearlyAPictureForEach)
{
    for (double first = 0; first < 16; first += 0.5) {
        const int pictures = PicturesOfASecond(1000.0 / 60, first);
        EXPECT_GE(pictures, 55) << first;
        EXPECT_LE(pictures, 60) << first;
    }
}

TEST(TKDeferral, ASlowerHandSeesEachOfItsChangesOnce)
{
    for (const double periodMs : {25.0, 40.0, 100.0, 250.0})
        EXPECT_NEAR(PicturesOfASecond(periodMs, 3), 1000 / periodMs, 1) << periodMs;
}

TEST(TKDeferral, AfterARestAChangeIsDueWhenItsCountHasRunOut)
{
    TKDeferral deferral = {};
    TKDeferPace pace = {};
    for (int i = 0; i < 7; ++i) { // in the middle of a drag
        TKDefer(&deferral, 2);
        (void)TKDeferTickPaced(&deferral, &pace);
    }
    for (const int rest : {4, 5, 6, 7, 50}) {
        for (int tick = 0; tick < rest; ++tick) (void)TKDeferTickPaced(&deferral, &pace);
        TKDefer(&deferral, 2);
        EXPECT_FALSE(TKDeferTickPaced(&deferral, &pace)) << rest;
        EXPECT_TRUE(TKDeferTickPaced(&deferral, &pace)) << rest;
        EXPECT_FALSE(TKDeferTickPaced(&deferral, &pace)) << rest;
    }
}

TEST(TKDeferral, ACountOfNoneIsDueWithTheNextTick)
{
    TKDeferral deferral = {};
    TKDefer(&deferral, 0);
    EXPECT_TRUE(TKDeferTick(&deferral));
}

} // namespace
