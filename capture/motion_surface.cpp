#include "capture/motion_surface.h"

#include <cmath>

namespace zr {

std::int32_t HimetricOfPixelsAt96Dpi(int pixels) {
  return static_cast<std::int32_t>(std::lround(pixels * 2540.0 / 96.0));
}

std::int32_t PackedColourAt(const platform::Picture& picture, int x, int y) {
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return -1;
  if (platform::Picture::BytesFor(picture.width, picture.height) > picture.bottom_up_bgr.size()) return -1;
  const std::uint8_t* bgr = picture.PixelFromTop(x, y);
  return std::int32_t{bgr[2]} | std::int32_t{bgr[1]} << 8 | std::int32_t{bgr[0]} << 16;
}

}  // namespace zr
