// Records from the built-in camera and the built-in tone through the driver kind (30 frames a
// second, 44100 Hz 16-bit mono) for ten minutes and measures how well sound and picture stay
// in step in the file: the tone beeps at the start of every second of its own clock, so the
// beeps found in the recorded track must fall exactly a second of samples apart, and the track
// must end with the picture. Target: under one frame (33 ms) of drift.
//
// Usage: av_sync_bench [SECONDS]   (default 600)

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_support.h"

namespace {

constexpr int kRate = 44100;
constexpr double kFramesPerSecond = 30;

std::vector<std::int16_t> DecodeSound(const std::string& path) {
  const std::string command = "ffmpeg -v error -i '" + path + "' -map 0:a -f s16le -ac 1 -";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::vector<std::int16_t> samples;
  std::int16_t chunk[8192];
  for (std::size_t got; pipe && (got = fread(chunk, sizeof chunk[0], 8192, pipe.get())) > 0;)
    samples.insert(samples.end(), chunk, chunk + got);
  return samples;
}

// Where each beep begins: a loud sample after at least half a second of the quiet tone.
std::vector<std::size_t> BeepOnsets(const std::vector<std::int16_t>& samples) {
  std::vector<std::size_t> onsets;
  std::size_t last_loud = 0;
  bool seen_loud = false;
  for (std::size_t index = 0; index < samples.size(); ++index) {
    if (std::abs(samples[index]) < 16384) continue;
    if (!seen_loud || index - last_loud > kRate / 2) onsets.push_back(index);
    last_loud = index;
    seen_loud = true;
  }
  return onsets;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zr::bench;
  const int seconds = argc > 1 ? std::max(3, std::atoi(argv[1])) : 600;
  const std::string path =
      (std::filesystem::temp_directory_path() / ("zr-av-sync-bench-" + std::to_string(getpid()) + ".avi")).string();

  BuiltInDevices built_in(TestCameraSettings{640, 480, 30});
  auto drivers = built_in.devices.MakeDriverSystem();
  auto window = drivers->CreateCaptureWindow("VIDEO WINDOW", 0, 0, 160, 120);
  static std::atomic<int> ends{0};
  window->SetStatusCallback(
      [](void*, std::int16_t id, const char*) {
        if (id == zr::kCaptureEndStatusId) ++ends;
      },
      nullptr);
  if (!window->Connect(0)) return 1;
  zr::CAPTUREPARMS parms;
  window->GetSetup(parms);
  parms.dwRequestMicroSecPerFrame = 33333;
  parms.fLimitEnabled = 1;
  parms.wTimeLimit = static_cast<zr::UINT>(seconds);
  parms.fCaptureAudio = 1;
  parms.fYield = 1;
  window->SetSetup(parms);
  zr::WAVEFORMATEX wave;
  wave.nSamplesPerSec = kRate;
  wave.wBitsPerSample = 16;
  wave.nChannels = 1;
  wave.nBlockAlign = 2;
  wave.nAvgBytesPerSec = kRate * 2;
  window->SetAudioFormat(wave, window->GetAudioFormatSize());
  window->SetCaptureFile(path);
  built_in.RunUntil([&] { return built_in.devices.LatestPicture() != nullptr; });
  if (!window->StartSequence()) return 1;
  built_in.RunUntil([] { return ends > 0; });
  zr::CAPSTATUS status;
  window->GetStatus(status);
  window->Disconnect();

  const auto samples = DecodeSound(path);
  const auto onsets = BeepOnsets(samples);
  double worst_beep_ms = 0;
  for (std::size_t beep = 1; beep < onsets.size(); ++beep) {
    const double off =
        static_cast<double>(onsets[beep]) - static_cast<double>(onsets[0]) - static_cast<double>(beep) * kRate;
    worst_beep_ms = std::max(worst_beep_ms, std::abs(off) * 1000.0 / kRate);
  }
  const double video_s = status.dwCurrentVideoFrame / kFramesPerSecond;
  const double sound_s = static_cast<double>(samples.size()) / kRate;
  const double frame_ms = 1000.0 / kFramesPerSecond;
  std::printf("sound and picture in step, %d s from the built-in camera and tone (30 fps, 44100 Hz)\n", seconds);
  std::printf("  frames                %u, dropped %u\n", status.dwCurrentVideoFrame,
              status.dwCurrentVideoFramesDropped);
  std::printf("  beeps found           %zu (of %d)\n", onsets.size(), seconds);
  std::printf("  beep drift            %.2f ms = %.3f frames   (target under 1 frame)\n", worst_beep_ms,
              worst_beep_ms / frame_ms);
  std::printf("  track lengths         picture %.3f s, sound %.3f s, apart %.2f ms\n", video_s, sound_s,
              std::abs(video_s - sound_s) * 1000);
  std::filesystem::remove(path);
  return worst_beep_ms < frame_ms && std::abs(video_s - sound_s) * 1000 < frame_ms ? 0 : 1;
}
