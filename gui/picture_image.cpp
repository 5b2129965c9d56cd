#include "gui/picture_image.h"

#include <cstring>

namespace zr::gui {

// The rows are read bottom-up through a negative line step, then copied once the right way up.
QImage ToQImage(const platform::Picture& picture) {
  if (picture.width <= 0 || picture.height <= 0) return {};
  const uchar* top_row = picture.bottom_up_bgr.data() + static_cast<std::size_t>(picture.height - 1) * picture.Stride();
  const QImage view(top_row, picture.width, picture.height, -picture.Stride(), QImage::Format_BGR888);
  return view.copy();
}

platform::Picture FromQImage(const QImage& image) {
  const QImage bgr = image.convertToFormat(QImage::Format_BGR888);
  platform::Picture picture = platform::Picture::Blank(bgr.width(), bgr.height());
  for (int y = 0; y < bgr.height(); ++y)
    std::memcpy(picture.PixelFromTop(0, y), bgr.constScanLine(y), static_cast<std::size_t>(bgr.width()) * 3);
  return picture;
}

}  // namespace zr::gui
