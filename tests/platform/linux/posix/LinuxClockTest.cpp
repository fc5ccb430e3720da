// Times of files in a zone that is not that of the machine.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "platform/Clock.h"

namespace zv {
namespace {

TEST(LinuxClock, AFilesTimeIsThatOfTheUsersZoneAtThatTime) {
    struct Row {
        std::int64_t written;
        int year, month, day, hour, minute;
    };
    // 31 December 2019, 18:29 and 18:30 UTC; 1 July 2020, 00:00 UTC; and a minute before 1970.
    const Row rows[] = {{132'222'905'400'000'000, 2019, 12, 31, 23, 59},
                        {132'222'906'000'000'000, 2020, 1, 1, 0, 0},
                        {132'380'352'000'000'000, 2020, 7, 1, 6, 30},
                        {116'444'735'400'000'000, 1970, 1, 1, 5, 29}};
    setenv("TZ", "AHEAD-5:30SUMMER-6:30,M5.1.0,M9.1.0", 1);
    tzset();
    for (const Row& row : rows) {
        const LocalTime local = LocalTimeOf(row.written);
        EXPECT_EQ(local.year, row.year) << row.written;
        EXPECT_EQ(local.month, row.month) << row.written;
        EXPECT_EQ(local.day, row.day) << row.written;
        EXPECT_EQ(local.hour, row.hour) << row.written;
        EXPECT_EQ(local.minute, row.minute) << row.written;
    }
    unsetenv("TZ");
    tzset();
}

}  // namespace
}  // namespace zv
