#pragma once
// Decoded FFmpeg frames to the program's pictures: the network streams and the movie player
// convert through it. One converter per thread.

#include "base/result.h"
#include "platform/linux/ffmpeg_handles.h"
#include "platform/picture.h"

namespace zr::platform::linux_impl {

// Decoded frames to the program's picture: 24-bit BGR, bottom row first, padded rows.
class PictureConverter {
 public:
  Result<Picture> Convert(const AVFrame& frame);

 private:
  struct Levels {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    int width = 0;
    int height = 0;
    bool full_range = false;
    int colorspace = 0;
    bool operator==(const Levels&) const = default;
  };
  Result<void> Prepare(const AVFrame& frame);

  ScalerPtr scaler_;
  Levels prepared_;
  BufferPtr scratch_;
  int scratch_stride_ = 0;
};

}  // namespace zr::platform::linux_impl
