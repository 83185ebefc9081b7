// Writes the golden pictures of the displays anew: update-scopes [FOLDER], the folder of the project by default. The
// only writer of tests/data/scopes. Look at what changed before it is committed, and say why.
#include "tests/ScopesGolden.h"

#include "src/platform/BPLog.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char** argv)
{
    const std::string root = argc > 1 ? argv[1] : ".";
    if (argc > 2 || !std::filesystem::is_directory(root + "/tests/data")) {
        std::fprintf(stderr, "usage: update-scopes [FOLDER], where FOLDER holds tests/data\n");
        return 1;
    }
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    const std::string folder = root + "/tests/data/scopes/";
    std::filesystem::create_directories(folder);
    int status = 0;
    for (const ScopeGoldenCase& which : ScopeGoldenCases()) {
        const std::string path = folder + which.name + ".runs";
        std::ifstream old(path, std::ios::binary);
        const std::vector<uint8_t> kept = {std::istreambuf_iterator<char>(old), std::istreambuf_iterator<char>()};
        const std::vector<uint8_t> made = MakeScopeGolden(which, true);
        if (made == kept) continue;
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(made.data()), static_cast<std::streamsize>(made.size()));
        std::printf("%s: %s\n", which.name, kept.empty() ? "new" : "changed");
        if (!file.flush()) {
            std::fprintf(stderr, "update-scopes: cannot write %s\n", path.c_str());
            status = 1;
        }
    }
    return status;
}
