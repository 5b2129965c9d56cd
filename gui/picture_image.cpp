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

platform::Picture FromQImage(const QImage& image) {
  const QImage bgr = image.convertToFormat(QImage::Format_BGR888);
  platform::Picture picture = platform::Picture::Blank(bgr.width(), bgr.height());
  for (int y = 0; y < bgr.height(); ++y)
    std::memcpy(picture.PixelFromTop(0, y), bgr.constScanLine(y), static_cast<std::size_t>(bgr.width()) * 3);
  return picture;
}

}  // namespace zr::gui
