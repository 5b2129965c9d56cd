// Background work on its own thread: the work away from the logic thread, its end back on it,
// and no end for a job that is gone.

#include "platform/linux/thread_background_work.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/linux/poll_event_loop.h"

namespace zr::platform::linux_impl {
namespace {

TEST(ThreadBackgroundWork, WorksAwayFromTheLoopAndEndsOnIt) {
  PollEventLoop loop;
  ThreadBackgroundWork background(loop);
  const auto logic = std::this_thread::get_id();
  std::thread::id worked_on;
  std::thread::id ended_on;
  bool ended = false;
  const auto job = background.Start([&] { worked_on = std::this_thread::get_id(); },
                                    [&] {
                                      ended_on = std::this_thread::get_id();
                                      ended = true;
                                    });
  loop.RunModal([&] { return ended; });
  EXPECT_NE(worked_on, logic);
  EXPECT_EQ(ended_on, logic);
}

TEST(ThreadBackgroundWork, AJobDestroyedBeforeItsEndRunsDropsTheEnd) {
  PollEventLoop loop;
  ThreadBackgroundWork background(loop);
  std::atomic<bool> worked = false;
  bool ended = false;
  auto job = background.Start([&] { worked = true; }, [&] { ended = true; });
  job.reset();
  EXPECT_TRUE(worked);
  // The end of a later job comes after the dropped one's would have.
  bool later_ended = false;
  const auto later = background.Start([] {}, [&] { later_ended = true; });
  loop.RunModal([&] { return later_ended; });
  EXPECT_FALSE(ended);
}

}  // namespace
}  // namespace zr::platform::linux_impl
