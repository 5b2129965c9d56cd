#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "platform/linux/headless_services.h"

namespace zr::platform::linux_impl {
namespace {

bool MachineHasLocale(const char* name) {
  const locale_t locale = newlocale(LC_TIME_MASK, name, static_cast<locale_t>(nullptr));
  if (locale == static_cast<locale_t>(nullptr)) return false;
  freelocale(locale);
  return true;
}

// The clock's time of day reads as the desktop's locale writes it; a locale the machine lacks
// leaves the plain 24-hour form. The named locales are tried where the machine has them.
TEST(LocalWallClock, WritesTheTimeOfDayAsTheDesktopsLocaleDoes) {
  struct Case {
    const char* locale;
    const char* text;
    bool needs_the_locale;
  };
  const Case cases[] = {{"C", "15:04:05", false},
                        {"xx_NOWHERE.UTF-8", "15:04:05", false},
                        {"de_DE.UTF-8", "15:04:05", true},
                        {"en_US.UTF-8", "03:04:05 PM", true}};
  const LocalWallClock clock;
  for (const Case& c : cases) {
    if (c.needs_the_locale && !MachineHasLocale(c.locale)) continue;
    setenv("LC_ALL", c.locale, 1);
    EXPECT_EQ(clock.TimeOfDayText(DateTime{2026, 1, 15, 15, 4, 5}), c.text) << c.locale;
  }
  unsetenv("LC_ALL");
}

}  // namespace
}  // namespace zr::platform::linux_impl
