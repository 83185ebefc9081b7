// Timecode digits come straight out of a table of divisors, the same for every minute: existing positions depend on it,
// so 1,798 drop frames are one minute and no frame number is corrected.
#include "src/support/BPTimecode.h"

#include "src/platform/BPLog.h"

#include <cstdio>

namespace {

struct Divisors {
    int64_t second, seconds10, minutes1, minutes10, hours1, hours10; // frames in one unit of each digit
    char separator; // before the frames; the other fields are parted by colons
};

struct Family {
    uint32_t rateA, rateB;
    bool drop;
    Divisors divisors;
};

constexpr Family kFamilies[] = {
    {2997, 3000, true, {30, 300, 1798, 17982, 107892, 1078920, ';'}},
    {2398, 2400, true, {24, 240, 1438, 14382, 86292, 862920, ';'}},
    {5994, 6000, true, {60, 600, 3598, 35982, 215892, 2158920, ';'}},
    {2997, 3000, false, {30, 300, 1800, 18000, 108000, 1080000, ':'}},
    {2398, 2400, false, {24, 240, 1440, 14400, 86400, 864000, ':'}},
    {5994, 6000, false, {60, 600, 3600, 36000, 216000, 2160000, ':'}},
};

Divisors DivisorsOf(uint32_t rate, bool drop)
{
    for (const Family& family : kFamilies)
        if ((rate == family.rateA || rate == family.rateB) && drop == family.drop) return family.divisors;
    const int64_t r = rate;
    return {r / 100, 10 * r / 100, 60 * r / 100, 600 * r / 100, 3600 * r / 100, 36000 * r / 100, ':'};
}

/// Takes as many units as fit off `rest`. A unit of no frames takes nothing.
int64_t TakeDigit(int64_t* rest, int64_t unit)
{
    if (unit == 0) return 0;
    const int64_t digit = *rest / unit;
    *rest -= digit * unit;
    return digit;
}

char Character(int64_t digit)
{
    return static_cast<char>(static_cast<unsigned char>('0' + digit)); // values outside 0 to 9 are not guarded
}

void WriteTimecode(int64_t rest, const Divisors& unit, char* text)
{
    const int64_t hours10Digit = TakeDigit(&rest, unit.hours10);
    const int64_t hours1Digit = TakeDigit(&rest, unit.hours1);
    const int64_t minutes10Digit = TakeDigit(&rest, unit.minutes10);
    const int64_t minutes1Digit = TakeDigit(&rest, unit.minutes1);
    const int64_t seconds10Digit = TakeDigit(&rest, unit.seconds10);
    const int64_t seconds1Digit = TakeDigit(&rest, unit.second);
    const char written[] = {Character(hours10Digit),   Character(hours1Digit),   ':',
                            Character(minutes10Digit), Character(minutes1Digit), ':',
                            Character(seconds10Digit), Character(seconds1Digit), unit.separator,
                            Character(rest / 10),      Character(rest % 10),     0};
    for (const char c : written) *text++ = c;
}

} // namespace

void BPFramesToTimecodeCString(int32_t frame, uint32_t frameRate100, uint32_t displayFormat, uint32_t dropFlag,
                               uint32_t framesPerFoot, int32_t startOffset, char* text, uint32_t length)
{
    if (length > 0) text[0] = 0;
    const long long shown = static_cast<long long>(frame) + startOffset;
    switch (displayFormat) {
    case 0:
    case bpTimeTimecode: {
        BP_ASSERT(length >= 12, "BPTimecode");
        if (length < 12) return;
        BP_ASSERT(frameRate100 != 0, "BPTimecode");
        if (frameRate100 == 0) return;
        const Divisors unit = DivisorsOf(frameRate100, dropFlag == kBPDropFrame);
        const int64_t hours10 = unit.hours10, hours1 = unit.hours1, minutes10 = unit.minutes10;
        const int64_t minutes1 = unit.minutes1, seconds10 = unit.seconds10, seconds1 = unit.second;
        BP_ASSERT(hours10 != 0 && hours1 != 0 && minutes10 != 0 && minutes1 != 0 && seconds10 != 0 && seconds1 != 0,
                  "BPTimecode");
        WriteTimecode(frame, unit, text);
        return;
    }
    case bpTimeFrames: std::snprintf(text, length, "%05lld", shown); return;
    case bpTimeFeet:
        BP_ASSERT(framesPerFoot != 0, "BPTimecode");
        if (framesPerFoot == 0) return;
        std::snprintf(text, length, "%04lld+%02lld", shown / framesPerFoot, shown % framesPerFoot);
        return;
    default:
        BPDebugLog("BPFramesToTimecodeCString: unknown timecode display format %d\n", static_cast<int>(displayFormat));
    }
}
