// The command line of ochrine-host.
#include "host/HostOptions.h"
#include "host/HostServe.h"

#include <gtest/gtest.h>
#include <set>

namespace {

bool Parse(std::vector<const char*> words, HostOptions* options)
{
    std::string error;
    const bool isGood = ParseHostOptions(static_cast<int>(words.size()), words.data(), options, &error);
    EXPECT_EQ(isGood, error.empty());
    return isGood;
}

} // namespace

TEST(HostOptions, ReadsAllOfThem)
{
    HostOptions options;
    ASSERT_TRUE(Parse({"--output",
                       "o.exr",
                       "--out-dir=out",
                       "--grade",
                       "g",
                       "--app",
                       "a",
                       "--chunk-rows",
                       "16",
                       "--timeout=5",
                       "--sessions",
                       "2",
                       "--threads",
                       "3",
                       "--rate",
                       "29.97",
                       "--always-render",
                       "--verbose",
                       "--misbehave=status11",
                       "clip.mov"},
                      &options));
    EXPECT_EQ(options.output, "o.exr");
    EXPECT_EQ(options.outFolder, "out");
    EXPECT_EQ(options.grade, "g");
    EXPECT_EQ(options.application, "a");
    EXPECT_EQ(options.chunkRows, 16u);
    EXPECT_EQ(options.timeoutSeconds, 5u);
    EXPECT_EQ(options.sessions, 2u);
    EXPECT_EQ(options.threads, 3);
    EXPECT_EQ(options.rate.numerator, 30000);
    EXPECT_TRUE(options.alwaysRender && options.isVerbose && !options.renderOnly);
    EXPECT_EQ(options.misbehave, Misbehave::status11);
    EXPECT_EQ(options.clip, "clip.mov");
    ASSERT_TRUE(Parse({}, &options));
    EXPECT_TRUE(options.clip.empty());
    ASSERT_TRUE(Parse({"--", "--strange name.mov"}, &options));
    EXPECT_EQ(options.clip, "--strange name.mov");
    ASSERT_TRUE(Parse({"--render-only", "--grade", "g"}, &options));
    ASSERT_TRUE(Parse({"--serve", "--no-render"}, &options));
    EXPECT_TRUE(options.serve && options.noRender);
    ASSERT_TRUE(Parse({"-h"}, &options));
    EXPECT_TRUE(options.showHelp);
}

TEST(HostOptions, RefusesWhatItDoesNotKnow)
{
    HostOptions options;
    const std::vector<std::vector<const char*>> bad = {{"--nonsense"},
                                                       {"--output"},
                                                       {"--output="},
                                                       {"--chunk-rows", "0"},
                                                       {"--chunk-rows", "-1"},
                                                       {"--chunk-rows=9x"},
                                                       {"--timeout", "0"},
                                                       {"--misbehave=well"},
                                                       {"a.mov", "b.mov"},
                                                       {"--render-only"},
                                                       {"--rate", "fast"},
                                                       {"--threads", "1000"},
                                                       {"--threads", "99999999999999"},
                                                       {""},
                                                       {"--sessions", "0"}};
    for (const auto& words : bad) EXPECT_FALSE(Parse(words, &options)) << words[0];
}

TEST(HostOptions, KnowsEveryWayToMisbehave)
{
    HostOptions options;
    std::set<Misbehave> seen;
    for (const char* mode : {"version6",     "wrong-signature", "swapped",    "late-header",    "too-late-header",
                             "short-object", "wrong-sizes",     "clips250",   "clips-negative", "no-process",
                             "no-grade",     "stale-block",     "die-chunks", "status11",       "die-pending",
                             "never-answer", "late-answer",     "wrong-word", "two-frames",     "short-frame",
                             "long-frame",   "strange-status",  "unlink",     "truncate",       "die-idle"}) {
        EXPECT_TRUE(Parse({"--misbehave", mode}, &options)) << mode;
        EXPECT_NE(options.misbehave, Misbehave::none);
        EXPECT_TRUE(seen.insert(options.misbehave).second) << mode;
        EXPECT_NE(std::string(kHostHelp).find(mode), std::string::npos) << mode;
    }
}

TEST(HostServe, ReadsCommands)
{
    for (const char* line : {"", "  ", "open", " open\t\r"}) {
        HostCommand command = HostCommand::interrupted;
        EXPECT_TRUE(ReadHostCommand(line, &command)) << line;
        EXPECT_EQ(command, HostCommand::open) << line;
    }
    for (const char* line : {"q", "quit", " quit "}) {
        HostCommand command = HostCommand::interrupted;
        EXPECT_TRUE(ReadHostCommand(line, &command)) << line;
        EXPECT_EQ(command, HostCommand::quit) << line;
    }
    for (const char* line : {"openx", "open x", "Q", "quit!", "\x01"}) {
        HostCommand command = HostCommand::interrupted;
        EXPECT_FALSE(ReadHostCommand(line, &command)) << line;
        EXPECT_EQ(command, HostCommand::interrupted) << line;
    }
}
