// The loop of the program without windows: timers on the steady clock, and events posted from
// the back ends' threads.

#include "platform/linux/poll_event_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

#include "tests/support/descriptor_checks.h"
#include "tests/support/posting_checks.h"

namespace zr::platform::linux_impl {
namespace {

TEST(PollEventLoop, EventsPostedFromManyThreadsRunOnTheLoopInOrder) {
  PollEventLoop loop;
  testing::ExpectPostsFromThreadsArriveInOrder(loop);
}

TEST(PollEventLoop, ABlockingWaitEndsWhenAnotherThreadWakesIt) {
  PollEventLoop loop;
  std::atomic<bool> done{false};
  std::thread worker([&] {
    done = true;
    loop.Wake();
  });
  loop.Block([&] { return done.load(); });
  worker.join();
  EXPECT_TRUE(done);
}

TEST(PollEventLoop, AWatchedDescriptorIsCalledBackInPassesButNeverInsideABlockingWait) {
  PollEventLoop loop;
  testing::ExpectDescriptorsCalledBackInPassesOnly(loop, loop);
}

}  // namespace
}  // namespace zr::platform::linux_impl
