// Settings files in plain numbers.
#include "tests/SettingsModel.h"

#include <cstdio>
#include <cstring>

namespace {

struct Group {
    uint32_t id, records, recordBytes, offset;
};

const Group kWritten[] = {
    {29, 4, 40, 12},     {30, 4, 52, 176},    {31, 4, 52, 388},     {32, 4, 52, 600},  {33, 1, 52, 812},
    {6, 5, 32, 868},     {27, 4, 4108, 1036}, {8, 3, 12, 17468},    {9, 1, 24, 29836}, {35, 6, 124, 29868},
    {37, 6, 460, 30616}, {39, 1, 40, 33384},  {13, 1, 28, 33424},   {14, 1, 4, 4},     {15, 1, 4, 8},
    {16, 1, 4, 172},     {17, 1, 4, 384},     {18, 1, 4, 596},      {19, 1, 4, 808},   {20, 1, 4, 864},
    {21, 1, 4, 29860},   {28, 1, 4, 29864},   {36, 1, 4, 30612},    {22, 1, 4, 1028},  {23, 1, 4, 29832},
    {24, 1, 4, 33376},   {25, 1, 4, 33380},   {40, 3, 4108, 17508}, {41, 1, 4, 1032},  {42, 1, 4, 17504},
    {43, 1, 16, 33540},
};
const Group kOlder[] = {
    {1, 4, 36, 12},    {2, 4, 52, 176},     {3, 4, 52, 388},    {4, 4, 52, 600},     {5, 1, 52, 812},
    {7, 4, 140, 1036}, {10, 6, 108, 29868}, {12, 1, 36, 33384}, {26, 6, 120, 29868},
};

/// A fixed value as the bits of its float, by way of a quotient.
uint32_t FixedBits(uint32_t word)
{
    const float value = static_cast<float>(static_cast<double>(static_cast<int32_t>(word)) / 65536.0);
    uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

/// Lands one older record at `to`, an index of words.
void LandOlder(uint32_t id, const uint32_t* in, std::vector<uint32_t>& out, uint32_t to)
{
    const auto fixed = [&](uint32_t today, uint32_t old) { out[to + today] = FixedBits(in[old]); };
    const auto plain = [&](uint32_t today, uint32_t old) { out[to + today] = in[old]; };
    switch (id) {
    case 1:
        plain(0, 0);
        fixed(1, 1);
        fixed(2, 2);
        for (uint32_t i = 3; i <= 8; ++i) fixed(i + 1, i);
        return;
    case 2:
    case 3:
    case 4:
        plain(0, 0);
        for (uint32_t i = 1; i <= 12; ++i) fixed(i, i);
        return;
    case 5:
        for (uint32_t i = 0; i <= 12; ++i) (i == 0 || i % 3 == 1) ? plain(i, i) : fixed(i, i);
        return;
    case 7:
        plain(1, 1);
        plain(3, 2);
        out[to + 2] = 0;
        for (uint32_t i = 0; i < 32; ++i) plain(4 + i, 3 + i);
        return;
    case 12:
        for (uint32_t i = 0; i <= 8; ++i) (i == 3 || i >= 7) ? plain(i, i) : fixed(i, i);
        return;
    case 10:
    case 26:
        plain(0, 0);
        if (in[0] != 0) out[29864 / 4] |= 1;
        for (const uint32_t i : {1u, 2u, 3u}) fixed(i, i);
        out[to + 4] = in[4] != 0 ? 1 : 0;
        if (id == 10) out[to + 5] = 1;
        plain(6, 5);
        fixed(7, 6);
        fixed(8, 7);
        plain(9, 8);
        fixed(10, 9);
        fixed(11, 10);
        for (const uint32_t i : {12u, 13u, 15u, 16u, 17u, 19u, 20u, 21u, 23u, 24u, 25u, 27u}) plain(i, i - 1);
        if (id == 10) {
            out[to + 28] = out[to + 29] = 0x3F800000;
            out[to + 30] = 0;
        } else {
            for (const uint32_t i : {28u, 29u, 30u}) fixed(i, i - 1);
        }
        return;
    }
}

uint32_t TodaysBytes(uint32_t id)
{
    switch (id) {
    case 1: return 40;
    case 7: return 4108;
    case 10:
    case 26: return 124;
    default: return 52;
    }
}

} // namespace

SettingsFile::SettingsFile(uint32_t version, uint32_t magic)
{
    Word(version).Word(magic);
}

SettingsFile& SettingsFile::Byte(uint8_t byte)
{
    bytes.push_back(byte);
    return *this;
}

SettingsFile& SettingsFile::Word(uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(word >> shift));
    return *this;
}

SettingsFile& SettingsFile::Words(const std::vector<uint32_t>& words)
{
    for (const uint32_t word : words) Word(word);
    return *this;
}

SettingsFile& SettingsFile::Chunk(uint32_t id, const std::vector<uint32_t>& words)
{
    return Word(id).Word(static_cast<uint32_t>(words.size() * 4)).Words(words);
}

uint32_t ModelChunkBytes(uint32_t id)
{
    for (const Group& group : kWritten)
        if (group.id == id) return group.records * group.recordBytes;
    for (const Group& group : kOlder)
        if (group.id == id) return group.records * group.recordBytes;
    return 0;
}

bool ModelLoad(const std::vector<uint8_t>& bytes, std::vector<uint32_t>* words)
{
    size_t at = 0;
    const auto take = [&](uint32_t* word) {
        if (bytes.size() - at < 4) return false;
        *word = 0;
        for (int i = 0; i < 4; ++i) *word = *word << 8 | bytes[at + static_cast<size_t>(i)];
        at += 4;
        return true;
    };
    uint32_t version = 0, magic = 0;
    if (!take(&version) || !take(&magic) || magic != 0x11223344) return false;
    if (version == 0 || version == 4 || version > 5) return false;

    for (;;) {
        uint32_t id = 0, size = 0;
        if (!take(&id) || !take(&size)) return true;
        const Group* found = nullptr;
        bool older = false;
        for (const Group& group : kWritten)
            if (group.id == id) found = &group;
        for (const Group& group : kOlder)
            if (group.id == id) {
                found = &group;
                older = true;
            }
        if (found == nullptr) {
            if (bytes.size() - at < size) return true;
            at += size;
            continue;
        }
        std::vector<uint32_t> data;
        uint32_t word = 0;
        while (data.size() < found->records * found->recordBytes / 4 && take(&word)) data.push_back(word);
        const bool whole = data.size() == found->records * found->recordBytes / 4;
        if (older) {
            for (uint32_t record = 0; whole && record < found->records; ++record)
                LandOlder(id, data.data() + record * found->recordBytes / 4, *words,
                          (found->offset + record * TodaysBytes(id)) / 4);
        } else if (whole || id != 37) {
            for (size_t i = 0; i < data.size(); ++i) (*words)[found->offset / 4 + i] = data[i];
            if (id == 22 && !data.empty()) (*words)[1032 / 4] = data[0];
        }
        if (!whole) return true;
    }
}

std::vector<uint8_t> ModelSave(const std::vector<uint32_t>& words)
{
    SettingsFile file;
    for (const Group& group : kWritten) {
        const uint32_t first = group.offset / 4, count = group.records * group.recordBytes / 4;
        file.Chunk(group.id, {words.begin() + first, words.begin() + first + count});
    }
    return file.bytes;
}

std::vector<uint32_t> WordsOf(const OCSettings& settings)
{
    std::vector<uint32_t> words(sizeof settings / 4);
    std::memcpy(words.data(), &settings, sizeof settings);
    return words;
}

OCSettings SettingsOf(const std::vector<uint32_t>& words)
{
    OCSettings settings;
    std::memcpy(&settings, words.data(), sizeof settings);
    return settings;
}

std::vector<uint32_t> RandomWords(std::mt19937& random, size_t count)
{
    std::vector<uint32_t> words(count);
    for (uint32_t& word : words) word = static_cast<uint32_t>(random());
    return words;
}

std::string WordDifference(const std::vector<uint32_t>& seen, const std::vector<uint32_t>& wanted)
{
    if (seen.size() != wanted.size()) return "another number of words";
    for (size_t i = 0; i < seen.size(); ++i) {
        if (seen[i] == wanted[i]) continue;
        char text[100];
        snprintf(text, sizeof text, "offset %zu holds %08X instead of %08X", 4 * i, seen[i], wanted[i]);
        return text;
    }
    return {};
}
