#pragma once
// Frame sources: where the pictures of the real devices come from (the built-in test camera,
// V4L2 devices, IP cameras, network streams). A source runs on a thread of its own and hands
// every frame to its sink; the capture back ends fan the frames out to the live picture, the
// snapshot and the recorder.
//
// Threads: Start, Stop and the format, input and control calls arrive on one thread (the logic
// thread, through a back end). The sink is called on the source's own thread, one call at a
// time, between Start and the return of Stop.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/date_time.h"
#include "base/result.h"
#include "platform/device_settings.h"
#include "platform/picture.h"

namespace zr::platform::linux_impl {

struct CapturedFrame {
  std::shared_ptr<const Picture> picture;  // never changed once handed out
  // When the frame was taken, in microseconds since the source started, on the source's clock.
  // A source with a steady rate of its own stamps frame n with n times its period, so that a
  // recording at that rate sees no gap where the delivery was merely late.
  std::int64_t timestamp_us = 0;
  std::int64_t sequence = 0;  // 0 for the first frame after Start
};

class FrameSink {
 public:
  virtual void OnFrame(const CapturedFrame& frame) = 0;
  // The source has stopped by itself and calls nothing more; `message` tells the operator why,
  // e.g. "The camera at http://… does not answer", "The stream has ended",
  // "The device /dev/video0 was unplugged".
  virtual void OnSourceEnded(const std::string& message) = 0;

 protected:
  ~FrameSink() = default;
};

// The tape deck of a camcorder: its transport (numbered as in platform/dv_tape_deck.h) and
// what it reads of the tape. Called on the logic thread; each call returns quickly.
class TapeTransport {
 public:
  virtual Result<int> Command(int command) = 0;
  virtual Result<std::uint32_t> TimeCode() = 0;
  virtual Result<DateTime> RecordDate() = 0;

 protected:
  ~TapeTransport() = default;
};

// The TV tuner of a source that has one. Its calls arrive on the logic thread.
class SourceTuner {
 public:
  virtual ~SourceTuner() = default;
  virtual int LowestChannel() const = 0;
  virtual int HighestChannel() const = 0;
  virtual Result<void> Tune(int channel) = 0;
  virtual int Input() const = 0;  // 1 cable, 2 antenna
  virtual Result<void> SelectInput(int input) = 0;
  // A telephone country code: that country's colour system and channel frequencies.
  virtual Result<void> SetCountry(int code) = 0;
  // Whether the tuner has locked a signal at its channel.
  virtual bool Locked() = 0;
  // Whether the channel tuned last is still settling, so that its signal means nothing yet.
  virtual bool Settling() { return false; }
};

// The format, input and settings calls (DeviceSettings) take effect at once, or at the next
// Start when stopped.
class FrameSource : public DeviceSettings {
 public:
  virtual ~FrameSource() = default;  // stops first

  // Opens the device and starts delivering frames. An Error tells why the device cannot be
  // opened (busy, gone, no answer); nothing is delivered then.
  virtual Result<void> Start(FrameSink& sink) = 0;
  // Stops delivering; when it returns the sink is no longer called. Harmless when not started.
  virtual void Stop() = 0;

  // The size of the frames delivered now; 0 while not known (a stream not yet opened).
  virtual int Width() const = 0;
  virtual int Height() const = 0;
  // The rate the source delivers at when it has one of its own; 0 when it has none.
  virtual double FramesPerSecond() const = 0;

  // Asks the source for a rate of its own (a device with a clock of its own picks the closest
  // rate it has). An Error for sources whose rate is fixed by the far end.
  virtual Result<void> SetFramesPerSecond(double frames_per_second) {
    (void)frames_per_second;
    return Error{"this source has no rate to choose", "SetFramesPerSecond"};
  }

  // The tape deck of a camcorder; null for every other source.
  virtual TapeTransport* Transport() { return nullptr; }

  // The source's tuner; null for a source without one.
  virtual SourceTuner* Tuner() { return nullptr; }
};

}  // namespace zr::platform::linux_impl
