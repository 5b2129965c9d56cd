// An interval series as the user runs it without windows: the program itself as a child process,
//   zandrell --headless SETUP.zrp --run 60 --app-path FOLDER
// with a set-up of a series of numbered JPEG files on a timer of one second, the built-in camera
// at 1920x1080 and one frame a second (settings of the benchmark's own), against the ffmpeg tool
// writing as many numbered JPEG files of its own test source at the same size and rate:
//   ffmpeg -y -v error -f lavfi -i testsrc2=s=1920x1080:r=1 -frames:v 60 -q:v 3 out%06d.jpg
// The program's CPU time comes from wait4, its resident memory is sampled every half second. Its
// time holds the built-in camera drawing its frames on a thread of its own, the work a real
// camera does itself: the share of the threads beside the logic's, read from /proc/PID/task as
// the run goes, is shown beside the ratio.
// Targets: CPU time at most 1.0 times the tool's, resident memory growing less than 5 MB from
// 5 s in to the end of the run, and a picture of 1920x1080 for every second, shot000001.jpg to
// shot000060.jpg for 60 s. Not 59: the series' timer starts with Rec, just before the run's time
// does, and keeps to its schedule, so the last second's tick falls due by the end of the run at
// the latest, and the loop fires due timers before it looks at the time.
//
// Usage: interval_series_bench [SECONDS]   (default 60, at least 6)

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_support.h"
#include "image/jpeg_file.h"

namespace {

constexpr double kMemorySettledSeconds = 5;
constexpr double kMemoryGrowthTargetMb = 5;
constexpr double kCpuRatioTarget = 1.0;

std::string Numbered(const std::filesystem::path& folder, const std::string& stem, int number) {
  char name[32];
  std::snprintf(name, sizeof name, "%06d.jpg", number);
  return (folder / (stem + name)).string();
}

struct ChildRun {
  int status = -1;
  double cpu_seconds = 0;
  std::vector<double> memory_mb;  // every half second from the start
  double device_cpu_seconds = 0;  // of the threads other than the first, at the last look
};

// The CPU time of the threads of `pid` other than its first, the logic's.
double OtherThreadsCpuSeconds(pid_t pid) {
  const double ticks_per_second = static_cast<double>(sysconf(_SC_CLK_TCK));
  double seconds = 0;
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", error)) {
    if (task.path().filename() == std::to_string(pid)) continue;
    std::ifstream stat_file(task.path() / "stat");
    std::string stat((std::istreambuf_iterator<char>(stat_file)), std::istreambuf_iterator<char>());
    const auto name_end = stat.rfind(')');
    if (name_end == std::string::npos) continue;
    std::istringstream fields(stat.substr(name_end + 2));  // from the state, the third field
    std::string skipped;
    for (int field = 3; field < 14; ++field) fields >> skipped;  // up to the user time, the 14th
    double user = 0, system = 0;
    if (fields >> user >> system) seconds += (user + system) / ticks_per_second;
  }
  return seconds;
}

// Starts the program with `arguments` in `folder`, its output into output.txt there, and waits for
// it, sampling its resident memory.
ChildRun RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    const std::filesystem::path& folder) {
  ChildRun run;
  const pid_t pid = fork();
  if (pid == 0) {
    std::filesystem::current_path(folder);
    if (!std::freopen((folder / "output.txt").c_str(), "w", stdout)) _exit(127);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  if (pid < 0) return run;
  for (;;) {
    rusage usage{};
    int status = 0;
    if (wait4(pid, &status, WNOHANG, &usage) == pid) {
      run.status = status;
      run.cpu_seconds = zr::bench::SecondsOf(usage.ru_utime) + zr::bench::SecondsOf(usage.ru_stime);
      return run;
    }
    run.memory_mb.push_back(zr::bench::ResidentMegabytes(pid));
    run.device_cpu_seconds = std::max(run.device_cpu_seconds, OtherThreadsCpuSeconds(pid));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zr::bench;
  const int seconds = argc > 1 ? std::max(6, std::atoi(argv[1])) : 60;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-interval-bench-" + std::to_string(getpid()));
  const std::filesystem::path tool_folder = folder / "ffmpeg";
  std::filesystem::create_directories(tool_folder);
  UseSettingsIn(folder / "config", "1920x1080", 1);
  const std::filesystem::path set_up = folder / "series.zrp";
  std::ofstream(set_up) << "Filename=" << (folder / "shot.avi").string()
                        << "\r\nCapture=Multiple Image\r\nMultiple Image Type=2\r\n"
                        << "Trigger=Timer\r\nInterval=1\r\nSend to FTP Server=No\r\n";

  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "zandrell";
  const ChildRun ours = RunProgram(
      program, {"--headless", set_up.string(), "--run", std::to_string(seconds), "--app-path", folder.string() + "/"},
      folder);
  const bool program_ran = WIFEXITED(ours.status) && WEXITSTATUS(ours.status) == 0;

  const std::string command = "ffmpeg -y -v error -f lavfi -i testsrc2=s=1920x1080:r=1 -frames:v " +
                              std::to_string(seconds) + " -q:v 3 '" + (tool_folder / "out%06d.jpg").string() + "'";
  const double children_before = CpuSeconds(RUSAGE_CHILDREN);
  const int tool_status = std::system(command.c_str());
  const double their_cpu = CpuSeconds(RUSAGE_CHILDREN) - children_before;

  // The pictures: numbered from 000001 without a gap, each 1920x1080.
  int pictures = 0;
  bool sizes_right = true;
  double our_megabytes = 0;
  while (std::filesystem::exists(Numbered(folder, "shot", pictures + 1))) {
    const std::string name = Numbered(folder, "shot", ++pictures);
    const auto picture = zr::ReadJpegFile(name);
    sizes_right = sizes_right && picture && picture->width == 1920 && picture->height == 1080;
    our_megabytes += FileMegabytes(name);
  }
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    files += entry.path().extension() == ".jpg" ? 1 : 0;
  double their_megabytes = 0;
  for (int number = 1; number <= seconds; ++number)
    their_megabytes += FileMegabytes(Numbered(tool_folder, "out", number));

  // From 5 s in to the end of the run, before the program lets go of its parts as it closes.
  const auto settled = static_cast<std::size_t>(kMemorySettledSeconds * 2);
  const double memory_settled = ours.memory_mb.size() > settled ? ours.memory_mb[settled] : 0;
  double memory_last = 0, memory_peak = 0;
  for (std::size_t sample = 0; sample < ours.memory_mb.size() && sample <= static_cast<std::size_t>(seconds) * 2;
       ++sample) {
    if (ours.memory_mb[sample] > 0) memory_last = ours.memory_mb[sample];
    memory_peak = std::max(memory_peak, ours.memory_mb[sample]);
  }
  const double growth = memory_last - memory_settled;

  std::printf("interval series of 1 s for %d s, numbered JPEG files of 1920x1080 from the built-in camera\n", seconds);
  std::printf("  program               %s (%s)\n", program_ran ? "ended well" : "FAILED", program.c_str());
  std::printf("  pictures              %d of %d, shot000001.jpg on, %s   (target %d; %d .jpg files)\n", pictures,
              seconds, sizes_right ? "all 1920x1080" : "NOT all 1920x1080", seconds, files);
  std::printf("  CPU time              %.2f s\n", ours.cpu_seconds);
  bool cpu_met = false;
  if (tool_status == 0 && their_cpu > 0) {
    cpu_met = ours.cpu_seconds <= kCpuRatioTarget * their_cpu;
    std::printf("  ffmpeg CPU time       %.2f s\n", their_cpu);
    std::printf("  ratio                 %.2f          (target at most %.1f)\n", ours.cpu_seconds / their_cpu,
                kCpuRatioTarget);
  } else {
    std::printf("  ffmpeg could not run: %s\n", command.c_str());
  }
  std::printf("  of which the devices  %.2f s, the threads beside the logic's: the camera drawing its frames\n",
              ours.device_cpu_seconds);
  if (their_cpu > 0)
    std::printf("  ratio without them    %.2f\n", (ours.cpu_seconds - ours.device_cpu_seconds) / their_cpu);
  std::printf("  picture sizes         %.1f MB, ffmpeg's %.1f MB\n", our_megabytes, their_megabytes);
  std::printf("  memory growth         %.1f MB       (target under %.0f MB; %.1f MB at %.0f s, %.1f MB peak)\n", growth,
              kMemoryGrowthTargetMb, memory_settled, kMemorySettledSeconds, memory_peak);
  const bool met = program_ran && sizes_right && pictures == seconds && files == pictures && cpu_met &&
                   growth < kMemoryGrowthTargetMb;
  std::printf("  memory every 10 s     ");
  for (std::size_t sample = 0; sample < ours.memory_mb.size(); sample += 20)
    std::printf(" %.1f", ours.memory_mb[sample]);
  std::printf(" MB\n");
  std::printf("  verdict               %s\n", met ? "met" : "missed");
  std::filesystem::remove_all(folder);
  return met ? 0 : 1;
}
