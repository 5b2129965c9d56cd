#pragma once
// A connected device's picture as the back ends share it: the source runs from connect to
// disconnect, the latest frame is kept for the live picture and snapshots, and a recorder, while
// one is attached, gets every frame.
//
// Threads: Start, Stop, Attach, Detach on the logic thread; the frames and the end arrive on the
// source's thread; Latest and Ended from any thread.

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/bitmap_font.h"
#include "platform/linux/frame_source.h"
#include "platform/linux/recorder.h"

namespace zr::platform::linux_impl {

// A running time code burnt into every frame, HH:MM:SS:FF of the source's own clock, at a
// place of the picture (top left corner, y from the top) in a glyph size and colour.
struct BurntInTimeCode {
  int x = 0;
  int y = 0;
  int unit = 1;
  BgrColour ink{255, 255, 255};
};

class LiveSource final : public FrameSink {
 public:
  LiveSource(std::unique_ptr<FrameSource> source, std::string name);
  ~LiveSource();
  LiveSource(const LiveSource&) = delete;
  LiveSource& operator=(const LiveSource&) = delete;

  Result<void> Start();
  void Stop();

  FrameSource& Source() { return *source_; }
  const std::string& Name() const { return name_; }
  // The latest frame; nothing before the first one.
  std::shared_ptr<const Picture> Latest() const;
  // Why the source stopped by itself; empty while it runs.
  std::string EndMessage() const;

  // Every frame from now on carries the time code, or none with nothing.
  void SetTimeCode(std::optional<BurntInTimeCode> time_code);

  void Attach(std::shared_ptr<Recorder> recorder);
  void Detach();

  void OnFrame(const CapturedFrame& frame) override;
  void OnSourceEnded(const std::string& message) override;

 private:
  std::unique_ptr<FrameSource> source_;
  std::string name_;
  mutable std::mutex mutex_;  // guards latest_, recorder_, end_message_
  std::shared_ptr<const Picture> latest_;
  std::shared_ptr<Recorder> recorder_;
  std::string end_message_;
  std::optional<BurntInTimeCode> time_code_;
};

// The time code of a frame taken `timestamp_us` after the source started: hours, minutes,
// seconds and the frame within the second at `frames_per_second`, each of two digits.
std::string TimeCodeText(std::int64_t timestamp_us, double frames_per_second);

}  // namespace zr::platform::linux_impl
