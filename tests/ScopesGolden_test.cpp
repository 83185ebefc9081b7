// Golden pictures: the readable and the fast kernels give what was once looked at and kept.
#include "tests/ScopesGolden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace {

std::string Folder()
{
    const char* folder = std::getenv("OC_SOURCE_DIR");
    return std::string(folder ? folder : ".") + "/tests/data/scopes/";
}

std::vector<uint8_t> Kept(const char* name)
{
    std::ifstream file(Folder() + name + ".runs", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(ScopeGoldenFiles, AreTheCasesAndNoOther)
{
    std::set<std::string> cases, files;
    for (const ScopeGoldenCase& each : ScopeGoldenCases()) cases.insert(std::string(each.name) + ".runs");
    for (const auto& entry : std::filesystem::directory_iterator(Folder()))
        files.insert(entry.path().filename().string());
    EXPECT_EQ(cases, files);
    EXPECT_GE(cases.size(), 30u);
}

TEST(ScopeGoldenPictures, AreReachedExactlyByBothKernels)
{
    for (const ScopeGoldenCase& each : ScopeGoldenCases()) {
        const std::vector<uint8_t> kept = Kept(each.name);
        ASSERT_FALSE(kept.empty()) << each.name;
        EXPECT_TRUE(kept == MakeScopeGolden(each, true)) << each.name << ", readable kernels";
        EXPECT_TRUE(kept == MakeScopeGolden(each, false)) << each.name << ", fast kernels";
    }
}

TEST(ScopeGoldenPictures, DifferFromOneAnother)
{
    std::set<std::string> seen; // GCC 12 misjudges the bounds of vectors in a set
    size_t same = 0;
    for (const ScopeGoldenCase& each : ScopeGoldenCases()) {
        const std::vector<uint8_t> kept = Kept(each.name);
        same += !seen.emplace(kept.begin(), kept.end()).second;
    }
    EXPECT_EQ(same, 1u) << "only a playing result and a suspended one look alike";
}
