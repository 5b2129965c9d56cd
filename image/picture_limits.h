#pragma once
// What a picture file may ask of memory. Every decoder checks its header against these before
// it allocates, so a damaged or hostile file is refused instead of taking the machine's memory.

#include <cstddef>

#include "platform/picture.h"

namespace zr {

// The widest and tallest picture any decoder accepts.
inline constexpr int kMaxPictureSide = 16384;

// Whether a picture of `width` by `height` may come from `coded_bytes` bytes of data: each side
// within kMaxPictureSide, and no more picture memory than such data could describe, at most
// `decoded_bytes_per_coded_byte` bytes for each byte of it.
inline bool PlausiblePictureSize(int width, int height, std::size_t coded_bytes,
                                 std::size_t decoded_bytes_per_coded_byte) {
  if (width <= 0 || height <= 0 || width > kMaxPictureSide || height > kMaxPictureSide) return false;
  const auto decoded = static_cast<std::size_t>(platform::Picture::StrideFor(width)) * static_cast<std::size_t>(height);
  return decoded / decoded_bytes_per_coded_byte <= coded_bytes;
}

}  // namespace zr
