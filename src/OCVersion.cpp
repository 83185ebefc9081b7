// Months are spelled here: the C library would spell them in the language of the user.
#include "src/OCVersion.h"

#include <cmath>
#include <cstdio>
#include <ctime>

std::string OCFileDate(double wallSeconds)
{
    constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    constexpr double kFarthest = 2.0e11; // beyond the year 8000, before any date overflows
    const double bounded = wallSeconds >= -kFarthest && wallSeconds <= kFarthest ? std::floor(wallSeconds) : 0.0;
    const auto seconds = static_cast<time_t>(bounded);
    tm parts = {};
    if (localtime_r(&seconds, &parts) == nullptr) parts = {};
    if (parts.tm_mon < 0 || parts.tm_mon > 11) parts.tm_mon = 0;
    char text[64];
    std::snprintf(text, sizeof text, "%02d-%s-%d %02d:%02d:%02d", parts.tm_mday, kMonths[parts.tm_mon],
                  parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}
