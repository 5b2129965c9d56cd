// The loop of the program without windows: timers on the steady clock, and events posted from
// the back ends' threads.

#include "platform/linux/poll_event_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

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
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  int readable = 0;
  loop.Watch(ends[0], {.read = true}, [&](bool can_read, bool) {
    char byte = 0;
    if (can_read && read(ends[0], &byte, 1) == 1) ++readable;
  });
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    [[maybe_unused]] const auto written = write(ends[1], "x", 1);
  });
  loop.RunModal([&] { return readable == 1; });
  writer.join();
  // A blocking wait leaves the descriptor alone; the next pass takes it.
  ASSERT_EQ(write(ends[1], "y", 1), 1);
  bool looked = false;
  loop.Block([&] { return std::exchange(looked, true); });
  EXPECT_EQ(readable, 1);
  loop.Yield();
  EXPECT_EQ(readable, 2);
  // Once unwatched, nothing more is called back.
  loop.Unwatch(ends[0]);
  ASSERT_EQ(write(ends[1], "z", 1), 1);
  loop.Yield();
  EXPECT_EQ(readable, 2);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace zr::platform::linux_impl
