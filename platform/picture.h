#pragma once
// A picture as the program holds it in memory: 24-bit BGR, bottom row first, each row padded
// to a multiple of four bytes. Device snapshots, the clipboard and picture boxes share it.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/movie_file.h"

namespace zr::platform {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bottom_up_bgr;

  static int StrideFor(int width) { return (width * 3 + 3) & ~3; }
  int Stride() const { return StrideFor(width); }
  // The bytes of a picture `width` by `height`, neither of them negative. The product is taken
  // in 64 bits, where the largest sizes an int can hold do not overflow.
  static std::size_t BytesFor(int width, int height) {
    return static_cast<std::size_t>(std::int64_t{StrideFor(width)} * height);
  }

  static Picture Blank(int width, int height) {
    Picture picture{width, height, {}};
    picture.bottom_up_bgr.assign(BytesFor(width, height), 0);
    return picture;
  }
  // Pixel (x, y) with y counted from the top, as the operator sees the picture.
  std::uint8_t* PixelFromTop(int x, int y) { return bottom_up_bgr.data() + OffsetFromTop(x, y); }
  const std::uint8_t* PixelFromTop(int x, int y) const { return bottom_up_bgr.data() + OffsetFromTop(x, y); }
  FrameView View() const { return FrameView{width, height, Stride(), bottom_up_bgr.data()}; }
  // A copy of the frame's picture, its rows padded as a picture's are.
  static Picture CopyOf(const FrameView& frame) {
    Picture picture = Blank(frame.width, frame.height);
    const auto row_bytes = static_cast<std::size_t>(frame.width) * 3;
    for (int row = 0; row < frame.height; ++row)
      std::memcpy(picture.bottom_up_bgr.data() + std::ptrdiff_t{row} * picture.Stride(),
                  frame.bottom_up_bgr + std::ptrdiff_t{row} * frame.stride_bytes, row_bytes);
    return picture;
  }

 private:
  // Where pixel (x, y), y counted from the top, lies in the bytes; rows are counted from the
  // bottom, and the offset is worked out in the pointer's own signed width.
  std::ptrdiff_t OffsetFromTop(int x, int y) const {
    return std::ptrdiff_t{height - 1 - y} * Stride() + std::ptrdiff_t{x} * 3;
  }
};

}  // namespace zr::platform
