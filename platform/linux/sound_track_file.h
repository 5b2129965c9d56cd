#pragma once
// A movie's sound track decoded with FFmpeg into interleaved 16-bit samples, and saved as a wave
// file at the track's own rate and channels. The wave header's sizes are written when the track
// has ended, so a save cut short leaves a file whose header claims no samples.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/result.h"

namespace zr::platform::linux_impl {

// A rate and a number of channels of sound; zero for the track's own.
struct SoundFormat {
  int rate = 0;
  int channels = 0;
};

// The sound track of a movie read block by block, at the track's own rate and channels or
// converted to those asked for.
class SoundTrackReader {
 public:
  using Format = SoundFormat;
  // Null when the movie has no sound track; an Error when its sound cannot be decoded.
  static Result<std::unique_ptr<SoundTrackReader>> Open(const std::string& movie, Format wanted = {});
  ~SoundTrackReader();
  SoundTrackReader(const SoundTrackReader&) = delete;
  SoundTrackReader& operator=(const SoundTrackReader&) = delete;

  int Rate() const { return format_.rate; }
  int Channels() const { return format_.channels; }
  // The next samples, interleaved, in place of what `block` held; false at the end of the track.
  bool Read(std::vector<std::int16_t>& block);

 private:
  struct Decoding;
  SoundTrackReader(std::unique_ptr<Decoding> decoding, Format format);
  std::unique_ptr<Decoding> decoding_;
  Format format_;
};

Result<void> SaveSoundTrack(const std::string& movie, const std::string& wave, const std::function<bool()>& cancelled);

}  // namespace zr::platform::linux_impl
