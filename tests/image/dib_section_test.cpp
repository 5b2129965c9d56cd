// The drawable bitmap: row sizes, blits, noise, the resampler's worked values and the clipboard.

#include "image/dib_section.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "platform/memory_clipboard.h"

namespace zr {
namespace {

TEST(DibSection, RowsArePaddedToFourBytes) {
  cDIBSection dib;
  for (const auto& [width, stride] : std::array<std::array<long, 2>, 4>{{{1, 4}, {4, 12}, {5, 16}, {3, 12}}}) {
    ASSERT_TRUE(dib.Create(static_cast<int>(width), 2));
    EXPECT_EQ(dib.BytesPerScanLine(), stride) << "width " << width;
  }
  EXPECT_FALSE(dib.Create(0, 5));
  EXPECT_EQ(dib.DIBSectionBitsPtr(), nullptr);
}

TEST(DibSection, BlitsCopyFromTheTopAndNegativeSizesMeanTheWholeBitmap) {
  platform::Picture source = platform::Picture::Blank(5, 3);  // numbered pixels, black padding
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < 3; ++c) source.PixelFromTop(x, y)[c] = static_cast<std::uint8_t>(y * 40 + x * 3 + c + 1);
  cDIBSection dib;
  ASSERT_TRUE(dib.CreateFromPicture(source));
  EXPECT_EQ(dib.Pixels().bottom_up_bgr, source.bottom_up_bgr);

  // A part of the source from (1, 1); the rest of the bitmap stays black.
  ASSERT_TRUE(dib.Create(3, 3));
  dib.LoadPictureBlt(source, 1, 1, 2, 5);
  EXPECT_EQ(dib.Pixels().PixelFromTop(0, 0)[0], source.PixelFromTop(1, 1)[0]);
  EXPECT_EQ(dib.Pixels().PixelFromTop(1, 1)[2], source.PixelFromTop(2, 2)[2]);
  EXPECT_EQ(dib.Pixels().PixelFromTop(2, 0)[0], 0);
  EXPECT_EQ(dib.Pixels().PixelFromTop(0, 2)[1], 0);

  // The whole bitmap painted at (2, 1) of a larger picture, clipped at its right edge.
  platform::Picture target = platform::Picture::Blank(4, 4);
  dib.PaintPicture(target, 2, 1, -1, -1);
  EXPECT_EQ(target.PixelFromTop(2, 1)[0], source.PixelFromTop(1, 1)[0]);
  EXPECT_EQ(target.PixelFromTop(3, 2)[1], source.PixelFromTop(2, 2)[1]);
  EXPECT_EQ(target.PixelFromTop(1, 1)[0], 0);
  EXPECT_EQ(target.PixelFromTop(2, 0)[0], 0);
}

TEST(DibSection, NoiseFollowsItsSeedAndLeavesThePaddingAlone) {
  cDIBSection first, second, coloured;
  for (cDIBSection* dib : {&first, &second, &coloured}) ASSERT_TRUE(dib->Create(5, 4));
  first.RandomiseBits(true, 43);
  second.RandomiseBits(true, 42);
  EXPECT_NE(first.Pixels().bottom_up_bgr, second.Pixels().bottom_up_bgr);
  first.RandomiseBits(true, 42);
  EXPECT_EQ(first.Pixels().bottom_up_bgr, second.Pixels().bottom_up_bgr);
  coloured.RandomiseBits(false, 7);
  bool grey_varies = false, green_differs_from_red = false;
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 5; ++x) {
      const std::uint8_t* grey = first.Pixels().PixelFromTop(x, y);
      EXPECT_TRUE(grey[0] == grey[1] && grey[1] == grey[2]) << x << ", " << y;
      grey_varies = grey_varies || grey[0] != first.Pixels().PixelFromTop(0, 0)[0];
      const std::uint8_t* colour = coloured.Pixels().PixelFromTop(x, y);
      EXPECT_EQ(colour[0], 0);
      green_differs_from_red = green_differs_from_red || colour[1] != colour[2];
    }
    EXPECT_EQ(first.Pixels().PixelFromTop(4, y)[3], 0) << "padding of row " << y;
  }
  EXPECT_TRUE(grey_varies);
  EXPECT_TRUE(green_differs_from_red);
}

TEST(DibSection, ResampleTwoByTwoToFourByFourFollowsTheBilinearRule) {
  cDIBSection source;
  ASSERT_TRUE(source.Create(2, 2));
  // Rows in memory order, 8 bytes each: blue differs per pixel, green 7, red 250.
  const std::array<std::uint8_t, 16> bits{0,   7, 250, 100, 7, 250, 0, 0,   //
                                          200, 7, 250, 40,  7, 250, 0, 0};  //
  std::memcpy(source.DIBSectionBitsPtr(), bits.data(), bits.size());

  const cDIBSection resampled = source.Resample(4, 4);
  ASSERT_EQ(resampled.Width(), 4);
  ASSERT_EQ(resampled.Height(), 4);
  // Scales 0.25: rows mix row 0 and 1 by 0, 1/4, 1/2, 3/4 and round; then columns the same.
  // The last column (sx = 0.75) never reaches the right pixel alone. Halves round to even:
  // 67.5 gives 68, 92.5 gives 92, 102.5 gives 102.
  const std::array<std::array<int, 4>, 4> expected_blue{
      {{0, 25, 50, 75}, {50, 59, 68, 76}, {100, 92, 85, 78}, {150, 126, 102, 79}}};
  const auto stride = static_cast<std::size_t>(resampled.BytesPerScanLine());
  for (std::size_t y = 0; y < 4; ++y)
    for (std::size_t x = 0; x < 4; ++x) {
      const std::uint8_t* pixel = resampled.DIBSectionBitsPtr() + y * stride + x * 3;
      EXPECT_EQ(pixel[0], expected_blue[y][x]) << "x " << x << " y " << y;
      EXPECT_EQ(pixel[1], 7);
      EXPECT_EQ(pixel[2], 250);
    }
}

TEST(DibSection, ResampleToTheSameSizeIsAPlainCopy) {
  cDIBSection source;
  ASSERT_TRUE(source.Create(7, 3));
  source.RandomiseBits(false, 1234);
  const cDIBSection copy = source.Resample(3, 7);
  EXPECT_EQ(copy.Pixels().bottom_up_bgr, source.Pixels().bottom_up_bgr);
  EXPECT_NE(copy.DIBSectionBitsPtr(), source.DIBSectionBitsPtr());
  // A one-pixel source stays inside its bytes when it grows.
  ASSERT_TRUE(source.Create(1, 1));
  source.DIBSectionBitsPtr()[0] = 90;
  EXPECT_EQ(source.Resample(2, 2).DIBSectionBitsPtr()[0], 90);
}

TEST(DibSection, ClipboardTakesPicturesButNotTheDibFormat) {
  platform::MemoryClipboard clipboard;
  cDIBSection dib;
  ASSERT_TRUE(dib.Create(3, 2));
  dib.RandomiseBits(true, 5);

  EXPECT_EQ(dib.CopyToClipboard(clipboard, true), ClipboardCopy::DibFormatRefused);
  EXPECT_FALSE(clipboard.GetPicture().has_value());
  EXPECT_EQ(dib.CopyToClipboard(clipboard, false), ClipboardCopy::Copied);
  const auto copied = clipboard.GetPicture();
  ASSERT_TRUE(copied.has_value());
  EXPECT_EQ(copied->bottom_up_bgr, dib.Pixels().bottom_up_bgr);
  dib.ClearUp();
  EXPECT_EQ(dib.CopyToClipboard(clipboard, false), ClipboardCopy::NothingToCopy);
}

}  // namespace
}  // namespace zr
