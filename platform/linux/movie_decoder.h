#pragma once
// A movie's video decoded frame by frame: the movie player decodes on its thread through it, and
// the movie files' frame reader reads every frame of a file with it. Seeking is frame-exact: the
// decoder goes to the key frame at or before the frame asked for and decodes on from there.
// Frames are counted from 0, each frame's number being its place in the stream.

#include <cstdint>
#include <memory>
#include <string>

#include "base/result.h"
#include "platform/linux/ffmpeg_handles.h"
#include "platform/linux/picture_converter.h"
#include "platform/movie_file.h"
#include "platform/picture.h"

namespace zr::platform::linux_impl {

// The movie's information, an Error when its picture has a size that cannot be shown (a header
// that claims a side beyond 16384 is not believed) or it holds no frames.
Result<MovieInfo> ReadDecodableInfo(const std::string& path);

class MovieDecoder {
 public:
  static Result<std::unique_ptr<MovieDecoder>> Open(const std::string& path);

  // The picture of frame `index`, decoding (and seeking) as needed.
  Result<std::shared_ptr<const Picture>> PictureOf(std::int64_t index);

 private:
  explicit MovieDecoder(InputContextPtr input);
  Result<void> OpenCodec();
  // The timestamp (the frame's place in the stream) of the key frame at or before `index`, from
  // the demuxer's index; 0 when the index does not tell.
  std::int64_t KeyFrameBefore(std::int64_t index);
  Result<void> SeekBefore(std::int64_t index);
  Result<void> DecodeTo(std::int64_t index);
  // The next frame out of the decoder; its number is counted on from the first packet read
  // after a seek.
  Result<void> DecodeNext();

  InputContextPtr input_;
  CodecContextPtr codec_;
  PacketPtr packet_;
  FramePtr frame_;
  PictureConverter converter_;
  int stream_ = -1;
  bool positioned_ = false;
  bool place_known_ = false;
  bool draining_ = false;
  std::int64_t next_ = 0;      // the frame that comes out of the decoder next
  std::int64_t decoded_ = -1;  // the frame in frame_
  std::shared_ptr<const Picture> picture_;
};

}  // namespace zr::platform::linux_impl
