#pragma once
// A program in a fresh world with one simulated device connected, for tests that drive the
// capture engine directly.

#include <gtest/gtest.h>

#include <string>

#include "apps/scenario/world.h"
#include "capture/video_screen.h"
#include "main_window/master.h"

namespace zr::testing {

class RecordingTest : public ::testing::Test {
 protected:
  scenario::World world;

  // Adds a simulated device of the driver kind ("vfw") or the control kind ("wdm").
  platform::sim::DeviceSpec& AddDevice(platform::sim::DeviceSpec::Kind kind, int width = 320, int height = 240,
                                       int fps = 10);
  // Starts the program and connects device `index` of `kind`.
  Program& StartAndConnect(const std::string& kind, int index = 0);
  // A movie limit of `seconds` at `rate` frames per second, written to `file` in the program folder.
  void SetMovie(int seconds, int rate, const std::string& file);

  Master& master() { return world.program().Window<Master>(); }
  VideoScreen& screen() { return world.program().Window<VideoScreen>(); }
  AppState& state() { return world.program().state; }
  std::string AppFile(const std::string& name) const { return world.AppFolder() + name; }
  bool LogHas(const std::string& line_start) const;
};

// What ffprobe reads in a movie: the counted video frames and the size.
struct ProbedMovie {
  long frames = -1;
  int width = 0;
  int height = 0;
};
ProbedMovie ProbeMovie(const std::string& path);

}  // namespace zr::testing
