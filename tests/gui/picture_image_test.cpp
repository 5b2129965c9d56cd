#include "gui/picture_image.h"

#include <gtest/gtest.h>

namespace zr::gui {
namespace {

// The overlay lets the live picture through where its pixel is the transparent colour, exactly.
TEST(KeyedImage, ClearOnlyWhereThePixelIsTheTransparentColour) {
  platform::Picture picture = platform::Picture::Blank(3, 1);
  const std::uint8_t bgr[3][3] = {{30, 20, 10}, {31, 20, 10}, {0, 0, 0}};
  for (int x = 0; x < 3; ++x)
    for (int channel = 0; channel < 3; ++channel) picture.PixelFromTop(x, 0)[channel] = bgr[x][channel];
  const QImage keyed = ToKeyedQImage(picture, 10 | 20 << 8 | 30 << 16);
  EXPECT_EQ(qAlpha(keyed.pixel(0, 0)), 0);
  EXPECT_EQ(keyed.pixel(1, 0), qRgb(10, 20, 31));
  EXPECT_EQ(keyed.pixel(2, 0), qRgb(0, 0, 0));
}

}  // namespace
}  // namespace zr::gui
