// The picture window's effects on a 1920x1080 frame of the built-in camera:
//  - each effect in the program, in CPU time of the thread that runs it (a machine busy with
//    other work does not count), against the time of a frame of the window (16.7 ms: an effect
//    runs within the handler, so it must not hold the window longer);
//  - `zandrell --effect KEY in.bmp out.bmp` against the closest ImageMagick command on the same
//    file, `convert in.bmp OPTION out.bmp`, in the same run: both start, read the bitmap, apply
//    the effect and write the bitmap, so the figure is what a user scripting either would pay
//    (target: at most 1.0 times ImageMagick's time).
//
// Usage: effects_bench [RUNS]   (default 7; the median run counts)

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "image/bmp.h"
#include "image/picture_effects.h"
#include "image/windows/image_window.h"
#include "platform/linux/test_camera.h"

namespace {

double WallMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double ThreadCpuMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double MedianMs(int runs, const std::function<double()>& clock, const std::function<bool()>& run) {
  std::vector<double> times;
  for (int n = 0; n < runs; ++n) {
    const double started = clock();
    if (!run()) return -1;
    times.push_back(clock() - started);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

struct Pair {
  const char* key;          // the effects menu's key
  const char* imagemagick;  // the closest ImageMagick option
};

// -flop mirrors left to right, as "flip" does; -flip turns top to bottom, the nearest to the half
// turn of "mirror"; -spread moves each pixel by a random offset as "diffuse" does.
constexpr Pair kPairs[] = {
    {"negative", "-negate"},       {"flip", "-flop"},
    {"mirror", "-flip"},           {"greyscale", "-colorspace gray"},
    {"soften", "-blur 0x1"},       {"sharpen", "-sharpen 0x1"},
    {"solarize", "-solarize 50%"}, {"emboss", "-emboss 1"},
    {"diffuse", "-spread 2"},      {"lighting", "-evaluate multiply 0.5"},
};

}  // namespace

int main(int argc, char** argv) {
  using namespace zr;
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-effects-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  platform::Picture frame;
  platform::linux_impl::TestPattern(1920, 1080, 128, 128).Render(123, 4'100'000, 30, frame);
  const std::string in = (folder / "in.bmp").string();
  const std::string out = (folder / "out.bmp").string();
  WriteBmpFile(frame, in);
  const std::string program = (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "zandrell").string();

  bool within = true;
  std::printf("effects on a 1920x1080 picture, median of %d runs\n", runs);
  std::printf("  %-10s %9s %14s %14s %7s\n", "effect", "CPU", "zandrell", "ImageMagick", "ratio");
  for (const Pair& pair : kPairs) {
    const EffectsMenuEntry* entry = FindEffectsMenuEntry(pair.key);
    const double effect_ms = MedianMs(runs, ThreadCpuMs, [&] {
      const auto result = ApplyEffect(*entry->effect, frame, EffectInputs{0, 1});
      return result.width == frame.width;
    });
    const std::string ours = program + " --effect " + pair.key + " '" + in + "' '" + out + "'";
    const std::string theirs = "convert '" + in + "' " + pair.imagemagick + " '" + out + "'";
    const double ours_ms = MedianMs(runs, WallMs, [&] { return std::system(ours.c_str()) == 0; });
    const double theirs_ms = MedianMs(runs, WallMs, [&] { return std::system(theirs.c_str()) == 0; });
    std::printf("  %-10s %6.2f ms %11.1f ms", pair.key, effect_ms, ours_ms);
    if (theirs_ms <= 0) {
      std::printf("  convert could not run (package imagemagick)\n");
      continue;
    }
    const double ratio = ours_ms / theirs_ms;
    std::printf(" %11.1f ms %6.2fx  (%s)\n", theirs_ms, ratio, pair.imagemagick);
    within = within && ours_ms > 0 && ratio <= 1.0 && effect_ms < 1000.0 / 60;
  }
  std::printf("targets: each effect within a frame (16.7 ms) in the window, at most 1.0x ImageMagick's time\n");
  std::filesystem::remove_all(folder);
  return within ? 0 : 1;
}
