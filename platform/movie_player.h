#pragma once
// The movie player a window plays an AVI file with: it loads the file, shows one frame at a
// time, steps and seeks to any frame, and plays at the movie's rate against the loop's clock.
// Each window makes its own player through the program's services. There is a simulated
// player on the virtual clock (platform/sim) and a real one that decodes the file
// (platform/linux).
//
// Threads: every call on the logic thread. A real player decodes on a thread of its own; the
// end of playing reaches the logic thread as a posted event.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "platform/event_loop.h"
#include "platform/picture.h"

namespace zr::platform {

class MoviePlayer {
 public:
  virtual ~MoviePlayer() = default;

  // Loads the file, stopped at frame 1; an Error says why it could not be played, and leaves
  // the player empty (no frames, no picture). A movie already open is closed first.
  virtual Result<void> OpenMovie(const std::string& path) = 0;
  // Releases the file; the player is empty afterwards.
  virtual void CloseMovie() = 0;
  // Starts playing from the current frame; playing on past the last frame stops there and
  // posts the end event. Nothing happens while empty or already playing.
  virtual void PlayMovie() = 0;
  // Stops playing and stays at the frame shown.
  virtual void StopMovie() = 0;
  // Goes to a frame, 1 being the first: a fraction is dropped and a number outside the movie
  // goes to its nearest end. A playing player plays on from there.
  virtual void SeekFrame(double frame) = 0;

  // The number of the frame shown, 1 being the first; 0 while empty.
  virtual std::int64_t CurrentFrame() const = 0;
  // The number of frames, which is the number of the last one; 0 while empty.
  virtual std::int64_t FrameCount() const = 0;
  virtual double FramesPerSecond() const = 0;
  // Where the frame shown starts, and the movie's length, in milliseconds.
  virtual std::int32_t PositionMs() const = 0;
  virtual std::int32_t LengthMs() const = 0;
  virtual int VideoWidth() const = 0;
  virtual int VideoHeight() const = 0;
  // The picture of the frame shown; null while empty or before the first frame is decoded.
  virtual std::shared_ptr<const Picture> CurrentPicture() const = 0;
  // The movie's length as a text, "hh:mm:ss.ff" (hundredths of a second).
  virtual std::string Duration() const = 0;
  virtual bool Playing() const = 0;

  // Called on the logic thread, as a posted event, when playing reaches the movie's end.
  void SetEndHandler(std::function<void()> on_end) { on_end_ = std::move(on_end); }

 protected:
  const std::function<void()>& EndHandler() const { return on_end_; }

 private:
  std::function<void()> on_end_;
};

// Where a movie stands in time, shared by every player: which frame is shown at a time of the
// loop's clock while playing, where playing ends, and the texts and numbers made from that.
class PlaybackClock {
 public:
  // Starts a movie of `frame_count` frames at `frames_per_second`, stopped at frame 1 (frame
  // 0 for a movie without frames).
  void Reset(std::int64_t frame_count, double frames_per_second);

  std::int64_t FrameCount() const { return frame_count_; }
  double FramesPerSecond() const { return frames_per_second_; }
  bool Playing() const { return playing_; }
  // The frame shown at `now_ms`; while playing it moves on with the clock up to the last.
  std::int64_t FrameAt(std::int64_t now_ms) const;
  // When playing from now reaches the end (the last frame has been shown for its time);
  // meaningful only while playing.
  std::int64_t EndMs() const;

  // False when there is nothing to play or it plays already.
  bool Play(std::int64_t now_ms);
  void Stop(std::int64_t now_ms);
  void Seek(double frame, std::int64_t now_ms);
  // Playing ended: the last frame stays shown.
  void Finish();

  std::int32_t PositionMsOf(std::int64_t frame) const;
  std::int32_t LengthMs() const;
  std::string DurationText() const;

 private:
  std::int64_t frame_count_ = 0;
  double frames_per_second_ = 0;
  bool playing_ = false;
  std::int64_t frame_ = 0;  // the frame shown when stopped, or when playing began
  std::int64_t started_ms_ = 0;
};

// A player that keeps its time by a playback clock on the loop's time: the answers every player
// gives alike.
class ClockedMoviePlayer : public MoviePlayer {
 public:
  std::int64_t CurrentFrame() const override { return clock_.FrameAt(time_.NowMs()); }
  std::int64_t FrameCount() const override { return clock_.FrameCount(); }
  double FramesPerSecond() const override { return clock_.FramesPerSecond(); }
  std::int32_t PositionMs() const override { return clock_.PositionMsOf(CurrentFrame()); }
  std::int32_t LengthMs() const override { return clock_.LengthMs(); }
  int VideoWidth() const override { return width_; }
  int VideoHeight() const override { return height_; }
  std::string Duration() const override { return clock_.DurationText(); }
  bool Playing() const override { return clock_.Playing(); }

 protected:
  explicit ClockedMoviePlayer(const EventLoop& time) : time_(time) {}

  PlaybackClock clock_;
  int width_ = 0;
  int height_ = 0;

 private:
  const EventLoop& time_;
};

}  // namespace zr::platform
