// Builds a movie of 1,000 bitmap files of 640x480 with the program's AVI builder, as a user runs
// it without windows:
//   zandrell --build-avi ours.avi --fps 11 --codec CODEC --folder FRAMES --mask '*.bmp'
// and compares it, in the same run, with the ffmpeg tool doing the same job:
//   ffmpeg -framerate 11 -i FRAMES/%06d.bmp -c:v rawvideo out.avi      (uncompressed)
//   ffmpeg -framerate 11 -i FRAMES/%06d.bmp -c:v mjpeg -q:v 3 out.avi  (Motion JPEG)
// Targets: wall time and CPU time at most 1.0 times the tool's for each, and the program's peak
// memory flat in the number of files (the build of all the files within 10 MB of the build of a
// tenth of them). Each figure is the best of three rounds.
//
// Usage: avi_builder_bench [FILES]   (default 1000)

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "image/bmp.h"
#include "platform/picture.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 3;
using zr::bench::ChildFigures;
using zr::bench::Run;

// A moving gradient, so that each picture differs and the coder has work to do.
void WriteFrames(const fs::path& folder, int count) {
  fs::create_directories(folder);
  for (int index = 0; index < count; ++index) {
    auto picture = zr::platform::Picture::Blank(640, 480);
    for (int y = 0; y < 480; ++y) {
      std::uint8_t* row = picture.PixelFromTop(0, y);
      for (int x = 0; x < 640; ++x) {
        row[3 * x] = static_cast<std::uint8_t>(x + index);
        row[3 * x + 1] = static_cast<std::uint8_t>(y * 2 + index);
        row[3 * x + 2] = static_cast<std::uint8_t>((x ^ y) + index * 3);
      }
    }
    char name[32];
    std::snprintf(name, sizeof name, "%06d.bmp", index);
    if (!zr::WriteBmpFile(picture, (folder / name).string())) {
      std::fprintf(stderr, "cannot write %s\n", name);
      std::exit(1);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int files = argc > 1 ? std::max(10, std::atoi(argv[1])) : 1000;
  const fs::path folder = fs::temp_directory_path() / ("zr-avi-builder-bench-" + std::to_string(getpid()));
  const fs::path frames = folder / "frames";
  WriteFrames(frames, files);
  const std::string program = (fs::read_symlink("/proc/self/exe").parent_path() / "zandrell").string();
  const std::string ours_common = "XDG_CONFIG_HOME='" + (folder / "config").string() + "' '" + program +
                                  "' --app-path '" + (folder / "app").string() + "' --fps 11 --folder '" +
                                  frames.string() + "' ";
  // The first tenth of the files, by a mask, for the memory comparison.
  const std::string tenth_mask = files >= 1000 ? "'0000[0-9][0-9].bmp'" : "'00000[0-9].bmp'";

  struct Codec {
    const char* name;
    const char* ours;
    const char* theirs;
  };
  bool met = true;
  std::printf("%d files of 640x480 at 11 frames a second\n", files);
  std::printf("%-14s %-8s %9s %9s %10s %10s\n", "codec", "who", "wall s", "CPU s", "peak MB", "movie MB");
  for (const Codec& codec :
       {Codec{"uncompressed", "Uncompressed", "-c:v rawvideo"}, Codec{"Motion JPEG", "MJPEG", "-c:v mjpeg -q:v 3"}}) {
    const fs::path ours_movie = folder / "ours.avi";
    const fs::path their_movie = folder / "theirs.avi";
    // Three rounds, the tool and the program in turn, each best kept: the disk's writing of a
    // run before weighs on whichever comes next. Each run starts with the files in the page
    // cache, its movie gone and what the run before left for the disk written.
    const auto run = [&](const std::string& command, const fs::path& movie) {
      fs::remove(movie);
      Run("cat '" + frames.string() + "'/*.bmp > /dev/null; sync");
      return Run(command);
    };
    const auto best = [](ChildFigures& kept, const ChildFigures& now) {
      if (kept.status != 0 || (now.status == 0 && now.wall_seconds < kept.wall_seconds)) kept = now;
    };
    ChildFigures theirs, ours, tenth;
    for (int round = 0; round < kRounds; ++round) {
      best(theirs, run("ffmpeg -y -v error -framerate 11 -i '" + frames.string() + "/%06d.bmp' " + codec.theirs + " '" +
                           their_movie.string() + "'",
                       their_movie));
      best(ours,
           run(ours_common + "--codec '" + codec.ours + "' --mask '*.bmp' --build-avi '" + ours_movie.string() + "'",
               ours_movie));
      best(tenth, run(ours_common + "--codec '" + codec.ours + "' --mask " + tenth_mask + " --build-avi '" +
                          (folder / "tenth.avi").string() + "'",
                      folder / "tenth.avi"));
    }
    std::printf("%-14s %-8s %9.2f %9.2f %10.1f %10.1f\n", codec.name, "ffmpeg", theirs.wall_seconds, theirs.cpu_seconds,
                theirs.peak_megabytes, zr::bench::FileMegabytes(their_movie));
    std::printf("%-14s %-8s %9.2f %9.2f %10.1f %10.1f\n", codec.name, "ours", ours.wall_seconds, ours.cpu_seconds,
                ours.peak_megabytes, zr::bench::FileMegabytes(ours_movie));
    std::printf("%-14s %-8s %9.2f %9.2f %10.1f   (a tenth of the files)\n", codec.name, "ours", tenth.wall_seconds,
                tenth.cpu_seconds, tenth.peak_megabytes);
    const bool ran = ours.status == 0 && theirs.status == 0 && tenth.status == 0;
    const double wall_ratio = ours.wall_seconds / theirs.wall_seconds;
    const double cpu_ratio = ours.cpu_seconds / theirs.cpu_seconds;
    const double growth = ours.peak_megabytes - tenth.peak_megabytes;
    const bool held = ran && wall_ratio <= 1.0 && cpu_ratio <= 1.0 && growth <= 10.0;
    std::printf(
        "  wall %.2fx, CPU %.2fx the tool's (target <= 1.0x); memory %+.1f MB over ten times the files "
        "(target <= 10 MB): %s\n",
        wall_ratio, cpu_ratio, growth, held ? "met" : (ran ? "MISSED" : "a run failed"));
    met = met && held;
  }
  fs::remove_all(folder);
  return met ? 0 : 1;
}
