#pragma once
// The program's one JPEG codec, on libjpeg-turbo: pictures are 24-bit BGR, bottom row first,
// with padded rows, and go in and out of the coder as they lie in memory. The picture files,
// the Motion JPEG movies and the cameras that send JPEG all code through here.
//
// Threads: a coder belongs to one thread at a time; coders are independent.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/result.h"
#include "image/picture_limits.h"
#include "platform/picture.h"

namespace zr {

// The stage named in the error when the coder cannot be started.
inline constexpr const char* kJpegInitStage = "tjInitCompress";

class JpegEncoder {
 public:
  JpegEncoder();
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  // Codes `frame` at `quality` (1 to 100, passed to the coder as it is) in 4:2:0, full-range
  // JFIF. The bytes stay valid until the next call; the buffer is kept at the largest size a
  // picture of this size can take, so the coder never reallocates it. It is left unfilled: of
  // the bitmap's size it holds, a picture's code touches a tenth or so, and the coder of a single
  // still would otherwise clear the whole of it first.
  Result<std::span<const std::uint8_t>> Encode(const platform::FrameView& frame, int quality);

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
  std::unique_ptr<std::uint8_t[]> buffer_;
  std::size_t buffer_bytes_ = 0;
};

class JpegDecoder {
 public:
  JpegDecoder();
  ~JpegDecoder();
  JpegDecoder(const JpegDecoder&) = delete;
  JpegDecoder& operator=(const JpegDecoder&) = delete;

  // Decodes one whole JPEG picture held in memory; an Error for data that is not a JPEG picture
  // or whose header promises a picture larger than the data could hold.
  Result<platform::Picture> Decode(std::span<const std::uint8_t> jpeg);
  // Decodes into `picture`, reusing its buffer when the size is the same. A warning (a truncated
  // or slightly damaged frame from a camera) still gives a picture; a fatal error does not.
  Result<void> DecodeInto(std::span<const std::uint8_t> jpeg, platform::Picture& picture);

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
};

}  // namespace zr
