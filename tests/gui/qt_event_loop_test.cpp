// The desktop's loop: timers on the toolkit's loop with the shared timer rules, and events
// posted from the back ends' threads, and watched descriptors.

#include "gui/qt_event_loop.h"

#include <gtest/gtest.h>

#include "tests/support/descriptor_checks.h"
#include "tests/support/posting_checks.h"

namespace zr::gui {
namespace {

TEST(QtLoop, TimersFireOnTheToolkitsLoopAndPostedEventsRun) {
  QtEventLoop loop;
  struct Counter final : platform::TimerClient {
    int fired = 0;
    void Fire() override { ++fired; }
  } counter;
  bool posted = false;
  loop.StartTimer(counter, 10);
  loop.Post([&] { posted = true; });
  const std::int64_t start = loop.NowMs();
  loop.RunModal([&] { return counter.fired >= 3 || loop.NowMs() - start > 2000; });
  loop.StopTimer(counter);
  EXPECT_GE(counter.fired, 3);
  EXPECT_TRUE(posted);
}

TEST(QtLoop, EventsPostedFromManyThreadsRunOnTheLoopInOrder) {
  QtEventLoop loop;
  testing::ExpectPostsFromThreadsArriveInOrder(loop);
}

TEST(QtLoop, AWatchedDescriptorIsCalledBackInPassesButNeverInsideABlockingWait) {
  QtEventLoop loop;
  testing::ExpectDescriptorsCalledBackInPassesOnly(loop, loop);
}

}  // namespace
}  // namespace zr::gui
