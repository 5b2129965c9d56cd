#include "platform/linux/sound_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace zr::platform::linux_impl {
namespace {

// One second of 16-bit stereo in which every sample holds `level`, in 20 ms blocks as a device
// delivers them.
std::vector<std::uint8_t> StereoBlock(std::int16_t level, int frames) {
  std::vector<std::uint8_t> pcm(static_cast<std::size_t>(frames) * 4);
  for (std::size_t at = 0; at < pcm.size(); at += 2) std::memcpy(&pcm[at], &level, 2);
  return pcm;
}

TEST(SoundConverterTest, DeviceStereoAt44kBecomesTheMoviesMono8BitsAt8k) {
  auto converter = SoundConverter::Make(AudioFormat{44100, 2, 16}, AudioFormat{8000, 1, 8});
  ASSERT_TRUE(converter) << converter.error().message;
  std::size_t made = 0;
  std::vector<std::uint8_t> last;
  for (int block = 0; block < 50; ++block) {
    const auto out = converter->Convert(StereoBlock(16384, 882));
    made += out.size();
    last.assign(out.begin(), out.end());
  }
  // A second in gives a second out, but for the few samples the resampler holds back.
  EXPECT_GT(made, 7950u);
  EXPECT_LE(made, 8000u);
  // Half of full scale stays half of full scale: 128 + 64 in unsigned 8 bits.
  ASSERT_FALSE(last.empty());
  EXPECT_TRUE(std::all_of(last.begin(), last.end(), [](std::uint8_t v) { return v >= 190 && v <= 194; }));
}

TEST(SoundConverterTest, SilenceIsTheMidpointOfUnsignedSamplesAndPartialFramesAreLeftOut) {
  auto converter = SoundConverter::Make(AudioFormat{8000, 2, 16}, AudioFormat{8000, 2, 8});
  ASSERT_TRUE(converter);
  auto pcm = StereoBlock(0, 160);
  pcm.push_back(0);  // half a sample frame
  const auto out = converter->Convert(pcm);
  ASSERT_EQ(out.size(), 320u);
  EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](std::uint8_t v) { return v == 128; }));
}

TEST(SoundConverterTest, FormatsItCannotHandleAreRefused) {
  EXPECT_FALSE(SoundConverter::Make(AudioFormat{44100, 2, 24}, AudioFormat{8000, 1, 8}));
  EXPECT_FALSE(SoundConverter::Make(AudioFormat{44100, 0, 16}, AudioFormat{8000, 1, 8}));
  EXPECT_FALSE(SoundConverter::Make(AudioFormat{44100, 2, 16}, AudioFormat{0, 1, 8}));
}

}  // namespace
}  // namespace zr::platform::linux_impl
