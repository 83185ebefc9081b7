#include "src/OCVersion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace {

/// The machine's time zone for as long as it lives.
class Zone {
  public:
    explicit Zone(const char* name)
    {
        if (const char* before = std::getenv("TZ")) before_ = before;
        setenv("TZ", name, 1);
        tzset();
    }
    ~Zone()
    {
        before_.empty() ? unsetenv("TZ") : setenv("TZ", before_.c_str(), 1);
        tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

  private:
    std::string before_{};
};

} // namespace

TEST(OCFileDate, IsTwoDigitsAnEnglishMonthAndTheTimeOfDay)
{
    const Zone zone("UTC0");
    EXPECT_EQ(OCFileDate(1136214245.75), "02-Jan-2006 15:04:05");
    EXPECT_EQ(OCFileDate(0), "01-Jan-1970 00:00:00");
    EXPECT_EQ(OCFileDate(1735689599), "31-Dec-2024 23:59:59");
    EXPECT_EQ(OCFileDate(951782400), "29-Feb-2000 00:00:00");
}

TEST(OCFileDate, FollowsTheZoneOfTheMachine)
{
    const Zone zone("EET-2");
    EXPECT_EQ(OCFileDate(1136214245), "02-Jan-2006 17:04:05");
}

TEST(OCFileDate, TimesThatNoCalendarHoldsBecomeTheFirst)
{
    const Zone zone("UTC0");
    EXPECT_EQ(OCFileDate(NAN), "01-Jan-1970 00:00:00");
    EXPECT_EQ(OCFileDate(1e300), "01-Jan-1970 00:00:00");
    EXPECT_EQ(OCFileDate(-INFINITY), "01-Jan-1970 00:00:00");
}
