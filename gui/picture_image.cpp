#include "gui/picture_image.h"

#include <cstring>

namespace zr::gui {

QImage ToQImage(const platform::Picture& picture) {
  if (picture.width <= 0 || picture.height <= 0) return {};
  QImage image(picture.width, picture.height, QImage::Format_BGR888);
  for (int y = 0; y < picture.height; ++y)
    std::memcpy(image.scanLine(y), picture.PixelFromTop(0, y), static_cast<std::size_t>(picture.width) * 3);
  return image;
}

QImage ToKeyedQImage(const platform::Picture& picture, std::int32_t transparent_colour) {
  if (picture.width <= 0 || picture.height <= 0) return {};
  const auto key_red = static_cast<std::uint8_t>(transparent_colour & 0xFF);
  const auto key_green = static_cast<std::uint8_t>(transparent_colour >> 8 & 0xFF);
  const auto key_blue = static_cast<std::uint8_t>(transparent_colour >> 16 & 0xFF);
  QImage image(picture.width, picture.height, QImage::Format_ARGB32);
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* bgr = picture.PixelFromTop(0, y);
    auto* argb = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < picture.width; ++x, bgr += 3) {
      const bool clear = bgr[0] == key_blue && bgr[1] == key_green && bgr[2] == key_red;
      argb[x] = clear ? qRgba(0, 0, 0, 0) : qRgb(bgr[2], bgr[1], bgr[0]);
    }
  }
  return image;
}

platform::Picture FromQImage(const QImage& image) {
  const QImage bgr = image.convertToFormat(QImage::Format_BGR888);
  platform::Picture picture = platform::Picture::Blank(bgr.width(), bgr.height());
  for (int y = 0; y < bgr.height(); ++y)
    std::memcpy(picture.PixelFromTop(0, y), bgr.constScanLine(y), static_cast<std::size_t>(bgr.width()) * 3);
  return picture;
}

}  // namespace zr::gui
