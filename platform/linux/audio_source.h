#pragma once
// Sound sources: the built-in test tone and the ALSA capture devices. A source runs on a thread
// of its own and hands interleaved PCM to its sink in the format it was started with.
//
// Threads: Start, Stop and the input calls arrive on one thread (through a back end). The sink is
// called on the source's own thread, one call at a time, between Start and the return of Stop.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

class AudioSink {
 public:
  // `pcm` holds whole sample frames in the started format (8-bit unsigned or 16-bit signed
  // little-endian, channels interleaved). `timestamp_us` is when its first sample was taken, in
  // microseconds since the source started, on the source's clock.
  virtual void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t timestamp_us) = 0;
  // The source stopped by itself (device gone); nothing more is delivered.
  virtual void OnAudioEnded(const std::string& message) = 0;

 protected:
  ~AudioSink() = default;
};

class AudioSource {
 public:
  virtual ~AudioSource() = default;  // stops first

  // Opens the device in `format` and starts delivering. An Error says why it cannot.
  virtual Result<void> Start(const AudioFormat& format, AudioSink& sink) = 0;
  // When it returns the sink is no longer called. Harmless when not started.
  virtual void Stop() = 0;

  // The input pins of the device (microphone, line, …); at least one.
  virtual std::vector<std::string> Inputs() const = 0;
  virtual int CurrentInput() const = 0;
  virtual Result<void> SelectInput(int index) = 0;
  // The recording level of an input, 0 to 100.
  virtual int InputLevel(int index) const = 0;
};

}  // namespace zr::platform::linux_impl
