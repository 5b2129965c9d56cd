#pragma once
// A movie written out as a standard DV stream file, the form DV decks and editors exchange
// footage in: PAL (720x576 at 25 frames a second) for movies nearer 25 frames a second, NTSC
// (720x480 at 29.97) for faster ones. Every output frame shows the movie's frame of its moment,
// the picture stretched to the DV frame. The movie's sound, where it has any, goes with it as the
// DV stream carries sound: 16-bit stereo at 48 kHz, converted from the movie's own, silence
// after its end.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "base/result.h"
#include "platform/event_loop.h"

namespace zr::platform::linux_impl {

struct DvStandard {
  int width;
  int height;
  int rate_numerator;
  int rate_denominator;
};

// The standard a movie of `frames_per_second` goes out in.
DvStandard DvStandardFor(double frames_per_second);

// The file the movie at `movie` is written to: beside it, its name with ".dv" for its
// extension, or with " 2", " 3", ... before it where a file of that name is there already, so
// nothing that stands is overwritten.
std::string DvFileBeside(const std::string& movie);

// Writes `movie` to `target` as a DV stream. `go_on` is told the position written so far, in
// the movie's milliseconds, after each frame; false from it ends the writing there, with the
// frames written kept (a DV stream is whole at every frame). An Error says why the movie could
// not be read or the file not written.
Result<void> WriteDvStream(const std::string& movie, const std::string& target,
                           const std::function<bool(std::int64_t position_ms)>& go_on);

// One movie going to its DV file on a thread of its own. The position written and the end are
// posted to the logic thread; `finished` runs there once the whole movie is in the file, never
// for a writing stopped or failed.
class ThreadedDvExport {
 public:
  // A DeviceError when the movie cannot be read.
  ThreadedDvExport(EventLoop& loop, const std::string& movie);
  ~ThreadedDvExport() { Stop(); }
  ThreadedDvExport(const ThreadedDvExport&) = delete;
  ThreadedDvExport& operator=(const ThreadedDvExport&) = delete;

  void Start(std::function<void()> finished);
  // Ends the writing where it is and waits for the thread, which stops after the frame it is on.
  void Stop();
  std::int64_t PositionMs() const { return shared_->position_ms; }
  std::int64_t LengthMs() const { return length_ms_; }
  const std::string& Target() const { return target_; }

 private:
  struct Shared {
    std::atomic<bool> stop{false};
    std::int64_t position_ms = 0;  // touched on the logic thread only
  };
  EventLoop& loop_;
  std::string movie_, target_;
  std::int64_t length_ms_ = 0;
  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::thread worker_;
};

}  // namespace zr::platform::linux_impl
