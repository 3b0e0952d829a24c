#include "LogTime.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// localtime_r() and gmtime_r() take a lock that another thread may have held when the process
// forked. Nobody would ever release it in the child, so that a child must not call them.

namespace {

constexpr long kUnknown = LONG_MIN;
constexpr long long kSecondsPerDay = 86'400;

std::atomic<long> lastOffset = kUnknown;
std::atomic<bool> isForked = false;

// Returns the UTC offset of local time, in seconds.
long UtcOffset(std::time_t time) {
    if (!isForked) {
        std::tm local = {};
        lastOffset = localtime_r(&time, &local) != nullptr ? local.tm_gmtoff : 0;
    }
    return lastOffset;
}

void FindOffsetForChild() {
    if (lastOffset == kUnknown) {
        UtcOffset(std::time(nullptr));
    }
}

[[maybe_unused]] const int forkHandlers =
    pthread_atfork(FindOffsetForChild, nullptr, [] { isForked = true; });

struct Date {
    int year;
    int month;
    int day;
};

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1 : 0);
}

// The date `days` days after 1970-01-01.
Date DateAfter(long long days) {
    Date date = {1970, 1, 1};
    for (; days >= 365 + (IsLeapYear(date.year) ? 1 : 0); ++date.year) {
        days -= 365 + (IsLeapYear(date.year) ? 1 : 0);
    }
    for (; days >= DaysInMonth(date.year, date.month); ++date.month) {
        days -= DaysInMonth(date.year, date.month);
    }
    date.day += static_cast<int>(days);
    return date;
}

}  // namespace

std::string FormatLogTime(std::chrono::system_clock::time_point time) {
    return FormatLogTime(time, UtcOffset(std::chrono::system_clock::to_time_t(time)));
}

std::string FormatLogTime(std::chrono::system_clock::time_point time, long offset) {
    using std::chrono::milliseconds;
    const long long sinceEpoch =
        std::chrono::duration_cast<milliseconds>(time.time_since_epoch()).count();
    const long long local = std::max(sinceEpoch + offset * 1000LL, 0LL);
    const long long seconds = local / 1000;
    const Date date = DateAfter(seconds / kSecondsPerDay);
    const auto second = static_cast<int>(seconds % kSecondsPerDay);
    const auto minutes = static_cast<int>(std::labs(offset) / 60);
    std::array<char, 160> text = {};
    (void)std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03d%c%02d:%02d",
                        date.year, date.month, date.day, second / 3600, second / 60 % 60,
                        second % 60, static_cast<int>(local % 1000), offset < 0 ? '-' : '+',
                        minutes / 60, minutes % 60);
    return text.data();
}
