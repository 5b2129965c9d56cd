#include "base/date_time.h"

#include <gtest/gtest.h>

namespace zr {
namespace {

TEST(DateTimeTest, DaysCountFromTheEpochAcrossLeapDaysAndCenturies) {
  EXPECT_EQ(DaysFromCivil(1970, 1, 1), 0);
  EXPECT_EQ(DaysFromCivil(1969, 12, 31), -1);
  EXPECT_EQ(DaysFromCivil(2000, 3, 1) - DaysFromCivil(2000, 2, 28), 2);
  EXPECT_EQ(DaysFromCivil(2100, 3, 1) - DaysFromCivil(2100, 2, 28), 1);
  for (const std::int64_t days : {-800000LL, -1LL, 0LL, 11016LL, 20468LL, 60000LL}) {
    int year = 0, month = 0, day = 0;
    CivilFromDays(days, year, month, day);
    EXPECT_EQ(DaysFromCivil(year, month, day), days);
  }
}

TEST(DateTimeTest, DayOfWeekCountsFromSunday) {
  EXPECT_EQ(DayOfWeek(DateTime{1970, 1, 1}), 4);
  EXPECT_EQ(DayOfWeek(DateTime{2026, 1, 15}), 4);
  EXPECT_EQ(DayOfWeek(DateTime{2026, 3, 8}), 0);
  EXPECT_EQ(DayOfWeek(DateTime{2024, 2, 29}), 4);
  EXPECT_EQ(DayOfWeek(DateTime{1969, 12, 28}), 0);
  EXPECT_EQ(DayOfWeek(DateTime{1900, 1, 1}), 1);
}

}  // namespace
}  // namespace zr
