// From a grade to parameters: flags and scalars against numbers, and what is built when.
#include "tests/ParametersTest.h"

#include <cstring>
#include <functional>

// Tables may be kept from one update to the next; what the log says of them is said each time.
TEST(OCParameters, EveryUpdateLogsItsTransferTable)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.transfer.transferOn = 1;
    const auto linesOf = [&](const std::string& line) {
        LogCatch log;
        for (int i = 0; i < 3; ++i) OCUpdateParameters(engine.get(), &g);
        const std::string text = log.Text();
        int count = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++count;
        return count;
    };
    EXPECT_EQ(linesOf("^^^^^^^^^^ updating table for gamma 2.2000\n"), 3);
    EXPECT_EQ(linesOf("++++++++++++++++++ Computed Vibrance = 1.000000\n"), 3);
    g.transfer.transferLog = 1;
    EXPECT_EQ(linesOf("breakPoint=0.0929, gain=1.0000, "), 3);
    EXPECT_EQ(linesOf("^^^^^^^^^^ updating table"), 0);
    g.transfer.transferVideoGamma = 1;
    EXPECT_EQ(linesOf("breakPoint="), 0);
}

TEST(OCParameters, SummaryFlags)
{
    EnginePtr engine = MakeEngine();
    const OCProcessParams& p = *OCParametersOf(engine.get());
    using Edit = std::function<void(OCSettings&)>;
    using Flag = bool OCProcessParams::*;
    const struct {
        const char* name;
        Edit edit;
        Flag flag;
        bool expected;
    } rows[] = {
        {"hsl master", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.master.on = 1; },
         &OCProcessParams::hslMasterOn, true},
        {"hsl master, pane off", [](OCSettings& g) { g.hslOn = g.hsl.master.on = 1; }, &OCProcessParams::hslMasterOn,
         false},
        {"hsl shadows", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.shadows.on = 1; },
         &OCProcessParams::hslShadowOn, true},
        {"hsl midtones", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.midtones.on = 1; },
         &OCProcessParams::hslMidOn, true},
        {"hsl highlights", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.highlights.on = 1; },
         &OCProcessParams::hslHighOn, true},
        {"hue offset", [](OCSettings& g) { g.primaryOn = g.hueOffsetOn = 1; }, &OCProcessParams::hueOffsetEnabled,
         true},
        {"hue offset, pane off", [](OCSettings& g) { g.hueOffsetOn = 1; }, &OCProcessParams::hueOffsetEnabled, false},
        {"rgb master", [](OCSettings& g) { g.rgbOn = g.rgb.master.on = 1; }, &OCProcessParams::rgbMasterOn, true},
        {"rgb ranges", [](OCSettings& g) { g.rgbOn = g.rgb.midtones.on = 1; }, &OCProcessParams::rgbRangeOn, true},
        {"rgb ranges by master", [](OCSettings& g) { g.rgbOn = g.rgb.master.on = 1; }, &OCProcessParams::rgbRangeOn,
         false},
        {"rgb master gamma",
         [](OCSettings& g) {
             g.rgbOn = g.rgb.master.on = 1;
             g.rgb.master.channel[2].gamma = 2;
         },
         &OCProcessParams::rgbMasterGamma, true},
        {"rgb master gamma, off",
         [](OCSettings& g) {
             g.rgbOn = 1;
             g.rgb.master.group.gamma = 2;
         },
         &OCProcessParams::rgbMasterGamma, false},
        {"rgb range gamma",
         [](OCSettings& g) {
             g.rgbOn = g.rgb.shadows.on = 1;
             g.rgb.shadows.group.gamma = 2;
         },
         &OCProcessParams::rgbRangeGamma, true},
        {"cmy master", [](OCSettings& g) { g.cmyOn = g.cmy.master.on = 1; }, &OCProcessParams::cmyMasterOn, true},
        {"cmy ranges", [](OCSettings& g) { g.cmyOn = g.cmy.shadows.on = 1; }, &OCProcessParams::cmyRangeOn, true},
        {"cmy master gamma",
         [](OCSettings& g) {
             g.cmyOn = g.cmy.master.on = 1;
             g.cmy.master.group.gamma = 2;
         },
         &OCProcessParams::cmyMasterGamma, true},
        {"cmy range gamma",
         [](OCSettings& g) {
             g.cmyOn = g.cmy.highlights.on = 1;
             g.cmy.highlights.channel[0].gamma = 2;
         },
         &OCProcessParams::cmyRangeGamma, true},
        {"ycc master", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.master.on = 1; }, &OCProcessParams::yccMasterOn, true},
        {"ycc ranges", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.highlights.on = 1; }, &OCProcessParams::yccRangeOn,
         true},
        {"ycc master gamma",
         [](OCSettings& g) {
             g.ycbcrOn = g.ycbcr.master.on = 1;
             g.ycbcr.master.channel[1].gamma = 2;
         },
         &OCProcessParams::yccMasterGamma, true},
        {"ycc range gamma",
         [](OCSettings& g) {
             g.ycbcrOn = g.ycbcr.shadows.on = 1;
             g.ycbcr.shadows.channel[1].gamma = 2;
         },
         &OCProcessParams::yccRangeGamma, true},
        {"levels", [](OCSettings& g) { g.levelsOn = 1; }, &OCProcessParams::levelsEnabled, true},
        {"levels gray",
         [](OCSettings& g) {
             g.levelsOn = g.levels[0].on = 1;
             g.levels[0].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, true},
        {"levels gray of luma",
         [](OCSettings& g) {
             g.levelsOn = g.levels[4].on = 1;
             g.levels[4].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, false},
        {"levels gray, off",
         [](OCSettings& g) {
             g.levelsOn = 1;
             g.levels[0].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, false},
        {"rgb curves", [](OCSettings& g) { g.curvesOn = g.rgbCurvesOn = 1; }, &OCProcessParams::rgbCurvesEnabled, true},
        {"rgb curves, pane off", [](OCSettings& g) { g.rgbCurvesOn = 1; }, &OCProcessParams::rgbCurvesEnabled, false},
        {"hsl curves", [](OCSettings& g) { g.curvesOn = g.hslCurvesOn = 1; }, &OCProcessParams::hslCurvesEnabled, true},
        {"hsl curves, pane off", [](OCSettings& g) { g.hslCurvesOn = 1; }, &OCProcessParams::hslCurvesEnabled, false},
        {"recovery", [](OCSettings& g) { g.inputControls_highlight_recovery = 0.1f; },
         &OCProcessParams::highlightRecoveryIn, true},
        {"limiter", [](OCSettings& g) { g.limiter_enable = 1; }, &OCProcessParams::limiterEnabled, true},
        {"limiter preview", [](OCSettings& g) { g.limiter_enable = g.limiter_preview = 1; },
         &OCProcessParams::limiterPreview, true},
        {"limiter preview, off", [](OCSettings& g) { g.limiter_preview = 1; }, &OCProcessParams::limiterPreview, false},
        {"soft clip", [](OCSettings& g) { g.limiter_enable = g.limiter.limiter_softclip_enable = 1; },
         &OCProcessParams::limiterSoftClip, true},
    };
    OCSettings neutral = NeutralGrade();
    for (const auto& row : rows) {
        OCUpdateParameters(engine.get(), &neutral);
        EXPECT_FALSE(p.*row.flag) << row.name << " in a neutral grade";
        OCSettings g = neutral;
        row.edit(g);
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(p.*row.flag, row.expected) << row.name;
    }
}

// Deliberate: whether the recovery runs is asked of the live grade, where it begins of the neutral copy.
TEST(OCParameters, TheRecoveryThresholdIsOneWithTheLevelsMasterOff)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.levelsOn = g.levels[0].on = 1;
    g.inputControls_highlight_recovery = 0.5f;
    g.outputControls_highlight_recovery = 1;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_FLOAT_EQ(OCParametersOf(engine.get())->recoveryThreshold, 0.8f);
    EXPECT_FLOAT_EQ(OCParametersOf(engine.get())->outputRecoveryThreshold, 0.6f);
    g.levels[0].on = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_TRUE(OCParametersOf(engine.get())->highlightRecoveryIn);
    EXPECT_EQ(OCParametersOf(engine.get())->recoveryThreshold, 1);
}

TEST(OCParameters, TheGradeItselfIsNotTouched)
{
    EnginePtr engine = MakeEngine();
    Random random(31);
    OCSettings g = RandomGrade(random, ~0u, reachEntry);
    g.rgbOn = g.levelsOn = 0;
    const OCSettings kept = g;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(std::memcmp(&g, &kept, sizeof g), 0);
}

TEST(OCParameters, UnchangedInputsBuildNothingAndOneSliderExactlyItsTables)
{
    EnginePtr engine = MakeEngine();
    const struct {
        const char* name;
        std::function<void(OCSettings&)> edit;
        uint32_t tables;
    } rows[] = {
        {"nothing", [](OCSettings&) {}, 0},
        {"hsl master hue", [](OCSettings& g) { g.hsl.master.hue = 10; }, 0},
        {"hsl master saturation", [](OCSettings& g) { g.hsl.master.saturation = 110; }, 0},
        {"hsl master vibrance", [](OCSettings& g) { g.hsl.master.vibrance = 10; }, 0},
        {"hsl master gain", [](OCSettings& g) { g.hsl.master.gain = 2; }, 0},
        {"hsl master brightness", [](OCSettings& g) { g.hsl.master.brightness = 10; }, 1},
        {"hsl master gamma", [](OCSettings& g) { g.hsl.master.gamma = 1.1f; }, 1},
        {"hsl master contrast", [](OCSettings& g) { g.hsl.master.contrast = 10; }, 4},
        {"hsl master centre", [](OCSettings& g) { g.hsl.master.contrastCenter = 0.4f; }, 4},
        {"hsl shadows contrast", [](OCSettings& g) { g.hsl.shadows.contrast = 10; }, 3},
        {"hsl midtones contrast", [](OCSettings& g) { g.hsl.midtones.contrast = 10; }, 2},
        {"hsl highlights contrast", [](OCSettings& g) { g.hsl.highlights.contrast = 10; }, 1},
        {"hsl highlights gamma", [](OCSettings& g) { g.hsl.highlights.gamma = 2; }, 1},
        {"hue offset", [](OCSettings& g) { g.hueOffset.master.strength = 0.2f; }, 0},
        {"rgb master gain", [](OCSettings& g) { g.rgb.master.group.gain = 2; }, 0},
        {"rgb master gamma", [](OCSettings& g) { g.rgb.master.group.gamma = 2; }, 3},
        {"rgb master red gamma", [](OCSettings& g) { g.rgb.master.channel[0].gamma = 2; }, 1},
        {"rgb shadows gamma", [](OCSettings& g) { g.rgb.shadows.group.gamma = 2; }, 3},
        {"cmy master cyan gamma", [](OCSettings& g) { g.cmy.master.channel[0].gamma = 2; }, 2},
        {"cmy master gamma", [](OCSettings& g) { g.cmy.master.group.gamma = 2; }, 3},
        {"cmy midtones pedestal", [](OCSettings& g) { g.cmy.midtones.group.pedestal = 0.2f; }, 0},
        {"ycbcr master gamma", [](OCSettings& g) { g.ycbcr.master.group.gamma = 2; }, 1},
        {"ycbcr master Cb gamma", [](OCSettings& g) { g.ycbcr.master.channel[1].gamma = 2; }, 1},
        {"levels master gray", [](OCSettings& g) { g.levels[0].ingraypt = 0.4f; }, 3},
        {"levels red gray", [](OCSettings& g) { g.levels[1].ingraypt = 0.4f; }, 1},
        {"levels red white out", [](OCSettings& g) { g.levels[1].outwhitept = 0.4f; }, 0},
        {"levels luma gray", [](OCSettings& g) { g.levels[4].ingraypt = 0.4f; }, 0},
        {"master curve", [](OCSettings& g) { g.rgbCurve[0].points.xy.y[0] = 0.1f; }, 3},
        {"green curve", [](OCSettings& g) { g.rgbCurve[2].points.xy.y[0] = 0.1f; }, 1},
        {"hue curve", [](OCSettings& g) { g.hslCurve[0].points.xy.y[0] = 0.1f; }, 1},
        {"luma range", [](OCSettings& g) { g.lumaRange.lumarange_shadowx = 0.2f; }, 3},
        {"luma range control state", [](OCSettings& g) { g.lumaRange.controlState[1] = 9; }, 0},
        {"secondary gamma", [](OCSettings& g) { g.secondary[3].gamma = 2; }, 1},
        {"transfer gamma", [](OCSettings& g) { g.transfer.transferGamma = 2; }, 2},
        {"highlight recovery", [](OCSettings& g) { g.inputControls_highlight_recovery = 0.5f; }, 0},
    };
    const OCSettings start = EverythingOn();
    for (const auto& row : rows) {
        OCUpdateParameters(engine.get(), &start);
        OCUpdateParameters(engine.get(), &start);
        EXPECT_EQ(OCTablesBuilt(engine.get()), 0u);
        OCSettings g = start;
        row.edit(g);
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(OCTablesBuilt(engine.get()), row.tables) << row.name;
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(OCTablesBuilt(engine.get()), 0u) << row.name;
    }
}

TEST(OCParameters, TablesOfToolsThatAreOffAreLeftAlone)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = EverythingOn();
    OCUpdateParameters(engine.get(), &g);
    g.rgbOn = g.cmyOn = g.ycbcrOn = g.levelsOn = g.curvesOn = g.secondaryOn = g.transfer.transferOn = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCTablesBuilt(engine.get()), 0u);
}

// Whatever was built before, the result is that of a new engine.
TEST(OCParameters, AnEngineRemembersNothingThatShows)
{
    LogCatch log;
    EnginePtr kept = MakeEngine();
    Random random(41);
    ParametersPicture picture(42);
    OCSettings g = NeutralGrade();
    for (size_t round = 0; round < Rounds(60); ++round) {
        if (round % 4 == 0) {
            g = RandomGrade(random, static_cast<uint32_t>(random()), static_cast<GradeReach>(random() % 4));
        } else { // one more tool, or one switch
            const OCSettings other = RandomGrade(random, 1u << random() % toolCount, reachEntry);
            if (random() % 2) {
                g = other;
            } else {
                const uint32_t switches[] = {4, 8, 12, 52, 172, 384, 596, 808, 864, 1028, 1032, 17504, 29832};
                const uint32_t offset = switches[random() % std::size(switches)];
                auto* word = reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(&g) + offset);
                *word = *word ? 0 : 1;
            }
        }
        OCUpdateParameters(kept.get(), &g);
        EnginePtr fresh = MakeEngine();
        OCUpdateParameters(fresh.get(), &g);
        const FramePtr expected = MakeFrame(64, 9);
        OCProcessImageBandScalar(*OCParametersOf(fresh.get()), picture.source.get(), expected.get());
        ASSERT_TRUE(SamePlanes(*expected, picture.Run(kept.get()), 9)) << "round " << round;
    }
}
