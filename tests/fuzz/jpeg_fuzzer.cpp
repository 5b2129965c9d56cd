// JPEG pictures of any bytes, through the one decoder the picture files and the cameras share,
// reused from picture to picture as a camera's is.

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/jpeg_codec.h"
#include "tests/fuzz/input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zr::JpegDecoder decoder;
  static zr::platform::Picture reused;
  const std::span<const std::uint8_t> jpeg(data, size);
  if (const auto picture = decoder.Decode(jpeg); picture.ok()) {
    zr::fuzz::Require(picture->bottom_up_bgr.size() ==
                      zr::platform::Picture::BytesFor(picture->width, picture->height));
  }
  (void)decoder.DecodeInto(jpeg, reused);
  return 0;
}
