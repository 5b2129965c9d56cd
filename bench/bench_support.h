#pragma once
// What the benchmarks share: the real capture devices of the machine's built-in camera and
// tone on a loop of their own, settings of their own for the programs they build or start, and
// a process's figures (CPU time, resident memory).

#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "apps/zandrell/program_parts.h"
#include "core/settings_keys.h"
#include "image/bmp.h"
#include "platform/linux/capture_devices.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/headless_services.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/poll_event_loop.h"
#include "platform/linux/test_camera.h"
#include "platform/linux/test_tone.h"

namespace zr::bench {

using namespace zr::platform;
using namespace zr::platform::linux_impl;

struct BuiltInDevices {
  explicit BuiltInDevices(TestCameraSettings camera)
      : devices(CaptureDeviceServices{loop, [this] { loop.Wake(); }, movies, clipboard, nullptr, BuiltBackends(), ""},
                {{"Built-in Test Camera", "1.0", 0, [camera] { return MakeTestCamera(camera); }}},
                {{"Built-in Test Tone", [] { return MakeTestTone(); }}}) {}

  // Runs the loop until `done` holds.
  void RunUntil(const std::function<bool()>& done) { loop.RunModal(done); }

  PollEventLoop loop;
  MemoryClipboard clipboard;
  FfmpegMovieFiles movies;
  RealCaptureDevices devices;
};

// Points the settings of this process, and of the programs it starts, at `folder` instead of the
// user's, with the built-in camera starting at `camera_size` ("1920x1080") and `camera_rate`
// frames a second.
inline void UseSettingsIn(const std::filesystem::path& folder, const std::string& camera_size, int camera_rate) {
  setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
  IniSettingsStore settings(DefaultSettingsFolder());
  SaveSetting(settings, settings::TestCameraSize, camera_size);
  SaveSetting(settings, settings::TestCameraRate, std::to_string(camera_rate));
}

inline double SecondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// The CPU time, user and system, of this process (RUSAGE_SELF) or of its ended children
// (RUSAGE_CHILDREN).
inline double CpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
}

// The size of a file in megabytes; 0 for a file that is not there, as when a tool compared
// against could not run.
inline double FileMegabytes(const std::filesystem::path& path) {
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(path, error);
  return error ? 0 : static_cast<double>(bytes) / 1e6;
}

// The resident memory of this process, or of the process `pid`, now, in megabytes; 0 once the
// process is gone.
inline double ResidentMegabytes(pid_t pid = 0) {
  std::ifstream status(pid == 0 ? std::string("/proc/self/status") : "/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  return 0;
}

// What a command started through the shell took: its exit status, wall time, CPU time (user
// and system) and peak resident memory.
struct ChildFigures {
  int status = -1;
  double wall_seconds = 0;
  double cpu_seconds = 0;
  double peak_megabytes = 0;
};

// Runs the command through the shell, its output thrown away, and tells what it took.
inline ChildFigures Run(const std::string& command) {
  const auto started = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", (command + " >/dev/null 2>&1").c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  ChildFigures figures;
  rusage usage{};
  if (child < 0 || wait4(child, &figures.status, 0, &usage) != child) return figures;
  figures.wall_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  figures.cpu_seconds = SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
  figures.peak_megabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;
  return figures;
}

}  // namespace zr::bench
