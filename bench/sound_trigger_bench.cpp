// The sound level detector: the CPU it takes while it listens to a 48 kHz stereo input (the
// built-in test tone, whose synthesis counts too), and the time from a sound above the limit to
// the start of the movie run, through the whole program without windows.
// Usage: sound_trigger_bench [SECONDS of listening, default 60]

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/zandrell/headless_operator.h"
#include "bench/bench_support.h"
#include "main_window/master.h"
#include "platform/linux/source_level_meter.h"
#include "triggers/sound_detector.h"
#include "triggers/sound_scope.h"

namespace {

using namespace zr;
using namespace zr::bench;
using Clock = std::chrono::steady_clock;

constexpr double kCpuTargetPercent = 1.0;
constexpr double kLatencyTargetMs = 100.0;
constexpr int kTriggers = 10;
constexpr auto kChunk = std::chrono::milliseconds(20);

// What the bench asks of the pulse input however often it is opened: loud or silent, and when
// the first loud chunk went out.
struct PulseState {
  void Loud(bool on) {
    sent_loud = Clock::time_point{};
    loud = on;
  }
  std::atomic<bool> loud = false;
  std::atomic<Clock::time_point> sent_loud{};
};

// A 48 kHz stereo input of silence, paced in 20 ms chunks, that turns to full scale on request.
class PulseSource final : public AudioSource {
 public:
  explicit PulseSource(std::shared_ptr<PulseState> state) : state_(std::move(state)) {}
  ~PulseSource() override { Stop(); }
  Result<void> Start(const AudioFormat& format, AudioSink& sink) override {
    Stop();
    stop_ = false;
    thread_ = std::thread([this, format, &sink] { Deliver(format, sink); });
    return {};
  }
  void Stop() override {
    if (!thread_.joinable()) return;
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  std::vector<std::string> Inputs() const override { return {"Pulse"}; }
  int CurrentInput() const override { return 0; }
  Result<void> SelectInput(int) override { return {}; }
  int InputLevel(int) const override { return 100; }

 private:
  void Deliver(const AudioFormat& format, AudioSink& sink) {
    const std::size_t bytes = static_cast<std::size_t>(format.samples_per_second / 50 * format.channels * 2);
    std::vector<std::uint8_t> silence(bytes, 0);
    std::vector<std::uint8_t> loud(bytes);
    for (std::size_t at = 0; at + 1 < bytes; at += 2) loud[at + 1] = 0x7F;
    auto due = Clock::now();
    for (std::int64_t sent = 0;; sent += kChunk.count() * 1000) {
      due += kChunk;
      {
        std::unique_lock lock(mutex_);
        if (wake_.wait_until(lock, due, [this] { return stop_; })) return;
      }
      const bool now_loud = state_->loud;
      if (now_loud && state_->sent_loud.load() == Clock::time_point{}) state_->sent_loud = Clock::now();
      sink.OnAudio(now_loud ? loud : silence, sent);
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;
  std::thread thread_;
  std::shared_ptr<PulseState> state_;
};

// The scope of a window of its own listening to the test tone, with a limit it never reaches.
double ListeningCpuPercent(int seconds) {
  PollEventLoop loop;
  auto meter = MakeSourceLevelMeter(loop, ProbeAudioDevices());
  ui::Window window(loop, "AudioDetector");
  SoundScope scope(window, "audio", *meter);
  scope.Level = 100;
  int heard = 0;
  scope.LevelExceeded = [&heard] { ++heard; };
  const double cpu_before = CpuSeconds(RUSAGE_SELF);
  const auto start = Clock::now();
  scope.SetActive(true);
  loop.RunModal([&] { return Clock::now() - start >= std::chrono::seconds(seconds); });
  scope.SetActive(false);
  const double wall = std::chrono::duration<double>(Clock::now() - start).count();
  return 100.0 * (CpuSeconds(RUSAGE_SELF) - cpu_before) / wall;
}

// Milliseconds from the first loud chunk to the movie run started (the window closes right after
// the start returns), `kTriggers` times.
std::vector<double> TriggerLatencies(const std::filesystem::path& folder) {
  PollEventLoop loop;
  TerminalDialogs dialogs(std::cerr);
  MemoryClipboard clipboard;
  auto pulse = std::make_shared<PulseState>();
  ProgramParts parts(loop, loop, [&loop] { loop.Wake(); }, dialogs, clipboard, nullptr, ScreenSize{640, 480},
                     ProgramStart{folder.string() + "/", "", "", Language::English}, ProbeVideoDevices(),
                     {{"Pulse", [pulse] { return std::make_unique<PulseSource>(pulse); }}});
  Program& program = parts.program;
  HeadlessOperator chooser(program, "");
  loop.SetOperator([&chooser] { chooser.Act(); });
  program.Main();
  loop.SetOperator(nullptr);
  std::vector<double> latencies;
  if (!parts.devices.Connected()) return latencies;
  auto& master = program.Window<Master>();
  master.SetOperationMode("movie");
  const auto run_for = [&loop](std::chrono::milliseconds span) {
    const auto until = Clock::now() + span;
    loop.RunModal([&] { return Clock::now() >= until; });
  };
  for (int trigger = 0; trigger < kTriggers; ++trigger) {
    program.state.CaptureFilename = (folder / ("heard" + std::to_string(trigger) + ".avi")).string();
    master.OperationBar.ClickButton(master.OperationBar.Button("sound"));
    auto& detector = program.Window<AudioDetector>();
    detector.Limit.Value = 50;
    detector.StartCapture.Click();
    run_for(std::chrono::milliseconds(100));
    pulse->Loud(true);
    const auto deadline = Clock::now() + std::chrono::seconds(2);
    loop.RunModal([&] { return !program.IfLoaded<AudioDetector>() || Clock::now() > deadline; });
    const auto started = Clock::now();
    if (program.IfLoaded<AudioDetector>() || pulse->sent_loud.load() == Clock::time_point{}) break;
    latencies.push_back(std::chrono::duration<double, std::milli>(started - pulse->sent_loud.load()).count());
    pulse->Loud(false);
    master.OperationBar.ClickButton(master.RecordButton());
    run_for(std::chrono::milliseconds(300));
  }
  program.SlotOf<Master>().Unload(ui::UnloadMode::FromCode);
  return latencies;
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-sound-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  UseSettingsIn(folder / "config", "320x240", 30);

  const double cpu = ListeningCpuPercent(seconds);
  std::printf("sound level detector listening to the built-in test tone, 48 kHz stereo, %d s\n", seconds);
  std::printf("  CPU of one core       %.2f %%   (target under %.0f %%; the tone's synthesis included)\n", cpu,
              kCpuTargetPercent);

  auto latencies = TriggerLatencies(folder);
  std::sort(latencies.begin(), latencies.end());
  const bool all = latencies.size() == static_cast<std::size_t>(kTriggers);
  const double median = latencies.empty() ? 0 : latencies[latencies.size() / 2];
  const double worst = latencies.empty() ? 0 : latencies.back();
  std::printf("time from a sound above the limit to the movie run's start, %zu of %d triggers\n", latencies.size(),
              kTriggers);
  std::printf("  median %.1f ms, worst %.1f ms   (target under %.0f ms; a real input adds up to one 20 ms block)\n",
              median, worst, kLatencyTargetMs);
  const bool met = all && cpu < kCpuTargetPercent && worst < kLatencyTargetMs;
  std::printf("  verdict               %s\n", met ? "met" : "missed");
  std::filesystem::remove_all(folder);
  return met ? 0 : 1;
}
