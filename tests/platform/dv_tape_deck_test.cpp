// The program's own tape deck: the transport moves the tape at its speeds and stops at either
// end, the time code counts in decimal digit pairs, and each frame has its scene's date.

#include "platform/dv_tape_deck.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/formatting.h"

namespace zr::platform {
namespace {

constexpr std::int64_t kMinuteMs = 60'000;

std::string Shown(const DateTime& moment) { return DateText(moment) + " " + TimeText(moment); }

TEST(DvTapeDeck, TheTransportMovesTheTapeAtItsSpeedAndStopsAtEitherEnd) {
  DvTapeDeck deck = MakeDemoTapeDeck();
  EXPECT_EQ(deck.Command(0, 0), dv_transport::kStop);
  EXPECT_EQ(deck.Command(dv_transport::kPlay, 0), dv_transport::kPlay);
  EXPECT_EQ(deck.Frame(1'000), 25);
  EXPECT_EQ(deck.Command(dv_transport::kPause, 1'020), dv_transport::kPause);
  EXPECT_EQ(deck.Frame(9'000), 25);  // half a frame is kept, not lost
  EXPECT_EQ(deck.Command(dv_transport::kFastForward, 9'000), dv_transport::kFastForward);
  EXPECT_EQ(deck.Frame(10'000), 275);
  EXPECT_EQ(deck.Command(4, 10'000), dv_transport::kFastForward);  // no command: nothing changes
  EXPECT_EQ(deck.Frame(10 * kMinuteMs), 60 * 60 * 25 - 1);         // the end of the hour's tape
  EXPECT_EQ(deck.Command(0, 10 * kMinuteMs), dv_transport::kStop);
  deck.Command(dv_transport::kRewind, 10 * kMinuteMs);
  EXPECT_EQ(deck.Frame(20 * kMinuteMs), 0);
  EXPECT_EQ(deck.Command(0, 20 * kMinuteMs), dv_transport::kStop);
}

TEST(DvTapeDeck, TheTimeCodeAndTheDateFollowThePositionAcrossScenes) {
  struct Case {
    std::int64_t wound_ms;  // of fast forward from the start
    std::uint32_t time_code;
    DateTime shot;
  };
  const Case cases[] = {
      {0, 0x00000000, {2025, 6, 14, 10, 0, 0}},
      {1'004, 0x00001001, {2025, 6, 14, 10, 0, 10}},
      {30'000, 0x00050000, {2025, 6, 15, 16, 30, 0}},
      {359'996, 0x00595924, {2025, 8, 2, 9, 54, 59}},
  };
  for (const auto& c : cases) {
    DvTapeDeck deck = MakeDemoTapeDeck();
    deck.Command(dv_transport::kFastForward, 0);
    EXPECT_EQ(deck.TimeCode(c.wound_ms), c.time_code) << c.wound_ms;
    EXPECT_EQ(Shown(deck.RecordDate(c.wound_ms)), Shown(c.shot)) << c.wound_ms;
  }
}

TEST(DvTapeDeck, SecondsAfterCarryIntoTheNextDayMonthAndYear) {
  EXPECT_EQ(Shown(SecondsAfter({2025, 12, 31, 23, 59, 30}, 45)), "2026-01-01 00:00:15");
  EXPECT_EQ(Shown(SecondsAfter({2024, 2, 28, 12, 0, 0}, 86'400)), "2024-02-29 12:00:00");
}

}  // namespace
}  // namespace zr::platform
