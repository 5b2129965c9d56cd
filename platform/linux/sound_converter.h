#pragma once
// Turns interleaved PCM of one format into another (rate, channels, 8 or 16 bits) with
// libswresample, for a sound input that cannot record in the format a movie asks for.
// Resampling keeps a few samples back between calls; they come out with the next block.
//
// Threads: one converter is used by one thread at a time.

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/result.h"
#include "platform/movie_file.h"

struct SwrContext;

namespace zr::platform::linux_impl {

class SoundConverter {
 public:
  // An Error when either format is not 8 or 16 bits with one or more channels and a rate.
  static Result<SoundConverter> Make(const AudioFormat& from, const AudioFormat& to);

  // The whole sample frames of `pcm` (in the `from` format) converted; the span is valid until
  // the next call.
  std::span<const std::uint8_t> Convert(std::span<const std::uint8_t> pcm);

 private:
  struct ContextFreer {
    void operator()(SwrContext* context) const;
  };
  SoundConverter(std::unique_ptr<SwrContext, ContextFreer> context, const AudioFormat& from, const AudioFormat& to);

  std::unique_ptr<SwrContext, ContextFreer> context_;
  AudioFormat from_, to_;
  std::vector<std::uint8_t> out_;
};

}  // namespace zr::platform::linux_impl
