#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>

#include "IsolatedCheck.h"
#include "LogTime.h"

namespace {

using std::chrono::milliseconds;
using TimePoint = std::chrono::system_clock::time_point;

// RAII: sets the time zone of the process.
struct TimeZone {
    explicit TimeZone(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
    ~TimeZone() {
        unsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
};

// What the C library makes of `time`, without the milliseconds.
std::string Expected(std::time_t time) {
    std::tm utc = {};
    gmtime_r(&time, &utc);
    std::array<char, 100> text = {};
    EXPECT_GT(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc), 0U);
    return text.data();
}

}  // namespace

TEST(LogTimeTest, ShowsMillisecondsAndOffset) {
    const struct {
        long long milliseconds;
        long offset;
        const char* text;
    } cases[] = {
        {0, 0, "1970-01-01T00:00:00.000+00:00"},
        {1'714'559'696'789, 7200, "2024-05-01T12:34:56.789+02:00"},
        {1'709'164'800'001, -1, "2024-02-28T23:59:59.001-00:00"},
        {1'709'164'800'010, 20'700, "2024-02-29T05:45:00.010+05:45"},
        {1'704'067'199'999, -12'600, "2023-12-31T20:29:59.999-03:30"},
        {-1, 0, "1970-01-01T00:00:00.000+00:00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FormatLogTime(TimePoint(milliseconds(c.milliseconds)), c.offset), c.text);
    }
}

TEST(LogTimeTest, AgreesWithCLibraryAboutEveryDay) {
    constexpr std::time_t kDay = 86'400;
    for (std::time_t time = 0; time < 150 * 365 * kDay; time += kDay - 1) {
        const TimePoint point = std::chrono::system_clock::from_time_t(time);
        ASSERT_EQ(FormatLogTime(point, 0), Expected(time) + ".000+00:00");
    }
}

TEST(LogTimeTest, FollowsTimeZoneUntilProcessIsForked) {
    const TimeZone before("UTC-3:30");
    EXPECT_EQ(FormatLogTime(TimePoint()), "1970-01-01T03:30:00.000+03:30");
    ExpectHolds(InChild([] {
        const TimeZone inChild("UTC-1");
        return FormatLogTime(TimePoint()) == "1970-01-01T03:30:00.000+03:30";
    }));
    const TimeZone after("UTC-1");
    EXPECT_EQ(FormatLogTime(TimePoint()), "1970-01-01T01:00:00.000+01:00");
}
