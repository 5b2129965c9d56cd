#include "platform/linux/alsa_audio.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zr::platform::linux_impl {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Keeps the layout of the first chunks of a run and counts the sample frames of all of them.
struct AudioCollector final : AudioSink {
  explicit AudioCollector(std::size_t bytes_per_frame) : frame_bytes(bytes_per_frame) {}

  void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) override {
    std::lock_guard lock(mutex);
    if (timestamps.size() < kKeptChunks) {
      timestamps.push_back(timestamp_us);
      sizes.push_back(pcm.size());
      first_frames.push_back(frames);
    }
    frames += static_cast<std::int64_t>(pcm.size() / frame_bytes);
    arrived.notify_all();
  }
  void OnAudioEnded(const std::string& message) override {
    std::lock_guard lock(mutex);
    ended = message;
  }
  bool WaitForChunks(std::size_t count) {
    std::unique_lock lock(mutex);
    return arrived.wait_for(lock, milliseconds(1000), [&] { return timestamps.size() >= count; });
  }

  static constexpr std::size_t kKeptChunks = 64;
  const std::size_t frame_bytes;
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<std::int64_t> timestamps;
  std::vector<std::size_t> sizes;
  std::vector<std::int64_t> first_frames;  // sample frames delivered before each chunk
  std::int64_t frames = 0;
  std::string ended;
};

const AlsaCaptureDevice kNullDevice{"Null", "null", ""};

TEST(AlsaAudioTest, ListingIsQuietAndNamesPlugDevices) {
  testing::internal::CaptureStderr();
  const auto devices = ListAlsaCaptureDevices();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (const auto& device : devices) {
    EXPECT_EQ(device.pcm_name.rfind("plughw:CARD=", 0), 0u) << device.pcm_name;
    EXPECT_EQ(device.mixer_name.rfind("hw:CARD=", 0), 0u) << device.mixer_name;
    EXPECT_FALSE(device.name.empty());
  }
}

TEST(AlsaAudioTest, AMissingDeviceGivesAnErrorQuietly) {
  for (const AlsaCaptureDevice& missing :
       {AlsaCaptureDevice{"Nowhere", "plughw:CARD=NoSuchCard,DEV=0", "hw:CARD=NoSuchCard"},
        AlsaCaptureDevice{"Nowhere", "no-such-pcm", ""}}) {
    SCOPED_TRACE(missing.pcm_name);
    testing::internal::CaptureStderr();
    auto source = MakeAlsaAudioSource(missing);
    AudioCollector collector(4);
    const auto started = source->Start({44100, 2, 16}, collector);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_FALSE(started);
    EXPECT_NE(started.error().message.find("Nowhere"), std::string::npos) << started.error().message;
    // Without a mixer to ask, the device has its one input.
    EXPECT_EQ(source->Inputs(), std::vector<std::string>{"Capture"});
    source->Stop();
  }
}

TEST(AlsaAudioTest, ReadsTheNullDeviceInContiguousChunksAndStopsPromptly) {
  for (const AudioFormat& format : {AudioFormat{48000, 2, 16}, AudioFormat{8000, 1, 8}}) {
    SCOPED_TRACE(format.bits_per_sample);
    const std::size_t frame_bytes = static_cast<std::size_t>(format.channels * format.bits_per_sample / 8);
    auto source = MakeAlsaAudioSource(kNullDevice);
    AudioCollector collector(frame_bytes);
    ASSERT_TRUE(source->Start(format, collector));
    ASSERT_TRUE(collector.WaitForChunks(3));
    const auto stopping = Clock::now();
    source->Stop();
    EXPECT_LT(Clock::now() - stopping, milliseconds(200));

    std::lock_guard lock(collector.mutex);
    EXPECT_EQ(collector.ended, "");
    for (std::size_t index = 0; index < collector.timestamps.size(); ++index) {
      EXPECT_EQ(collector.sizes[index] % frame_bytes, 0u);
      EXPECT_EQ(collector.timestamps[index], collector.first_frames[index] * 1'000'000 / format.samples_per_second);
    }
  }
}

TEST(AlsaAudioTest, ADeviceWithoutMixerHasOneInputAtFullLevel) {
  auto source = MakeAlsaAudioSource(kNullDevice);
  EXPECT_EQ(source->Inputs(), std::vector<std::string>{"Capture"});
  EXPECT_EQ(source->CurrentInput(), 0);
  EXPECT_TRUE(source->SelectInput(0));
  EXPECT_FALSE(source->SelectInput(1));
  EXPECT_EQ(source->InputLevel(0), 100);
  AudioCollector collector(4);
  EXPECT_FALSE(source->Start({48000, 2, 24}, collector));
}

}  // namespace
}  // namespace zr::platform::linux_impl
