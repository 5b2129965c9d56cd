// The numbers and times the program leaves to the desktop, written as its locale writes them.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "platform/linux/headless_services.h"
#include "platform/linux/linux_desktop.h"

namespace zr::platform::linux_impl {
namespace {

bool MachineHasLocale(const char* name) {
  const locale_t locale = newlocale(LC_ALL_MASK, name, static_cast<locale_t>(nullptr));
  if (locale == static_cast<locale_t>(nullptr)) return false;
  freelocale(locale);
  return true;
}

// A locale the machine lacks leaves the plain forms; the named locales are tried where the
// machine has them.
TEST(DesktopLocale, TheClockAndTheDecimalSignFollowTheDesktopsLocale) {
  struct Case {
    const char* locale;
    const char* time_of_day;
    const char* decimal_sign;
    bool needs_the_locale;
  };
  const Case cases[] = {{"C", "15:04:05", ".", false},
                        {"xx_NOWHERE.UTF-8", "15:04:05", ".", false},
                        {"de_DE.UTF-8", "15:04:05", ",", true},
                        {"en_US.UTF-8", "03:04:05 PM", ".", true}};
  const LocalWallClock clock;
  const LinuxDesktop desktop;
  for (const Case& c : cases) {
    if (c.needs_the_locale && !MachineHasLocale(c.locale)) continue;
    setenv("LC_ALL", c.locale, 1);
    EXPECT_EQ(clock.TimeOfDayText(DateTime{2026, 1, 15, 15, 4, 5}), c.time_of_day) << c.locale;
    EXPECT_EQ(desktop.DecimalSign(), c.decimal_sign) << c.locale;
  }
  unsetenv("LC_ALL");
}

}  // namespace
}  // namespace zr::platform::linux_impl
