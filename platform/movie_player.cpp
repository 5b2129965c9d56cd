#include "platform/movie_player.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace zr::platform {

namespace {

// Milliseconds as a 32-bit number: a longer time reads as the largest one.
std::int32_t ClampedMs(double ms) {
  if (!(ms > 0)) return 0;
  if (ms >= std::numeric_limits<std::int32_t>::max()) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::llround(ms));
}

}  // namespace

void PlaybackClock::Reset(std::int64_t frame_count, double frames_per_second) {
  frame_count_ = std::max<std::int64_t>(frame_count, 0);
  frames_per_second_ = frames_per_second > 0 ? frames_per_second : 0;
  playing_ = false;
  frame_ = frame_count_ > 0 ? 1 : 0;
  started_ms_ = 0;
}

std::int64_t PlaybackClock::FrameAt(std::int64_t now_ms) const {
  if (!playing_) return frame_;
  const double elapsed_frames = static_cast<double>(now_ms - started_ms_) * frames_per_second_ / 1000.0;
  const double frame = static_cast<double>(frame_) + std::floor(elapsed_frames);
  return frame >= static_cast<double>(frame_count_) ? frame_count_ : static_cast<std::int64_t>(frame);
}

std::int64_t PlaybackClock::EndMs() const {
  const double frames_left = static_cast<double>(frame_count_ - frame_ + 1);
  return started_ms_ + static_cast<std::int64_t>(std::ceil(frames_left * 1000.0 / frames_per_second_));
}

bool PlaybackClock::Play(std::int64_t now_ms) {
  if (playing_ || frame_count_ == 0 || frames_per_second_ <= 0) return false;
  playing_ = true;
  started_ms_ = now_ms;
  return true;
}

void PlaybackClock::Stop(std::int64_t now_ms) {
  frame_ = FrameAt(now_ms);
  playing_ = false;
}

void PlaybackClock::Seek(double frame, std::int64_t now_ms) {
  if (frame_count_ == 0) return;
  // NaN goes to the first frame.
  const double whole = std::trunc(frame);
  frame_ = !(whole >= 1)                                ? 1
           : whole >= static_cast<double>(frame_count_) ? frame_count_
                                                        : static_cast<std::int64_t>(whole);
  started_ms_ = now_ms;
}

void PlaybackClock::Finish() {
  frame_ = frame_count_;
  playing_ = false;
}

std::int32_t PlaybackClock::PositionMsOf(std::int64_t frame) const {
  if (frame < 1 || frames_per_second_ <= 0) return 0;
  return ClampedMs(static_cast<double>(frame - 1) * 1000.0 / frames_per_second_);
}

std::int32_t PlaybackClock::LengthMs() const {
  if (frames_per_second_ <= 0) return 0;
  return ClampedMs(static_cast<double>(frame_count_) * 1000.0 / frames_per_second_);
}

std::string PlaybackClock::DurationText() const {
  const std::int64_t hundredths = LengthMs() / 10;
  char text[32];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld.%02lld", static_cast<long long>(hundredths / 360000),
                static_cast<long long>(hundredths / 6000 % 60), static_cast<long long>(hundredths / 100 % 60),
                static_cast<long long>(hundredths % 100));
  return text;
}

}  // namespace zr::platform
