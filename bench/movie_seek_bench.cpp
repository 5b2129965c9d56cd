// The movie player's seeks in H.264 movies with a key frame every second, as the program
// writes them: 100 seeks to random frames of a 10-minute movie, each timed from the seek to the
// picture in hand (target under 50 ms on average), and the resident memory after the same seeks
// in a 1-minute and a 10-minute movie (the player's memory must not grow with the length).
//
// Usage: movie_seek_bench [SEEKS]   (default 100)

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "bench/bench_support.h"
#include "platform/linux/ffmpeg_movie_player.h"

namespace {

using Clock = std::chrono::steady_clock;

struct SeekFigures {
  double average_ms = 0;
  double slowest_ms = 0;
  double resident_mb = 0;
};

bool MakeMovie(const std::string& path, int minutes) {
  const std::string command = "ffmpeg -v error -y -f lavfi -i testsrc=size=640x480:rate=25 -t " +
                              std::to_string(minutes * 60) +
                              " -c:v libx264 -preset ultrafast -g 25 -bf 0 -pix_fmt yuv420p '" + path + "'";
  return std::system(command.c_str()) == 0;
}

SeekFigures Seek(const std::string& path, int seeks) {
  zr::bench::PollEventLoop loop;
  zr::platform::linux_impl::FfmpegMoviePlayer player(loop);
  SeekFigures figures;
  if (!player.OpenMovie(path)) return figures;
  std::mt19937 random(11);
  std::uniform_int_distribution<std::int64_t> frame(1, player.FrameCount());
  double total_ms = 0;
  for (int n = 0; n < seeks; ++n) {
    const auto start = Clock::now();
    player.SeekFrame(static_cast<double>(frame(random)));
    if (!player.CurrentPicture()) return figures;
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    total_ms += ms;
    figures.slowest_ms = std::max(figures.slowest_ms, ms);
  }
  figures.average_ms = total_ms / seeks;
  figures.resident_mb = zr::bench::ResidentMegabytes();
  return figures;
}

}  // namespace

int main(int argc, char** argv) {
  const int seeks = argc > 1 ? std::max(1, std::atoi(argv[1])) : 100;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-movie-seek-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string short_movie = (folder / "one_minute.avi").string();
  const std::string long_movie = (folder / "ten_minutes.avi").string();
  if (!MakeMovie(short_movie, 1) || !MakeMovie(long_movie, 10)) {
    std::fprintf(stderr, "ffmpeg could not make the movies\n");
    return 1;
  }
  const SeekFigures short_run = Seek(short_movie, seeks);
  const SeekFigures long_run = Seek(long_movie, seeks);
  std::filesystem::remove_all(folder);
  std::printf("H.264 640x480, a key frame a second, %d random seeks:\n", seeks);
  std::printf("  10 minutes: %.1f ms a seek on average (target under 50), slowest %.1f ms\n", long_run.average_ms,
              long_run.slowest_ms);
  std::printf("  1 minute:   %.1f ms a seek on average, slowest %.1f ms\n", short_run.average_ms, short_run.slowest_ms);
  std::printf("  resident memory after the seeks: %.1f MB (1 minute), %.1f MB (10 minutes)\n", short_run.resident_mb,
              long_run.resident_mb);
  return long_run.average_ms > 0 && long_run.average_ms < 50 ? 0 : 2;
}
