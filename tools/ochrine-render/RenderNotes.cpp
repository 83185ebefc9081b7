// Readers of timecodes and of the headers of EXR and DPX files. The pixels are decoded elsewhere; here every byte is
// counted before it is read.
#include "tools/ochrine-render/RenderNotes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/timecode.h>
}

namespace {

constexpr size_t kAttributeBytesLimit = size_t{1} << 20; // all that are carried, together
constexpr size_t kTextLimit = 64;
constexpr size_t kTextBytesLimit = 65536;

/// Attributes that describe the source's pixels, which are not the output's, or that are written anew.
constexpr const char* kOwnAttributes[] = {"channels",
                                          "chunkCount",
                                          "compression",
                                          "dataWindow",
                                          "deepImageState",
                                          "displayWindow",
                                          "dwaCompressionLevel",
                                          "framesPerSecond",
                                          "lineOrder",
                                          "maxSamplesPerPixel",
                                          "multiView",
                                          "name",
                                          "pixelAspectRatio",
                                          "preview",
                                          "tiles",
                                          "timeCode",
                                          "type",
                                          "version",
                                          "view"};

uint32_t LittleWord(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

uint32_t BigWord(const uint8_t* bytes)
{
    return __builtin_bswap32(LittleWord(bytes));
}

/// The usual decimals mean their exact fractions; false for what is no rate.
bool RateFromNumber(double value, ClipRate* rate)
{
    if (!(value >= 1.0 && value <= 600.0)) return false;
    return ClipParseRate(std::to_string(value), rate);
}

/// Takes a text that ends in a zero within the bytes that are left.
bool TakeText(const uint8_t* bytes, size_t byteCount, size_t* at, std::string* text)
{
    const size_t left = std::min<size_t>(byteCount - *at, 256);
    const void* end = std::memchr(bytes + *at, 0, left);
    if (end == nullptr) return false;
    const size_t length = static_cast<size_t>(static_cast<const uint8_t*>(end) - (bytes + *at));
    text->assign(reinterpret_cast<const char*>(bytes + *at), length);
    *at += length + 1;
    return true;
}

/// What every reader of the output relies on must be of its kind; other attributes are their owner's business.
bool IsSound(const EXRAttribute& attribute, size_t size)
{
    if (attribute.name == "screenWindowCenter") return attribute.type == "v2f" && size == 8;
    if (attribute.name == "screenWindowWidth") return attribute.type == "float" && size == 4;
    return true;
}

void TakeOwnAttribute(const std::string& name, const std::string& type, const uint8_t* value, size_t size,
                      PictureNotes* notes)
{
    TimecodeDigits digits = {};
    if (name == "timeCode" && type == "timecode" && size == 8 && TimecodeFromBCD(LittleWord(value), &digits)) {
        notes->timecode = TimecodeToText(digits);
    }
    if (name == "framesPerSecond" && type == "rational" && size == 8) {
        const auto numerator = static_cast<int32_t>(LittleWord(value));
        const uint32_t denominator = LittleWord(value + 4);
        if (numerator < 1 || denominator < 1 || denominator > INT32_MAX) return;
        const ClipRate rate = {numerator, static_cast<int32_t>(denominator)};
        const double number = static_cast<double>(rate.numerator) / rate.denominator;
        if (number >= 1.0 && number <= 600.0) notes->rate = rate;
    }
}

/// Words of the header that change with the byte order, as first offset and count.
struct WordRun {
    uint16_t offset, count;
    uint8_t bytes;
};
constexpr WordRun kDPXWords[] = {{0, 2, 4},    {16, 5, 4},   {660, 1, 4},  {768, 2, 2},  {772, 2, 4},  {1408, 6, 4},
                                 {1620, 4, 2}, {1628, 2, 4}, {1712, 5, 4}, {1920, 2, 4}, {1932, 11, 4}};

bool IsText(const char* text, size_t limit)
{
    const size_t length = strnlen(text, limit);
    return length > 0 && length < limit;
}

} // namespace

bool TimecodeFromText(const std::string& text, TimecodeDigits* digits)
{
    if (text.size() != 11 || text[2] != ':' || text[5] != ':') return false;
    const char mark = text[8];
    if (mark != ':' && mark != ';' && mark != '.') return false;
    for (size_t i = 0; i < 4; ++i) {
        const char tens = text[i * 3];
        const char units = text[i * 3 + 1];
        if (tens < '0' || tens > '9' || units < '0' || units > '9') return false;
        digits->field[i] = static_cast<uint32_t>((tens - '0') * 10 + (units - '0'));
    }
    digits->isDrop = mark != ':';
    return digits->field[0] < 24 && digits->field[1] < 60 && digits->field[2] < 60;
}

std::string TimecodeToText(const TimecodeDigits& digits)
{
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%02u:%02u:%02u%c%02u", digits.field[0] % 100, digits.field[1] % 100,
                  digits.field[2] % 100, digits.isDrop ? ';' : ':', digits.field[3] % 100);
    return text;
}

std::string TimecodeAfter(const std::string& timecode, ClipRate rate, int64_t frames)
{
    AVTimecode counter = {};
    TimecodeDigits digits = {};
    if (rate.numerator < 1 || rate.denominator < 1 || frames < 0 || !TimecodeFromText(timecode, &digits)) return "";
    if (av_timecode_init_from_string(&counter, {rate.numerator, rate.denominator}, timecode.c_str(), nullptr) < 0) {
        return "";
    }
    counter.flags |= AV_TIMECODE_FLAG_24HOURSMAX;
    // Whole days change nothing, and keep the sum small.
    const int64_t day = int64_t{86400} * std::max<int64_t>(counter.fps, 1);
    const int64_t dropped = (counter.flags & AV_TIMECODE_FLAG_DROPFRAME) != 0 ? int64_t{counter.fps / 15} * 24 * 54 : 0;
    char text[AV_TIMECODE_STR_SIZE] = {};
    return av_timecode_make_string(&counter, text, static_cast<int>(frames % (day - dropped)));
}

bool TimecodeToBCD(const TimecodeDigits& digits, uint32_t* word)
{
    *word = 0;
    for (const uint32_t field : digits.field) {
        if (field > 99) return false;
        *word = *word << 8 | (field / 10) << 4 | field % 10;
    }
    return true;
}

bool TimecodeFromBCD(uint32_t word, TimecodeDigits* digits)
{
    // Two bits of the tens are flags in each field; of the frames the lower one tells dropped numbers.
    constexpr uint32_t masks[4] = {0x3f, 0x7f, 0x7f, 0x3f};
    for (uint32_t i = 0; i < 4; ++i) {
        const uint32_t field = word >> (24 - 8 * i) & masks[i];
        if ((field & 15) > 9 || field >> 4 > 9) return false;
        digits->field[i] = (field >> 4) * 10 + (field & 15);
    }
    digits->isDrop = (word & 0x40) != 0;
    return digits->field[0] < 24 && digits->field[1] < 60 && digits->field[2] < 60;
}

void NotesFromEXR(const uint8_t* bytes, size_t byteCount, PictureNotes* notes)
{
    if (byteCount < 8 || LittleWord(bytes) != 20000630) return;
    size_t carried = 0;
    for (size_t at = 8; at < byteCount && bytes[at] != 0;) {
        EXRAttribute attribute;
        if (!TakeText(bytes, byteCount, &at, &attribute.name) || !TakeText(bytes, byteCount, &at, &attribute.type)) {
            return;
        }
        if (byteCount - at < 4) return;
        const size_t size = LittleWord(bytes + at);
        at += 4;
        if (size > byteCount - at) return;
        const bool isOwn =
            std::find(std::begin(kOwnAttributes), std::end(kOwnAttributes), attribute.name) != std::end(kOwnAttributes);
        const bool isTwice = std::any_of(notes->attributes.begin(), notes->attributes.end(),
                                         [&](const EXRAttribute& other) { return other.name == attribute.name; });
        if (isOwn) {
            TakeOwnAttribute(attribute.name, attribute.type, bytes + at, size, notes);
        } else if (!isTwice && IsSound(attribute, size) && !attribute.type.empty() &&
                   size <= kAttributeBytesLimit - carried && notes->attributes.size() < 256) {
            carried += size;
            attribute.value.assign(bytes + at, bytes + at + size);
            notes->attributes.push_back(std::move(attribute));
        }
        at += size;
    }
}

void NotesFromDPX(const uint8_t* bytes, size_t byteCount, PictureNotes* notes)
{
    if (byteCount < 2048) return;
    const bool isBig = std::memcmp(bytes, "SDPX", 4) == 0;
    if (!isBig && std::memcmp(bytes, "XPDS", 4) != 0) return;
    std::vector<uint8_t> header(bytes, bytes + 2048);
    for (const WordRun& run : kDPXWords) {
        for (size_t i = 0; !isBig && i < run.count; ++i) {
            const auto word = header.begin() + run.offset + static_cast<ptrdiff_t>(i) * run.bytes;
            std::reverse(word, word + run.bytes);
        }
    }
    // Headers for television and film follow the generic one only when its industry section says so.
    const bool hasIndustry = BigWord(header.data() + 28) == 384;
    if (!hasIndustry) std::fill(header.begin() + 1664, header.end(), uint8_t{0xff});
    TimecodeDigits digits = {};
    const uint32_t timecode = BigWord(header.data() + 1920);
    if (timecode != 0xffffffff && TimecodeFromBCD(timecode, &digits)) notes->timecode = TimecodeToText(digits);
    for (const size_t offset : {size_t{1724}, size_t{1940}}) {
        const float rate = std::bit_cast<float>(BigWord(header.data() + offset));
        (void)RateFromNumber(static_cast<double>(rate), &notes->rate);
    }
    notes->dpxHeader = std::move(header);
}

void NotesFromPicture(const AVFrame& picture, const std::vector<uint8_t>& bytes, PictureNotes* notes)
{
    NotesFromEXR(bytes.data(), bytes.size(), notes);
    NotesFromDPX(bytes.data(), bytes.size(), notes);
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(picture.metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        // What EXR and DPX tell is carried whole.
        if (!notes->attributes.empty() || !notes->dpxHeader.empty() || notes->texts.size() >= kTextLimit) break;
        if (IsText(entry->key, 80) && IsText(entry->value, kTextBytesLimit)) {
            notes->texts.emplace_back(entry->key, entry->value);
        }
    }
    if (const AVFrameSideData* profile = av_frame_get_side_data(&picture, AV_FRAME_DATA_ICC_PROFILE);
        profile != nullptr && profile->size > 0 && profile->size <= kAttributeBytesLimit) {
        notes->iccProfile.assign(profile->data, profile->data + profile->size);
    }
}
