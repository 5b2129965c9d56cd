#pragma once
// What every real event loop promises the sockets that serve the logic: a watched descriptor is
// called back on the loop's thread in its passes (a modal wait, Yield) once it is ready, never
// inside a blocking call, and no more once it is no longer watched.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

#include "platform/descriptor_watcher.h"
#include "platform/event_loop.h"

namespace zr::testing {

inline void ExpectDescriptorsCalledBackInPassesOnly(platform::EventLoop& loop, platform::DescriptorWatcher& watcher) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  int readable = 0;
  watcher.Watch(ends[0], {.read = true}, [&](bool can_read, bool) {
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
  watcher.Unwatch(ends[0]);
  ASSERT_EQ(write(ends[1], "z", 1), 1);
  loop.Yield();
  EXPECT_EQ(readable, 2);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace zr::testing
