#include "base/date_time.h"

namespace zr {

// Howard Hinnant's algorithms: the year is counted from March, so that the leap day ends it.
std::int64_t DaysFromCivil(int year, int month, int day) {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const int year_of_era = static_cast<int>(year - era * 400);
  const int day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

void CivilFromDays(std::int64_t days, int& year, int& month, int& day) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const int day_of_era = static_cast<int>(days - era * 146097);
  const int year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int month_index = (5 * day_of_year + 2) / 153;
  day = day_of_year - (153 * month_index + 2) / 5 + 1;
  month = month_index < 10 ? month_index + 3 : month_index - 9;
  year = static_cast<int>(year_of_era + era * 400 + (month <= 2));
}

// 1970-01-01 was a Thursday.
int DayOfWeek(const DateTime& moment) {
  const std::int64_t days = DaysFromCivil(moment.year, moment.month, moment.day);
  return static_cast<int>(((days % 7) + 7 + 4) % 7);
}

}  // namespace zr
