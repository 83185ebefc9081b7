// Writes the golden images anew: update-golden [FOLDER], the folder of the project by default. The only writer of
// tests/golden. Look at what changed before it is committed, and say why.
#include "tests/Golden.h"

#include "src/platform/BPLog.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

int main(int argc, char** argv)
{
    const std::string root = argc > 1 ? argv[1] : ".";
    if (argc > 2 || !std::filesystem::is_directory(root + "/tests/golden")) {
        std::fprintf(stderr, "usage: update-golden [FOLDER], where FOLDER holds tests/golden\n");
        return 1;
    }
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    int status = 0;
    for (const GoldenCase& which : GoldenCases()) {
        const std::string folder = root + "/tests/golden/" + which.name;
        Golden kept = {};
        const bool known = ReadGolden(folder, &kept);
        const Golden made = MakeGolden(which);
        size_t changed = 0;
        for (size_t i = 0; known && i < made.expected.size(); ++i)
            changed += std::memcmp(&kept.expected[i], &made.expected[i], sizeof(float)) != 0;
        std::filesystem::create_directories(folder);
        if (!WriteGolden(folder, made)) {
            std::fprintf(stderr, "update-golden: cannot write %s\n", folder.c_str());
            status = 1;
        } else if (!known) {
            std::printf("%s: new\n", which.name);
        } else {
            std::printf("%s: %zu of %zu values changed\n", which.name, changed, made.expected.size());
        }
    }
    return status;
}
