// Saves every frame of a 60-second 640x480 Motion JPEG movie as picture files with the program,
// as a user runs it without windows:
//   zandrell --extract x.avi OUT/shot.bmp      (and OUT/shot.jpg)
// and compares it, in the same run, with the ffmpeg tool doing the same job:
//   ffmpeg -i x.avi OUT/%06d.bmp
//   ffmpeg -i x.avi -q:v 3 OUT/%06d.jpg
// The program codes JPEG pictures at the quality set for it; the benchmark sets 90, about what
// the tool's -q:v 3 gives. Target: wall time at most 1.0 times the tool's for each kind. Each
// figure is the best of three rounds, the two taking turns.
//
// Usage: frame_extraction_bench [SECONDS]   (default 60)

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/bench_support.h"

namespace {

namespace fs = std::filesystem;
using zr::bench::ChildFigures;
using zr::bench::Run;

constexpr int kRounds = 3;

std::size_t FilesIn(const fs::path& folder) {
  std::error_code error;
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder, error), fs::directory_iterator()));
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
  const fs::path folder = fs::temp_directory_path() / ("zr-extraction-bench-" + std::to_string(getpid()));
  fs::create_directories(folder);
  zr::bench::UseSettingsIn(folder / "config", "640x480", 30);
  {
    zr::platform::linux_impl::IniSettingsStore settings(zr::platform::linux_impl::DefaultSettingsFolder());
    zr::SaveSetting(settings, zr::settings::JpegQualityAtStart, "90");
  }
  const fs::path movie = folder / "x.avi";
  if (Run("ffmpeg -v error -f lavfi -i testsrc2=size=640x480:rate=30 -t " + std::to_string(seconds) +
          " -c:v mjpeg -q:v 3 '" + movie.string() + "'")
          .status != 0) {
    std::fprintf(stderr, "ffmpeg cannot write the movie\n");
    return 1;
  }
  const std::string program = (fs::read_symlink("/proc/self/exe").parent_path() / "zandrell").string();
  const fs::path out = folder / "out";

  bool met = true;
  std::printf("every frame of a %d s 640x480 Motion JPEG movie at 30 frames a second\n", seconds);
  std::printf("%-6s %-8s %9s %9s %10s %8s\n", "kind", "who", "wall s", "CPU s", "peak MB", "files");
  for (const char* kind : {"bmp", "jpg"}) {
    const std::string extension = kind;
    // Each run starts with the movie in the page cache, no pictures and the disk written.
    const auto run = [&](const std::string& command) {
      fs::remove_all(out);
      fs::create_directories(out);
      Run("cat '" + movie.string() + "' > /dev/null; sync");
      auto figures = Run(command);
      return std::pair{figures, FilesIn(out)};
    };
    const auto best = [](std::pair<ChildFigures, std::size_t>& kept, const std::pair<ChildFigures, std::size_t>& now) {
      if (kept.first.status != 0 || (now.first.status == 0 && now.first.wall_seconds < kept.first.wall_seconds))
        kept = now;
    };
    std::pair<ChildFigures, std::size_t> theirs, ours;
    for (int round = 0; round < kRounds; ++round) {
      best(theirs, run("ffmpeg -v error -i '" + movie.string() + "' " + (extension == "jpg" ? "-q:v 3 " : "") + "'" +
                       out.string() + "/%06d." + extension + "'"));
      best(ours,
           run("'" + program + "' --extract '" + movie.string() + "' '" + out.string() + "/shot." + extension + "'"));
    }
    for (const auto& [who, figures] : {std::pair{"ffmpeg", theirs}, std::pair{"ours", ours}})
      std::printf("%-6s %-8s %9.2f %9.2f %10.1f %8zu\n", kind, who, figures.first.wall_seconds,
                  figures.first.cpu_seconds, figures.first.peak_megabytes, figures.second);
    const bool ran = ours.first.status == 0 && theirs.first.status == 0 && ours.second == theirs.second;
    const double ratio = ours.first.wall_seconds / theirs.first.wall_seconds;
    const bool held = ran && ratio <= 1.0;
    std::printf("  wall %.2fx the tool's (target <= 1.0x), CPU %.2fx: %s\n", ratio,
                ours.first.cpu_seconds / theirs.first.cpu_seconds, held ? "met" : (ran ? "MISSED" : "a run failed"));
    met = met && held;
  }
  fs::remove_all(folder);
  return met ? 0 : 1;
}
