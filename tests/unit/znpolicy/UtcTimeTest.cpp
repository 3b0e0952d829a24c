#include <gtest/gtest.h>

#include <limits>

#include "UtcTime.h"

TEST(UtcTime, FormatsAsIso8601) {
    EXPECT_EQ(UtcTime(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(UtcTime(1769904000), "2026-02-01T00:00:00Z");
    EXPECT_EQ(UtcTime(-1), "1969-12-31T23:59:59Z");
}

TEST(UtcTime, IsEmptyBeyondTheCalendar) {
    EXPECT_EQ(UtcTime(std::numeric_limits<std::time_t>::max()), "");
}
