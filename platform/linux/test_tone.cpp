#include "platform/linux/test_tone.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "platform/linux/paced_worker.h"

namespace zr::platform::linux_impl {
namespace {

constexpr std::int64_t kToneHertz = 1000;
constexpr double kToneLevel = 0.25;  // about -12 dB below full scale
constexpr double kBeepLevel = 0.75;
constexpr int kBeepShareOfSecond = 10;  // the beep lasts the first tenth of each second
constexpr int kHighestRate = 384000;
constexpr auto kChunk = std::chrono::milliseconds(20);
constexpr int kInputLevel = 50;

// The tone's value at sample frame n, from -1 to 1. The phase is taken from n modulo the rate in
// whole numbers, so that it stays exact over a run of any length.
double ToneAt(std::int64_t frame, int samples_per_second) {
  const std::int64_t into_second = frame % samples_per_second;
  const double phase =
      2 * std::numbers::pi * static_cast<double>(into_second * kToneHertz % samples_per_second) / samples_per_second;
  const bool beeping = into_second < samples_per_second / kBeepShareOfSecond;
  return (beeping ? kBeepLevel : kToneLevel) * std::sin(phase);
}

bool ToneTakes(const AudioFormat& format) {
  return (format.bits_per_sample == 8 || format.bits_per_sample == 16) &&
         (format.channels == 1 || format.channels == 2) && format.samples_per_second >= 1 &&
         format.samples_per_second <= kHighestRate;
}

// The bytes of a sample frame of a format the tone takes, a sample of each channel.
std::size_t FrameBytes(const AudioFormat& format) {
  return static_cast<std::size_t>(format.channels * format.bits_per_sample / 8);
}

class TestTone final : public AudioSource {
 public:
  ~TestTone() override { Stop(); }

  Result<void> Start(const AudioFormat& format, AudioSink& sink) override {
    if (!ToneTakes(format))
      return Error{"the test tone records 8 or 16 bits, one or two channels, at 1 to " + std::to_string(kHighestRate) +
                       " samples a second",
                   "Start"};
    worker_.Start([this, format, &sink] { Deliver(format, sink); });
    return {};
  }

  void Stop() override { worker_.Stop(); }

  std::vector<std::string> Inputs() const override { return {"Test Tone"}; }
  int CurrentInput() const override { return 0; }
  Result<void> SelectInput(int index) override {
    if (index != 0) return Error{"the test tone has one input only", "SelectInput"};
    return {};
  }
  int InputLevel(int index) const override { return index == 0 ? kInputLevel : 0; }

 private:
  // Wakes every chunk and hands over whatever became due since the last wake-up. A late wake-up
  // makes one longer chunk rather than a burst of short ones.
  void Deliver(const AudioFormat& format, AudioSink& sink) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t frame_bytes = FrameBytes(format);
    std::vector<std::uint8_t> pcm;
    std::int64_t delivered = 0;
    for (std::int64_t tick = 1;; ++tick) {
      if (worker_.WaitUntilOrStop(start + tick * kChunk)) return;
      const auto elapsed = std::chrono::steady_clock::now() - start;
      const auto elapsed_us = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
      const std::int64_t due = (elapsed_us * format.samples_per_second + 500'000) / 1'000'000;
      if (due > delivered) {
        pcm.resize(static_cast<std::size_t>(due - delivered) * frame_bytes);
        WriteTestTone(format, delivered, pcm);
        sink.OnAudio(pcm, delivered * 1'000'000 / format.samples_per_second);
        delivered = due;
      }
      tick = std::max(tick, static_cast<std::int64_t>(elapsed / kChunk));
    }
  }

  PacedWorker worker_;
};

}  // namespace

void WriteTestTone(const AudioFormat& format, std::int64_t first_frame, std::span<std::uint8_t> pcm) {
  const std::size_t frame_bytes = FrameBytes(format);
  const auto frames = static_cast<std::int64_t>(pcm.size() / frame_bytes);
  std::uint8_t* out = pcm.data();
  for (std::int64_t index = 0; index < frames; ++index) {
    const double value = ToneAt(first_frame + index, format.samples_per_second);
    for (int channel = 0; channel < format.channels; ++channel) {
      if (format.bits_per_sample == 8) {
        *out++ = static_cast<std::uint8_t>(128 + std::lround(value * 127));
      } else {
        const auto sample = static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(value * 32767)));
        *out++ = static_cast<std::uint8_t>(sample & 0xFF);
        *out++ = static_cast<std::uint8_t>(sample >> 8);
      }
    }
  }
}

std::unique_ptr<AudioSource> MakeTestTone() { return std::make_unique<TestTone>(); }

}  // namespace zr::platform::linux_impl
