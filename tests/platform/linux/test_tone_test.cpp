#include "platform/linux/test_tone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>
#include <vector>

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;

struct Chunk {
  std::vector<std::uint8_t> pcm;
  std::int64_t timestamp_us;
};

struct ChunkCollector final : AudioSink {
  void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) override {
    std::lock_guard lock(mutex);
    chunks.push_back(Chunk{{pcm.begin(), pcm.end()}, timestamp_us});
  }
  void OnAudioEnded(const std::string& message) override { ADD_FAILURE() << "the test tone ended: " << message; }

  std::mutex mutex;
  std::vector<Chunk> chunks;
};

std::vector<std::uint8_t> Tone(const AudioFormat& format, std::int64_t first, std::int64_t frames) {
  std::vector<std::uint8_t> pcm(static_cast<std::size_t>(frames * format.channels * format.bits_per_sample / 8));
  WriteTestTone(format, first, pcm);
  return pcm;
}

// Channel `channel` of a 16-bit tone as numbers from -1 to 1.
std::vector<double> Samples16(const std::vector<std::uint8_t>& pcm, std::size_t channels, std::size_t channel = 0) {
  std::vector<double> samples;
  for (std::size_t at = channel * 2; at + 1 < pcm.size(); at += 2 * channels)
    samples.push_back(static_cast<std::int16_t>(pcm[at] | (pcm[at + 1] << 8)) / 32768.0);
  return samples;
}

double Peak(const std::vector<double>& samples, std::size_t from, std::size_t to) {
  double peak = 0;
  for (std::size_t index = from; index < to; ++index) peak = std::max(peak, std::abs(samples[index]));
  return peak;
}

TEST(TestToneTest, DeliversAsManySampleFramesAsTheTimeElapsedInContiguousChunks) {
  const AudioFormat format{48000, 2, 16};
  auto tone = MakeTestTone();
  ChunkCollector collector;
  const auto before_start = Clock::now();
  ASSERT_TRUE(tone->Start(format, collector));
  const auto after_start = Clock::now();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto before_stop = Clock::now();
  tone->Stop();
  const auto after_stop = Clock::now();

  const auto& chunks = collector.chunks;  // read after Stop, with the tone's thread gone
  std::int64_t frames = 0;
  for (const Chunk& chunk : chunks) {
    ASSERT_EQ(chunk.pcm.size() % 4, 0u);
    EXPECT_EQ(chunk.timestamp_us, frames * 1'000'000 / 48000);
    const auto chunk_frames = static_cast<std::int64_t>(chunk.pcm.size() / 4);
    EXPECT_EQ(chunk.pcm, Tone(format, frames, chunk_frames)) << "at frame " << frames;
    frames += chunk_frames;
  }
  const auto seconds = [](Clock::duration span) { return std::chrono::duration<double>(span).count(); };
  // All that was due up to the last wake-up before Stop went out; nothing that was not yet due.
  EXPECT_GE(frames, std::llround((seconds(before_stop - after_start) - 0.020 - 0.030) * 48000));
  EXPECT_LE(frames, std::llround(seconds(after_stop - before_start) * 48000));
  EXPECT_GE(chunks.size(), 10u);  // about 20 ms each
}

TEST(TestToneTest, WritesEveryLayoutTheMoviesTakeAndRefusesOthers) {
  // 8-bit: unsigned around 128, the tone at a quarter of full scale outside the beep.
  const auto eight = Tone({8000, 1, 8}, 4000, 200);
  const auto [low, high] = std::minmax_element(eight.begin(), eight.end());
  EXPECT_NEAR(*low, 128 - 32, 1);
  EXPECT_NEAR(*high, 128 + 32, 1);

  // 16-bit stereo: little-endian, both channels alike, 1 kHz (one rising zero crossing a cycle).
  const auto pcm = Tone({44100, 2, 16}, 44100 / 2, 44100 / 2);
  const auto left = Samples16(pcm, 2, 0);
  EXPECT_EQ(left, Samples16(pcm, 2, 1));
  EXPECT_NEAR(Peak(left, 0, left.size()), 0.25, 0.01);
  int rising = 0;
  for (std::size_t index = 1; index < left.size(); ++index) rising += left[index - 1] < 0 && left[index] >= 0;
  EXPECT_NEAR(rising, 500, 1);

  // Sample n depends on n alone, wherever a chunk starts.
  const auto whole = Tone({22050, 1, 16}, 0, 3000);
  const auto tail = Tone({22050, 1, 16}, 1000, 2000);
  EXPECT_TRUE(std::equal(tail.begin(), tail.end(), whole.begin() + 2000));

  auto tone = MakeTestTone();
  ChunkCollector collector;
  for (const AudioFormat& refused : {AudioFormat{48000, 2, 24}, AudioFormat{48000, 3, 16}, AudioFormat{0, 1, 8}})
    EXPECT_FALSE(tone->Start(refused, collector)) << refused.bits_per_sample << " " << refused.channels;
  EXPECT_TRUE(collector.chunks.empty());
}

TEST(TestToneTest, BeepsLouderAtTheStartOfEverySecond) {
  const int rate = 48000;
  const auto samples = Samples16(Tone({rate, 1, 16}, 0, 3 * rate), 1);
  for (int second = 0; second < 3; ++second) {
    SCOPED_TRACE(second);
    const auto start = static_cast<std::size_t>(second * rate);
    EXPECT_NEAR(Peak(samples, start, start + rate / 10), 0.75, 0.01);
    EXPECT_NEAR(Peak(samples, start + rate / 10, start + rate), 0.25, 0.01);
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
