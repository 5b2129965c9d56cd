#pragma once
// A picture as the program holds it in memory: 24-bit BGR, bottom row first, each row padded
// to a multiple of four bytes. Device snapshots, the clipboard and picture boxes share it.

#include <cstdint>
#include <vector>

#include "platform/movie_file.h"

namespace zr::platform {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bottom_up_bgr;

  static int StrideFor(int width) { return (width * 3 + 3) & ~3; }
  int Stride() const { return StrideFor(width); }

  static Picture Blank(int width, int height) {
    Picture picture{width, height, {}};
    picture.bottom_up_bgr.assign(static_cast<std::size_t>(StrideFor(width)) * height, 0);
    return picture;
  }
  // Pixel (x, y) with y counted from the top, as the operator sees the picture.
  std::uint8_t* PixelFromTop(int x, int y) {
    return bottom_up_bgr.data() + static_cast<std::size_t>(height - 1 - y) * Stride() + x * 3;
  }
  const std::uint8_t* PixelFromTop(int x, int y) const {
    return bottom_up_bgr.data() + static_cast<std::size_t>(height - 1 - y) * Stride() + x * 3;
  }
  FrameView View() const { return FrameView{width, height, Stride(), bottom_up_bgr.data()}; }
};

}  // namespace zr::platform
