#pragma once
// A camcorder's tape deck as the program's own decks model it: a cassette of scenes, each shot
// at a date and time, a transport that moves the tape, and the tape's time code. The simulated
// and the built-in decks both run on it; the caller gives the time (milliseconds on a clock
// of its own), so the deck itself reads no clock.
//
// Transport states and commands share their numbers: 1 play, 2 stop, 3 pause, 5 fast forward,
// 6 rewind. Play moves the tape at its own speed, the two winds ten times as fast; a wind or
// play that reaches an end of the tape stops there.
//
// Threads: none of its own; a deck shared between threads is guarded by its owner.

#include <cstdint>
#include <vector>

#include "base/date_time.h"

namespace zr::platform {

namespace dv_transport {
constexpr int kPlay = 1;
constexpr int kStop = 2;
constexpr int kPause = 3;
constexpr int kFastForward = 5;
constexpr int kRewind = 6;
}  // namespace dv_transport

// A scene of the cassette: from its first frame on until the next scene's, shot from `shot` on.
struct TapeScene {
  std::int64_t first_frame = 0;
  DateTime shot;
};

class DvTapeDeck {
 public:
  static constexpr int kFramesPerSecond = 25;
  static constexpr int kWindSpeed = 10;

  // `scenes` in the tape's order, the first at frame 0; the tape holds `length_frames` frames.
  DvTapeDeck(std::vector<TapeScene> scenes, std::int64_t length_frames);

  // Sends a transport command at `now_ms` and answers the transport state after it; 0 only
  // answers it. A number that is no command changes nothing.
  int Command(int command, std::int64_t now_ms);
  // The frame under the head at `now_ms`, from 0.
  std::int64_t Frame(std::int64_t now_ms);
  // The time code of that frame: hours, minutes, seconds and frames as two decimal digits each,
  // one digit a hexadecimal place (00:12:34:05 is 0x00123405).
  std::uint32_t TimeCode(std::int64_t now_ms);
  // When the frame under the head was shot.
  DateTime RecordDate(std::int64_t now_ms);

 private:
  // Moves the tape from the last reading to `now_ms` at the speed of the transport state.
  void Advance(std::int64_t now_ms);
  int Speed() const;

  std::vector<TapeScene> scenes_;
  std::int64_t length_frames_;
  int state_ = dv_transport::kStop;
  // The position in thousandths of a frame, so that readings closer than a frame lose nothing.
  std::int64_t position_milliframes_ = 0;
  std::int64_t read_at_ms_ = 0;
  bool read_once_ = false;
};

// The cassette the program's own decks hold: an hour of tape with three scenes shot on
// different days.
DvTapeDeck MakeDemoTapeDeck();

// The moment `seconds` after `start`.
DateTime SecondsAfter(const DateTime& start, std::int64_t seconds);

}  // namespace zr::platform
