#pragma once
// One movie run of a simulated device: frames delivered in virtual time at the run's rate,
// sound alongside when asked, written through the program's movie writer; ends by its limit,
// by a stop, by a failure of the source, or by a write that fails (a simulated full disk too).

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture_backends.h"
#include "platform/movie_file.h"
#include "platform/picture.h"
#include "platform/sim/sim_event_loop.h"

namespace zr::platform::sim {

class SimRecording : public std::enable_shared_from_this<SimRecording> {
 public:
  struct Settings {
    std::string path;
    std::int64_t microseconds_per_frame = 66667;
    int width = 320;
    int height = 240;
    std::optional<AudioFormat> audio;
    std::optional<int> limit_seconds;  // nothing: runs until stopped
    // The run ends once it holds this many frames (the driver's index is full).
    std::optional<std::int64_t> most_frames;
    // The disk is full once this many frames are written: the next frame's write fails.
    std::optional<std::int64_t> disk_full_at_frame;
  };

  SimRecording(SimEventLoop& loop, MovieFiles& movies, Settings settings, std::function<Picture()> picture,
               std::function<void()> on_end);

  // Opens the file and starts delivering frames; an Error when the file cannot be written.
  Result<void> Start();
  // Ends the run now; the file is closed. Does nothing once ended.
  void End();
  // One more frame by request (a frame-by-frame movie).
  bool AppendFrame();

  bool Running() const { return running_; }
  // Why the run ended badly, and the writer's words for it; None while it did not.
  RunFailure Failure() const { return failure_; }
  const std::string& FailureMessage() const { return failure_message_; }
  std::int64_t Frames() const { return frames_; }
  std::int64_t Dropped() const { return dropped_; }
  // More reported drops, or fewer for a negative count; never fewer than none.
  void AddDrops(int frames) { dropped_ = std::max<std::int64_t>(0, dropped_ + frames); }
  std::int64_t ElapsedMs() const;
  // Opens the file for frames appended one by one, without a clock.
  bool OpenForSingleFrames(double frames_per_second);

 private:
  void ScheduleFrame(std::int64_t index);
  void DeliverFrame(std::int64_t index);
  Result<void> WriteFrameAndSound(std::int64_t index);
  std::int64_t FrameDueMs(std::int64_t index) const;

  SimEventLoop& loop_;
  MovieFiles& movies_;
  Settings settings_;
  std::function<Picture()> picture_;
  std::function<void()> on_end_;
  std::unique_ptr<MovieWriter> writer_;
  bool running_ = false;
  std::int64_t start_ms_ = 0;
  std::int64_t end_ms_ = 0;
  std::int64_t frames_ = 0;
  std::int64_t dropped_ = 0;
  RunFailure failure_ = RunFailure::None;
  std::string failure_message_;
};

}  // namespace zr::platform::sim
