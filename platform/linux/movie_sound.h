#pragma once
// The sound of a movie being played, through ALSA: its own reader and decoder of the movie's
// sound track on a thread of its own, converted to 16-bit samples at the track's rate and
// channels. Playing from a position seeks the track there and drops what lies before it, so
// sound and picture start together; the device's clock then paces the sound while the loop's
// clock paces the picture. A machine without a sound device, or a movie without sound, plays
// silently: Open gives nothing.
//
// Threads: Play and Stop on the logic thread; the thread writes to the device in blocks of a
// twentieth of a second and then drops what the device holds (a tenth of a second at most), so
// a stop or a new start is heard within about that.

#include <cstdint>
#include <memory>
#include <string>

namespace zr::platform::linux_impl {

class MovieSound {
 public:
  // The sound of the movie at `path` on the PCM `pcm_name`; nothing without a sound track the
  // decoder knows or a device that takes it.
  static std::unique_ptr<MovieSound> Open(const std::string& path, const std::string& pcm_name = "default");
  ~MovieSound();
  MovieSound(const MovieSound&) = delete;
  MovieSound& operator=(const MovieSound&) = delete;

  // Plays from `position_ms` of the movie on, whether or not it played.
  void Play(std::int64_t position_ms);
  // Silences the device.
  void Stop();

  struct Track;

 private:
  explicit MovieSound(std::unique_ptr<Track> track);
  std::unique_ptr<Track> track_;
};

}  // namespace zr::platform::linux_impl
