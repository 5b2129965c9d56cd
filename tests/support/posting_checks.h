#pragma once
// What every real event loop promises its back ends: events posted from any thread all run,
// once each, on the thread that runs the loop, and each poster's events keep their order. Run
// under ThreadSanitizer, this is also the check that posting needs no lock of the caller's.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/event_loop.h"

namespace zr::testing {

inline void ExpectPostsFromThreadsArriveInOrder(platform::EventLoop& loop) {
  constexpr int kPosters = 4;
  constexpr int kEventsEach = 500;
  const std::thread::id loop_thread = std::this_thread::get_id();
  std::vector<std::vector<int>> received(kPosters);
  int run = 0;
  bool all_on_loop_thread = true;
  std::vector<std::thread> posters;
  for (int poster = 0; poster < kPosters; ++poster)
    posters.emplace_back([&, poster] {
      for (int event = 0; event < kEventsEach; ++event)
        loop.Post([&, poster, event] {
          all_on_loop_thread = all_on_loop_thread && std::this_thread::get_id() == loop_thread;
          received[static_cast<std::size_t>(poster)].push_back(event);
          ++run;
        });
    });
  const std::int64_t start = loop.NowMs();
  loop.RunModal([&] { return run == kPosters * kEventsEach || loop.NowMs() - start > 10000; });
  for (auto& poster : posters) poster.join();
  loop.Yield();
  EXPECT_EQ(run, kPosters * kEventsEach);
  EXPECT_TRUE(all_on_loop_thread);
  for (const auto& events : received) {
    ASSERT_EQ(events.size(), static_cast<std::size_t>(kEventsEach));
    for (int event = 0; event < kEventsEach; ++event) EXPECT_EQ(events[static_cast<std::size_t>(event)], event);
  }
}

}  // namespace zr::testing
