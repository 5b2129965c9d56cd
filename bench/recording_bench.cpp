// Records 1920x1080 at 30 frames a second in Motion JPEG from the built-in camera, as the
// capture control records, and compares its CPU time with the ffmpeg tool doing the same job
// from its own test source:
//   ffmpeg -f lavfi -i testsrc2=s=1920x1080:r=30 -t 20 -c:v mjpeg -q:v 3 out.avi
// Targets: no frame dropped on two cores, CPU time at most 1.2 times the tool's, resident
// memory growing less than 20 MB over the run.
//
// Usage: recording_bench [SECONDS]   (default 20)

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/bench_support.h"

int main(int argc, char** argv) {
  using namespace zr::bench;
  const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-recording-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string ours = (folder / "ours.avi").string();
  const std::string theirs = (folder / "ffmpeg.avi").string();

  BuiltInDevices built_in(TestCameraSettings{1920, 1080, 30});
  auto control = built_in.devices.MakeCaptureControl();
  control->SetVideoDeviceIndex(0);
  control->SetDeviceConnected(true);
  auto& compressors = built_in.devices.Compressors();
  for (int index = 0; index < compressors.Count(); ++index)
    if (compressors.At(index).codec == VideoCodec::Mjpeg) {
      (void)compressors.SetControlCompressor(index);
      (void)compressors.SetValue(index, 85);  // the pictures of the tool's -q:v 3 are about this size
    }
  built_in.RunUntil([&] { return built_in.devices.LatestPicture() != nullptr; });
  control->SetCaptureFileName(ours);
  control->SetTimeLimitEnabled(true);
  control->SetTimeLimitSeconds(seconds);

  const double cpu_before = CpuSeconds(RUSAGE_SELF);
  control->StartCapture();
  double memory_at_start = 0, memory_peak = 0;
  const std::int64_t started_ms = built_in.loop.NowMs();
  built_in.RunUntil([&] {
    const double memory = ResidentMegabytes();
    if (memory_at_start == 0 && built_in.loop.NowMs() - started_ms > 2000) memory_at_start = memory;
    memory_peak = std::max(memory_peak, memory);
    return !control->IsCapturing() && built_in.loop.NowMs() - started_ms > 500;
  });
  const double our_cpu = CpuSeconds(RUSAGE_SELF) - cpu_before;
  const auto stats = control->GetCaptureStats();
  control->SetDeviceConnected(false);

  const std::string command = "ffmpeg -y -v error -f lavfi -i testsrc2=s=1920x1080:r=30 -t " + std::to_string(seconds) +
                              " -c:v mjpeg -q:v 3 '" + theirs + "'";
  const double children_before = CpuSeconds(RUSAGE_CHILDREN);
  const int status = std::system(command.c_str());
  const double their_cpu = CpuSeconds(RUSAGE_CHILDREN) - children_before;

  std::printf("recording 1920x1080 at 30 fps, MJPEG, %d s from the built-in camera\n", seconds);
  std::printf("  frames written        %d (of %d)\n", stats.frames_captured, seconds * 30);
  std::printf("  frames dropped        %d          (target 0)\n", stats.frames_dropped);
  std::printf("  CPU time              %.2f s\n", our_cpu);
  if (status == 0 && their_cpu > 0) {
    std::printf("  ffmpeg CPU time       %.2f s\n", their_cpu);
    std::printf("  ratio                 %.2f          (target at most 1.2)\n", our_cpu / their_cpu);
  } else {
    std::printf("  ffmpeg could not run: %s\n", command.c_str());
  }
  std::printf("  movie sizes           %.1f MB, ffmpeg's %.1f MB\n", FileMegabytes(ours), FileMegabytes(theirs));
  std::printf("  memory growth         %.1f MB       (target under 20 MB; %.1f MB at 2 s, %.1f MB peak)\n",
              memory_peak - memory_at_start, memory_at_start, memory_peak);
  std::filesystem::remove_all(folder);
  return stats.frames_dropped == 0 ? 0 : 1;
}
