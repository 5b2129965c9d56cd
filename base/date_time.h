#pragma once
// A moment of the wall clock as the program shows it: the calendar date and the time of day.

namespace zr {

struct DateTime {
  int year = 2026;
  int month = 1;
  int day = 15;
  int hour = 10;
  int minute = 0;
  int second = 0;
};

}  // namespace zr
