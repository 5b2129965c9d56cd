#include "platform/sound_level_meter.h"

#include <algorithm>
#include <cstdlib>

namespace zr::platform {

namespace {

constexpr int kFullScale = 100;

std::size_t FrameBytes(const AudioFormat& format) {
  return static_cast<std::size_t>(std::max(1, format.channels * format.bits_per_sample / 8));
}

// The largest distance of a sample from silence, in the sample's own units.
int PeakMagnitude(std::span<const std::uint8_t> pcm, const AudioFormat& format) {
  int peak = 0;
  if (format.bits_per_sample == 8) {
    for (const std::uint8_t sample : pcm) peak = std::max(peak, std::abs(static_cast<int>(sample) - 128));
    return peak;
  }
  for (std::size_t at = 0; at + 1 < pcm.size(); at += 2) {
    const auto sample = static_cast<std::int16_t>(pcm[at] | (pcm[at + 1] << 8));
    peak = std::max(peak, std::abs(static_cast<int>(sample)));
  }
  return peak;
}

// Full scale is the largest positive sample; the one more negative sample reads as full too.
int ToLevel(int magnitude, const AudioFormat& format) {
  const int full = format.bits_per_sample == 8 ? 127 : 32767;
  return std::min(kFullScale, (magnitude * kFullScale + full / 2) / full);
}

}  // namespace

LevelPosting::Poster LevelPosting::Begin(LevelListener listener) {
  listening_ = std::make_shared<LevelListener>(std::move(listener));
  return Poster(loop_, listening_);
}

void LevelPosting::Poster::Level(int level) const {
  loop_->Post([listening = listening_, level] {
    const auto alive = listening.lock();
    if (alive && alive->level) alive->level(level);
  });
}

void LevelPosting::Poster::Ended(const std::string& why) const {
  loop_->Post([listening = listening_, why] {
    const auto alive = listening.lock();
    if (alive && alive->ended) alive->ended(why);
  });
}

int PeakLevel(std::span<const std::uint8_t> pcm, const AudioFormat& format) {
  return ToLevel(PeakMagnitude(pcm, format), format);
}

LevelBlocks::LevelBlocks(const AudioFormat& format)
    : format_(format),
      block_bytes_(std::max<std::size_t>(1, static_cast<std::size_t>(format.samples_per_second) * kBlockMs / 1000) *
                   FrameBytes(format)) {}

void LevelBlocks::Add(std::span<const std::uint8_t> pcm, const std::function<void(int level)>& block_level) {
  while (!pcm.empty()) {
    const std::size_t taken = std::min(pcm.size(), block_bytes_ - filled_);
    peak_ = std::max(peak_, PeakMagnitude(pcm.first(taken), format_));
    filled_ += taken;
    pcm = pcm.subspan(taken);
    if (filled_ < block_bytes_) return;
    block_level(ToLevel(peak_, format_));
    peak_ = 0;
    filled_ = 0;
  }
}

}  // namespace zr::platform
