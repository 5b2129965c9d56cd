// The tape's position as the capture window shows it: the time code's eight hexadecimal digits
// in pairs, taken as they stand.

#include "capture/dv_deck_control.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace zr {
namespace {

TEST(TapePositionText, ShowsTheDigitPairsAsTheyStand) {
  struct Case {
    std::uint32_t time_code;
    const char* shown;
  };
  const Case cases[] = {{0x123456, "00:12:34:56"},
                        {0, "00:00:00:00"},
                        {0x23595924, "23:59:59:24"},
                        {0xFFFFFFFF, "FF:FF:FF:FF"},
                        {0x0A0B0C0D, "0A:0B:0C:0D"}};
  for (const auto& c : cases) EXPECT_EQ(TapePositionText(c.time_code), c.shown) << c.shown;
}

}  // namespace
}  // namespace zr
