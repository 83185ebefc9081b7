// Stands in for the fuzzer where it is not built: sends every seed through a fuzz target once. Arguments are files and
// folders; a run that finds no seed fails, so that a moved folder cannot pass for a tested reader.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

bool ReadWhole(const fs::path& path, std::vector<uint8_t>* bytes)
{
    FILE* file = fopen(path.c_str(), "rb");
    if (!file) return false;
    bytes->clear();
    uint8_t buffer[65536];
    for (size_t count = 0; (count = fread(buffer, 1, sizeof buffer, file)) > 0;)
        bytes->insert(bytes->end(), buffer, buffer + count);
    const bool whole = !ferror(file);
    fclose(file);
    return whole;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<fs::path> seeds;
    for (int k = 1; k < argc; ++k) {
        std::error_code error;
        if (!fs::is_directory(argv[k], error)) {
            seeds.push_back(argv[k]);
            continue;
        }
        fs::recursive_directory_iterator entry(argv[k], error), end;
        for (; !error && entry != end; entry.increment(error))
            if (entry->is_regular_file(error)) seeds.push_back(entry->path());
        if (error) {
            fprintf(stderr, "%s: %s\n", argv[k], error.message().c_str());
            return 1;
        }
    }
    if (seeds.empty()) {
        fprintf(stderr, "No seed was found.\n");
        return 1;
    }
    std::sort(seeds.begin(), seeds.end());
    for (const fs::path& seed : seeds) {
        std::vector<uint8_t> bytes;
        if (!ReadWhole(seed, &bytes)) {
            fprintf(stderr, "%s cannot be read.\n", seed.c_str());
            return 1;
        }
        // The name first: when the target crashes, it is the last line.
        printf("%s, %zu bytes\n", seed.filename().c_str(), bytes.size());
        fflush(stdout);
        // A block of exactly this size, so that a sanitizer sees the first byte beyond it.
        const std::vector<uint8_t> exact(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(exact.data(), exact.size());
    }
    printf("%zu seeds replayed\n", seeds.size());
    return 0;
}
