#include "platform/dv_tape_deck.h"

#include <algorithm>
#include <utility>

namespace zr::platform {

namespace {

constexpr std::int64_t kMilli = 1000;

// Two decimal digits in one byte, a digit a hexadecimal place.
std::uint32_t DigitPair(std::int64_t value) { return static_cast<std::uint32_t>((value / 10) * 16 + value % 10); }

}  // namespace

DvTapeDeck::DvTapeDeck(std::vector<TapeScene> scenes, std::int64_t length_frames)
    : scenes_(std::move(scenes)), length_frames_(std::max<std::int64_t>(length_frames, 1)) {
  if (scenes_.empty()) scenes_.push_back(TapeScene{});
}

int DvTapeDeck::Speed() const {
  switch (state_) {
    case dv_transport::kPlay:
      return 1;
    case dv_transport::kFastForward:
      return kWindSpeed;
    case dv_transport::kRewind:
      return -kWindSpeed;
    default:
      return 0;
  }
}

void DvTapeDeck::Advance(std::int64_t now_ms) {
  if (!read_once_) {
    read_once_ = true;
    read_at_ms_ = now_ms;
  }
  const std::int64_t elapsed_ms = std::max<std::int64_t>(now_ms - read_at_ms_, 0);
  read_at_ms_ = std::max(now_ms, read_at_ms_);
  const std::int64_t last = (length_frames_ - 1) * kMilli;
  position_milliframes_ += Speed() * elapsed_ms * kFramesPerSecond;
  const bool at_end = (Speed() > 0 && position_milliframes_ >= last) || (Speed() < 0 && position_milliframes_ <= 0);
  if (at_end) state_ = dv_transport::kStop;
  position_milliframes_ = std::clamp<std::int64_t>(position_milliframes_, 0, last);
}

int DvTapeDeck::Command(int command, std::int64_t now_ms) {
  Advance(now_ms);
  switch (command) {
    case dv_transport::kPlay:
    case dv_transport::kStop:
    case dv_transport::kPause:
    case dv_transport::kFastForward:
    case dv_transport::kRewind:
      state_ = command;
      break;
    default:
      break;
  }
  return state_;
}

std::int64_t DvTapeDeck::Frame(std::int64_t now_ms) {
  Advance(now_ms);
  return position_milliframes_ / kMilli;
}

std::uint32_t DvTapeDeck::TimeCode(std::int64_t now_ms) {
  const std::int64_t frame = Frame(now_ms);
  const std::int64_t seconds = frame / kFramesPerSecond;
  return DigitPair(seconds / 3600 % 100) << 24 | DigitPair(seconds / 60 % 60) << 16 | DigitPair(seconds % 60) << 8 |
         DigitPair(frame % kFramesPerSecond);
}

DateTime DvTapeDeck::RecordDate(std::int64_t now_ms) {
  const std::int64_t frame = Frame(now_ms);
  const auto scene = std::find_if(scenes_.rbegin(), scenes_.rend(),
                                  [frame](const TapeScene& candidate) { return candidate.first_frame <= frame; });
  const TapeScene& found = scene == scenes_.rend() ? scenes_.front() : *scene;
  return SecondsAfter(found.shot, (frame - found.first_frame) / kFramesPerSecond);
}

DvTapeDeck MakeDemoTapeDeck() {
  constexpr std::int64_t kMinute = 60LL * DvTapeDeck::kFramesPerSecond;
  return DvTapeDeck({{0, DateTime{2025, 6, 14, 10, 0, 0}},
                     {5 * kMinute, DateTime{2025, 6, 15, 16, 30, 0}},
                     {20 * kMinute, DateTime{2025, 8, 2, 9, 15, 0}}},
                    60 * kMinute);
}

DateTime SecondsAfter(const DateTime& start, std::int64_t seconds) {
  const std::int64_t total = DaysFromCivil(start.year, start.month, start.day) * 86400 + start.hour * 3600LL +
                             start.minute * 60LL + start.second + seconds;
  const std::int64_t days = total >= 0 ? total / 86400 : (total - 86399) / 86400;
  const std::int64_t in_day = total - days * 86400;
  DateTime moment;
  CivilFromDays(days, moment.year, moment.month, moment.day);
  moment.hour = static_cast<int>(in_day / 3600);
  moment.minute = static_cast<int>(in_day / 60 % 60);
  moment.second = static_cast<int>(in_day % 60);
  return moment;
}

}  // namespace zr::platform
