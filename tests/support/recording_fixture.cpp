#include "tests/support/recording_fixture.h"

#include <array>
#include <cstdio>
#include <memory>

namespace zr::testing {

platform::sim::DeviceSpec& RecordingTest::AddDevice(platform::sim::DeviceSpec::Kind kind, int width, int height,
                                                    int fps) {
  platform::sim::DeviceSpec described;
  described.kind = kind;
  described.name = kind == platform::sim::DeviceSpec::Kind::Vfw ? "Sim Driver" : "Sim Device";
  described.width = width;
  described.height = height;
  described.fps = fps;
  world.devices->devices.push_back(described);
  return world.devices->devices.back();
}

Program& RecordingTest::StartAndConnect(const std::string& kind, int index) {
  world.Start();
  world.program().Window<VideoScreen>().ConnectVideoCaptureDevice(index, kind, "Sim");
  return world.program();
}

void RecordingTest::SetMovie(int seconds, int rate, const std::string& file) {
  master().MovieFrameRateControl.Value = rate;
  master().MovieHoursControl.Value = 0;
  master().MovieMinutesControl.Value = 0;
  master().MovieSecondsControl.Value = seconds;
  world.settings->Save("ZR", "MD", "OQ", "0");
  screen().SetFilename(AppFile(file));
}

bool RecordingTest::LogHas(const std::string& line_start) const {
  for (const auto& line : world.devices->log)
    if (line.rfind(line_start, 0) == 0) return true;
  return false;
}

ProbedMovie ProbeMovie(const std::string& path) {
  const std::string command =
      "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
      "stream=nb_read_frames,width,height -of csv=p=0 '" +
      path + "' 2>/dev/null";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  ProbedMovie movie;
  if (!pipe) return movie;
  std::array<char, 256> line{};
  if (fgets(line.data(), line.size(), pipe.get()) &&
      std::sscanf(line.data(), "%d,%d,%ld", &movie.width, &movie.height, &movie.frames) != 3)
    movie.frames = -1;
  return movie;
}

}  // namespace zr::testing
