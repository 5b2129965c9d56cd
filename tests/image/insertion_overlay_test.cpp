#include "image/insertion_overlay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include "tests/support/platform_checks.h"

namespace zr {
namespace {

using Bgr = std::array<std::uint8_t, 3>;

constexpr Bgr kFrame{0x20, 0x40, 0x60};
constexpr Bgr kWhite{0xFF, 0xFF, 0xFF};
constexpr Bgr kBlue{0xFF, 0x00, 0x00};   // "FF0000": blue stands in the high byte
constexpr Bgr kRed{0x00, 0x00, 0xFF};    // "FF"
constexpr Bgr kGreen{0x00, 0xFF, 0x00};  // "FF00"

class FixedClock : public platform::WallClock {
 public:
  platform::DateTime Now() const override { return {2026, 11, 21, 14, 30, 59}; }
};

ImageDrawing FrameOf(int width, int height) {
  ImageDrawing drawing{platform::Picture::Blank(width, height)};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) std::copy(kFrame.begin(), kFrame.end(), drawing.picture.PixelFromTop(x, y));
  return drawing;
}

Bgr At(const platform::Picture& picture, int x, int y) {
  const std::uint8_t* pixel = picture.PixelFromTop(x, y);
  return {pixel[0], pixel[1], pixel[2]};
}

// Where the pixels of one colour stand (inclusive; empty when right < left), and how many;
// `others` counts the pixels of none of the colours allowed.
struct Box {
  int left, top, right = -1, bottom = -1, count = 0;
};
Box PixelsOf(const platform::Picture& picture, Bgr colour) {
  Box box{picture.width, picture.height};
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      if (At(picture, x, y) == colour)
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x), std::max(box.bottom, y),
               box.count + 1};
  return box;
}
int PixelsOtherThan(const platform::Picture& picture, std::initializer_list<Bgr> colours) {
  int count = 0;
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      count += std::find(colours.begin(), colours.end(), At(picture, x, y)) == colours.end();
  return count;
}

class InsertionOverlayTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    auto opened = TextRenderer::Open(InsertionFont());
    ASSERT_TRUE(opened) << opened.error().message;
    renderer_ = new TextRenderer(std::move(*opened));
  }
  static void TearDownTestSuite() {
    delete renderer_;
    renderer_ = nullptr;
  }
  // Writes `elements` under the file's header (or `contents` as they stand) and draws a fresh frame.
  ImageDrawing Drawn(const std::string& elements, int width, int height) {
    WriteFile("ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n" + elements);
    ImageDrawing drawing = FrameOf(width, height);
    Draw(drawing);
    return drawing;
  }
  void WriteFile(const std::string& contents) { std::ofstream(path_, std::ios::binary | std::ios::trunc) << contents; }
  void Draw(ImageDrawing& drawing) { DrawInsertionFile(drawing, path_, clock_, *renderer_); }

  static TextRenderer* renderer_;
  FixedClock clock_;
  testing::TemporaryFolder folder_;
  std::string path_ = folder_.File("overlay.iif");
};

TextRenderer* InsertionOverlayTest::renderer_ = nullptr;

TEST_F(InsertionOverlayTest, ArialBoldResolvesToAnInstalledEquivalent) {
  EXPECT_NE(renderer_->FontFile().find("LiberationSans-Bold"), std::string::npos) << renderer_->FontFile();
  const TextExtent extent = renderer_->Measure("12:30:59");
  EXPECT_TRUE(extent.width > 30 && extent.width < 70) << extent.width;
  EXPECT_TRUE(extent.height >= 11 && extent.height <= 14) << extent.height;  // 8 points at 96 dots per inch
}

TEST_F(InsertionOverlayTest, TransparentTextChangesOnlyThePixelsItStandsOn) {
  const ImageDrawing drawing = Drawn("TXT:500,500,FFFFFF,0,0,%hh:%mm:%ss\r\n", 640, 480);
  const Box white = PixelsOf(drawing.picture, kWhite);
  const TextExtent cell = renderer_->Measure("14:30:59");
  EXPECT_GT(white.count, 40);
  EXPECT_TRUE(white.left >= 320 && white.left < 324) << white.left;
  EXPECT_GE(white.top, 240);
  EXPECT_LE(white.bottom, 240 + cell.height);
  EXPECT_LE(white.right, 320 + cell.width);
  EXPECT_EQ(PixelsOtherThan(drawing.picture, {kFrame, kWhite}), 0) << "no background, no smoothing";
}

TEST_F(InsertionOverlayTest, OpaqueTextPaintsItsCell) {
  const ImageDrawing drawing = Drawn("TXT:100,200,FFFFFF,FF,1,Camera 1\r\n", 320, 240);
  const TextExtent cell = renderer_->Measure("Camera 1");
  const Box red = PixelsOf(drawing.picture, kRed), white = PixelsOf(drawing.picture, kWhite);
  EXPECT_EQ((std::array{red.left, red.top, red.right, red.bottom}),
            (std::array{32, 48, 32 + cell.width - 1, 48 + cell.height - 1}));
  EXPECT_EQ(red.count + white.count, cell.width * cell.height) << "the cell is painted through";
  EXPECT_GT(white.count, 20);
  EXPECT_EQ(PixelsOtherThan(drawing.picture, {kFrame, kWhite, kRed}), 0);

  const ImageDrawing transparent = Drawn("TXT:100,200,FFFFFF,FF,0,Camera 1\r\n", 320, 240);
  EXPECT_EQ(PixelsOf(transparent.picture, kRed).count, 0);
  EXPECT_EQ(PixelsOf(transparent.picture, kWhite).count, white.count);
}

TEST_F(InsertionOverlayTest, CommaCutsTheTextAndMissingFieldsKeepThePreviousElements) {
  EXPECT_EQ(Drawn("TXT:100,100,FF0000,FF00,1,AB,CD\r\n", 200, 100).picture.bottom_up_bgr,
            Drawn("TXT:100,100,FF0000,FF00,1,AB\r\n", 200, 100).picture.bottom_up_bgr);

  // The second element names no colours: it prints in blue on green. The third has no text.
  const ImageDrawing kept = Drawn("TXT:0,0,FF0000,FF00,1,A\r\nTXT:500,500,,,1,B\r\nTXT:0,500\r\n", 200, 100);
  EXPECT_EQ(PixelsOtherThan(kept.picture, {kFrame, kBlue, kGreen}), 0);
  EXPECT_GE(PixelsOf(kept.picture, kGreen).bottom, 50) << "the second element's cell is painted";
  const Box blue = PixelsOf(kept.picture, kBlue);
  EXPECT_LT(blue.left, 20);
  EXPECT_GE(blue.right, 100);
  EXPECT_GE(blue.bottom, 50);
}

TEST_F(InsertionOverlayTest, LaterLineIsDrawnOnTop) {
  const ImageDrawing drawing = Drawn("TXT:100,100,FF,FF00,1,MMMM\r\nTXT:100,100,FF0000,0,0,MMMM\r\n", 200, 100);
  EXPECT_EQ(PixelsOf(drawing.picture, kRed).count, 0) << "the first text is covered by the second";
  EXPECT_GT(PixelsOf(drawing.picture, kBlue).count, 20);
  EXPECT_GT(PixelsOf(drawing.picture, kGreen).count, 20);
  EXPECT_EQ(PixelsOtherThan(drawing.picture, {kFrame, kBlue, kGreen}), 0) << "FF0000 is blue, FF00 green";
}

TEST_F(InsertionOverlayTest, TextIsClippedAtTheRightAndBottomEdges) {
  // An odd width leaves padding at each row's end; nothing may be written there.
  constexpr std::uint8_t kPadding = 0xA5;
  ImageDrawing drawing = FrameOf(37, 23);
  const int stride = drawing.picture.Stride();
  ASSERT_GT(stride, 37 * 3);
  for (int row = 0; row < 23; ++row)
    std::fill_n(drawing.picture.bottom_up_bgr.begin() + row * stride + 37 * 3, stride - 37 * 3, kPadding);
  const std::vector<std::uint8_t> padded = drawing.picture.bottom_up_bgr;
  WriteFile("ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\nTXT:1000,0,FFFFFF,FF,1,right edge\r\n");
  Draw(drawing);
  EXPECT_EQ(drawing.picture.bottom_up_bgr, padded) << "position 1000 starts at the edge and is not moved in";

  WriteFile(
      "ZANDRELL IMAGE INSERTION FILE\r\nVER:1\r\n"
      "TXT:900,850,FFFFFF,FF,1,WWWW\r\nTXT:-500,-500,FFFFFF,FF,1,WWWW\r\nTXT:1E30,1E30,FF,FF,1,far\r\n");
  Draw(drawing);
  ASSERT_EQ(drawing.picture.bottom_up_bgr.size(), padded.size());
  for (int row = 0; row < 23; ++row)
    for (int at = 37 * 3; at < stride; ++at)
      EXPECT_EQ(drawing.picture.bottom_up_bgr[static_cast<std::size_t>(row * stride + at)], kPadding)
          << row << ", " << at;
  EXPECT_NE(At(drawing.picture, 36, 22), kFrame) << "the cell reaches the bottom-right corner";
  EXPECT_NE(At(drawing.picture, 0, 0), kFrame) << "a cell from above the top-left corner shows its end";
  EXPECT_EQ(PixelsOtherThan(drawing.picture, {kFrame, kWhite, kRed}), 0);
}

}  // namespace
}  // namespace zr
