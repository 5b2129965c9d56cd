#pragma once
// Movie files on FFmpeg: AVI written through libavformat's muxer, read back through its demuxer.
//
// Writing: uncompressed movies hold the frames as classic bottom-up BI_RGB DIBs (rows padded to
// four bytes by the muxer); Motion JPEG movies are encoded at a fixed quantiser taken from the
// quality, 100 giving qscale 2 (best) and 1 giving qscale 31 (worst), linear in between. Both
// codecs take any width and height, odd ones included. The frame rate is stored as an exact
// rational (29.97 becomes 30000/1001). Audio, when asked for, is interleaved PCM cut into packets
// of a tenth of a second; bytes that do not make a whole sample frame by Close are dropped.
//
// Reading: only AVI files are accepted; anything else, missing or not, is an Error.

#include "platform/movie_file.h"

namespace zr::platform::linux_impl {

class FfmpegMovieFiles final : public MovieFiles {
 public:
  Result<std::unique_ptr<MovieWriter>> OpenWriter(const std::string& path,
                                                  const MovieFormat& format) override;
  Result<MovieInfo> ReadInfo(const std::string& path) override;
};

}  // namespace zr::platform::linux_impl
