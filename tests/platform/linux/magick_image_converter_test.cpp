#include "platform/linux/magick_image_converter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

struct Rgb {
  int r, g, b;
};

// Four blocks of 8 by 8: white, red over blue, black. Block middles survive lossy coding.
constexpr Rgb kBlocks[2][2] = {{{255, 255, 255}, {255, 0, 0}}, {{0, 0, 255}, {0, 0, 0}}};

Picture Blocks() {
  Picture picture = Picture::Blank(16, 16);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) {
      const Rgb c = kBlocks[y / 8][x / 8];
      std::uint8_t* pixel = picture.PixelFromTop(x, y);
      pixel[0] = static_cast<std::uint8_t>(c.b);
      pixel[1] = static_cast<std::uint8_t>(c.g);
      pixel[2] = static_cast<std::uint8_t>(c.r);
    }
  return picture;
}

// The middle of each block is its colour within `tolerance`; at one bit a pixel, white stays
// white and the darker colours turn black.
void ExpectBlocks(const Picture& picture, int tolerance, bool two_colours, const std::string& what) {
  ASSERT_EQ(picture.width, 16) << what;
  ASSERT_EQ(picture.height, 16) << what;
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 2; ++column) {
      Rgb c = kBlocks[row][column];
      if (two_colours && c.g != 255) c = {0, 0, 0};
      const std::uint8_t* pixel = picture.PixelFromTop(column * 8 + 4, row * 8 + 4);
      EXPECT_NEAR(pixel[2], c.r, tolerance) << what << " block " << row << "," << column;
      EXPECT_NEAR(pixel[1], c.g, tolerance) << what << " block " << row << "," << column;
      EXPECT_NEAR(pixel[0], c.b, tolerance) << what << " block " << row << "," << column;
    }
}

class MagickImageConverterTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return folder_.File(name); }

  MagickImageConverter converter_;
  zr::testing::TemporaryFolder folder_;
};

// Every format of the picture window's save dialog, at every bit depth of its menu and at none,
// read back: the lossy formats within a tolerance, the others exactly.
TEST_F(MagickImageConverterTest, SavedPicturesReadBackInEveryFormatAndDepth) {
  const struct {
    const char* extension;
    int tolerance;
  } formats[] = {{"jpg", 40}, {"jp2", 40}, {"bmp", 0}, {"gif", 0}, {"dib", 0},
                 {"tif", 0},  {"png", 0},  {"pcx", 0}, {"tga", 0}};
  for (const auto& format : formats) {
    for (const std::optional<int> bits : {std::optional<int>{}, std::optional<int>{1}, std::optional<int>{8},
                                          std::optional<int>{24}, std::optional<int>{32}}) {
      const std::string what = std::string(format.extension) + " at " + (bits ? std::to_string(*bits) : "-");
      const std::string path = Path(std::string("out.") + format.extension);
      ASSERT_TRUE(converter_.Save(Blocks(), path, bits)) << what;
      const auto read = converter_.Read(path);
      ASSERT_TRUE(read) << what << ": " << read.error().message;
      ExpectBlocks(*read, format.tolerance, bits == 1, what);
    }
  }
}

TEST_F(MagickImageConverterTest, BitDepthsKeepTheColoursTheyCanHold) {
  for (const int bits : {1, 8, 24, 32}) {
    const auto converted = converter_.ChangeBitDepth(Blocks(), bits);
    ASSERT_TRUE(converted) << bits;
    ExpectBlocks(*converted, 0, bits == 1, "depth " + std::to_string(bits));
  }
  EXPECT_FALSE(converter_.ChangeBitDepth(Blocks(), 16));
}

TEST_F(MagickImageConverterTest, RefusesWhatIsNoPictureOrNoPlaceForOne) {
  const std::string text = Path("notes.png");
  std::ofstream(text) << "no picture here";
  EXPECT_FALSE(converter_.Read(text));
  EXPECT_FALSE(converter_.Read(Path("missing.png")));
  EXPECT_FALSE(converter_.Save(Blocks(), Path("no_extension"), std::nullopt));
  EXPECT_FALSE(converter_.Save(Blocks(), Path("."), std::nullopt));
  const std::string fifo = Path("fifo.png");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(converter_.Save(Blocks(), fifo, std::nullopt));
}

}  // namespace
}  // namespace zr::platform::linux_impl
