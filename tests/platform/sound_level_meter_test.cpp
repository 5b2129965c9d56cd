#include "platform/sound_level_meter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace zr::platform {
namespace {

constexpr AudioFormat kStereo16{48000, 2, 16};
constexpr AudioFormat kMono8{8000, 1, 8};

// `frames` sample frames of a 1 kHz sine of `amplitude` (0 to 1 of full scale) in every channel,
// with `click` (a sample value from -1 to 1) at frame `click_at` of the last channel.
std::vector<std::uint8_t> Pcm(const AudioFormat& format, int frames, double amplitude, int click_at = -1,
                              double click = 0) {
  std::vector<std::uint8_t> pcm;
  for (int frame = 0; frame < frames; ++frame) {
    const double sine = amplitude * std::sin(2 * std::numbers::pi * 1000 * frame / format.samples_per_second);
    for (int channel = 0; channel < format.channels; ++channel) {
      const double value = frame == click_at && channel == format.channels - 1 ? click : sine;
      if (format.bits_per_sample == 8) {
        pcm.push_back(static_cast<std::uint8_t>(std::lround(128 + std::clamp(value * 128, -128.0, 127.0))));
      } else {
        const auto sample = static_cast<std::uint16_t>(std::lround(std::clamp(value * 32768, -32768.0, 32767.0)));
        pcm.push_back(static_cast<std::uint8_t>(sample & 0xFF));
        pcm.push_back(static_cast<std::uint8_t>(sample >> 8));
      }
    }
  }
  return pcm;
}

struct PeakCase {
  const char* what;
  AudioFormat format;
  double amplitude;
  int click_at;
  double click;
  int level;
};

TEST(PeakLevelTest, IsThePeakOfEveryChannelAsAShareOfFullScale) {
  const PeakCase cases[] = {
      {"16-bit silence", kStereo16, 0, -1, 0, 0},
      {"8-bit silence", kMono8, 0, -1, 0, 0},
      {"full-scale 16-bit sine", kStereo16, 1, -1, 0, 100},
      {"full-scale 8-bit sine", kMono8, 1, -1, 0, 100},
      {"half-scale sine", kStereo16, 0.5, -1, 0, 50},
      {"quiet sine", kStereo16, 0.03, -1, 0, 3},
      {"a negative full-scale click in silence, right channel", kStereo16, 0, 457, -1, 100},
      {"a click at a quarter over a quiet sine", kStereo16, 0.1, 3, 0.25, 25},
      {"an 8-bit click at the lowest sample", kMono8, 0, 10, -1, 100},
  };
  for (const PeakCase& c : cases)
    EXPECT_EQ(PeakLevel(Pcm(c.format, 960, c.amplitude, c.click_at, c.click), c.format), c.level) << c.what;
}

// 50 ms of a quiet sine with a click 30 ms in, handed over in pieces of odd sizes: two whole
// blocks, the click in the second only, and the last 10 ms waiting for more.
TEST(LevelBlocksTest, TellsEachWhole20MsBlockWhateverThePiecesAre) {
  const auto pcm = Pcm(kStereo16, 2400, 0.1, 1440, 0.9);
  for (const std::size_t piece : {std::size_t{4}, std::size_t{1000}, std::size_t{3840}, pcm.size()}) {
    LevelBlocks blocks(kStereo16);
    std::vector<int> levels;
    for (std::size_t at = 0; at < pcm.size(); at += piece)
      blocks.Add(std::span(pcm).subspan(at, std::min(piece, pcm.size() - at)),
                 [&](int level) { levels.push_back(level); });
    EXPECT_EQ(levels, (std::vector<int>{10, 90})) << "pieces of " << piece << " bytes";
  }
}

}  // namespace
}  // namespace zr::platform
