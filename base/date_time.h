#pragma once
// A moment of the wall clock as the program shows it: the calendar date and the time of day.

#include <cstdint>

namespace zr {

struct DateTime {
  int year = 2026;
  int month = 1;
  int day = 15;
  int hour = 10;
  int minute = 0;
  int second = 0;
};

// Days since 1970-01-01 of a date of the proleptic Gregorian calendar, and back.
std::int64_t DaysFromCivil(int year, int month, int day);
void CivilFromDays(std::int64_t days, int& year, int& month, int& day);

// The day of the week of a date: 0 Sunday to 6 Saturday.
int DayOfWeek(const DateTime& moment);

}  // namespace zr
