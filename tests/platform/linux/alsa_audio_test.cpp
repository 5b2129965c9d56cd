#include "platform/linux/alsa_audio.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace zr::platform::linux_impl {
namespace {

using std::chrono::milliseconds;

// Checks every chunk as it comes: whole sample frames, stamped by the frames delivered before.
struct AudioCollector final : AudioSink {
  explicit AudioCollector(const AudioFormat& format)
      : frame_bytes(static_cast<std::size_t>(format.channels * format.bits_per_sample / 8)),
        rate(format.samples_per_second) {}

  void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) override {
    std::lock_guard lock(mutex);
    EXPECT_EQ(pcm.size() % frame_bytes, 0u);
    EXPECT_EQ(timestamp_us, frames * 1'000'000 / rate);
    frames += static_cast<std::int64_t>(pcm.size() / frame_bytes);
    ++chunks;
    arrived.notify_all();
  }
  void OnAudioEnded(const std::string& message) override { ADD_FAILURE() << "the device ended: " << message; }

  const std::size_t frame_bytes;
  const int rate;
  std::mutex mutex;
  std::condition_variable arrived;
  std::int64_t frames = 0;
  int chunks = 0;
};

TEST(AlsaAudioTest, ListingIsQuietAndNamesPlugDevices) {
  ::testing::internal::CaptureStderr();
  const auto devices = ListAlsaCaptureDevices();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  if (!std::filesystem::exists("/dev/snd")) {
    EXPECT_TRUE(devices.empty()) << "a machine without sound cards lists none";
  }
  for (const auto& device : devices) {
    EXPECT_TRUE(device.pcm_name.starts_with("plughw:CARD=")) << device.pcm_name;
    EXPECT_TRUE(device.mixer_name.starts_with("hw:CARD=")) << device.mixer_name;
  }
}

TEST(AlsaAudioTest, AMissingDeviceGivesAnErrorQuietly) {
  for (const char* pcm_name : {"plughw:CARD=NoSuchCard,DEV=0", "no-such-pcm"}) {
    SCOPED_TRACE(pcm_name);
    ::testing::internal::CaptureStderr();
    auto source = MakeAlsaAudioSource({"Nowhere", pcm_name, ""});
    const AudioFormat format{44100, 2, 16};
    AudioCollector collector(format);
    const auto started = source->Start(format, collector);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    ASSERT_FALSE(started);
    EXPECT_NE(started.error().message.find("Nowhere"), std::string::npos) << started.error().message;
    source->Stop();
  }
}

TEST(AlsaAudioTest, ReadsTheNullDeviceInContiguousChunksAndStopsPromptly) {
  for (const AudioFormat& format : {AudioFormat{48000, 2, 16}, AudioFormat{8000, 1, 8}}) {
    SCOPED_TRACE(format.bits_per_sample);
    auto source = MakeAlsaAudioSource({"Null", "null", ""});
    AudioCollector collector(format);
    ASSERT_TRUE(source->Start(format, collector));
    {
      std::unique_lock lock(collector.mutex);
      ASSERT_TRUE(collector.arrived.wait_for(lock, milliseconds(1000), [&] { return collector.chunks >= 3; }));
    }
    const auto stopping = std::chrono::steady_clock::now();
    source->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - stopping, milliseconds(200));
  }
}

}  // namespace
}  // namespace zr::platform::linux_impl
