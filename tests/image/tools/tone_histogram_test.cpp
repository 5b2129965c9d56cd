#include "image/tools/tone_histogram.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace zr {
namespace {

struct Bgr {
  std::uint8_t b, g, r;
};

// A picture one pixel wide whose pixels are counted in the order given: the bottom row first.
platform::Picture CountedInOrder(const std::vector<Bgr>& pixels) {
  auto picture = platform::Picture::Blank(1, static_cast<int>(pixels.size()));
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    std::uint8_t* at = picture.PixelFromTop(0, picture.height - 1 - static_cast<int>(i));
    at[0] = pixels[i].b;
    at[1] = pixels[i].g;
    at[2] = pixels[i].r;
  }
  return picture;
}

TEST(CountTones, FeedsTheTablesAndTheirMaximaPixelByPixel) {
  struct Case {
    const char* name;
    std::vector<Bgr> pixels;
    std::array<std::int32_t, 4> maxima;  // red, green, blue, luminance
  };
  const Case cases[] = {
      {"maxima that catch up late", {{5, 5, 5}, {5, 7, 9}, {7, 7, 7}}, {2, 2, 1, 2}},
      {"the same pixels top row first", {{7, 7, 7}, {5, 7, 9}, {5, 5, 5}}, {2, 1, 1, 1}},
  };
  for (const Case& c : cases) {
    const ToneTables t = CountTones(CountedInOrder(c.pixels));
    EXPECT_EQ((std::array{t.max_red, t.max_green, t.max_blue, t.max_lum}), c.maxima) << c.name;
  }
}

TEST(CountTones, TakesRedFromTheLowByteAndRoundsTheMeanForLuminance) {
  const ToneTables t = CountTones(CountedInOrder({{10, 20, 31}, {0, 0, 1}, {0, 1, 1}}));
  EXPECT_EQ(t.red[10], 1);   // blue byte
  EXPECT_EQ(t.blue[31], 1);  // red byte
  EXPECT_EQ(t.green[20], 1);
  EXPECT_EQ(t.lum[20], 1);  // 61 / 3 = 20.33
  EXPECT_EQ(t.lum[0], 1);   // 1 / 3
  EXPECT_EQ(t.lum[1], 1);   // 2 / 3
}

TEST(ScaleToneTables, GivesTheHeightOfEachPointOrKeepsTheCount) {
  struct Case {
    std::int32_t count, maximum, height, expected;
  };
  const Case cases[] = {
      {128, 128, 200, 0},
      {64, 128, 200, 100},
      {1, 3, 200, 133},
      {1, 4, 2, 2},
      {3, 4, 2, 0},  // 1.5 and 0.5: halves to even
      {0, 9, 200, 200},
      {7, 0, 200, 7},                       // no maximum: the count stays
      {20000000, 20000000, 200, 20000000},  // a product beyond 32 bits: the count stays
      {5, 1, 200, -800},                    // a lagging maximum puts the point above the top
  };
  for (const Case& c : cases) {
    ToneTables t;
    t.green[3] = c.count;
    t.max_green = c.maximum;
    ScaleToneTables(t, c.height);
    EXPECT_EQ(t.green[3], c.expected) << c.count << " of " << c.maximum << " in " << c.height;
  }
}

TEST(DrawToneCurves, PlacesEachToneRoundedFromTheLast) {
  struct Case {
    int width;
    std::array<std::int32_t, 3> x;  // tones 1, 2 and 255
  };
  const Case cases[] = {
      {512, {2, 4, 510}},
      {640, {2, 4, 510}},  // 2.5, 4.5, 6.5 ... round to the even neighbour
      {256, {1, 2, 255}},
      {100, {0, 0, 0}},  // a step below a half never moves
  };
  for (const Case& c : cases) {
    const ToneDrawing drawing = DrawToneCurves(ToneTables{}, c.width, 200, {true, false, false, true});
    ASSERT_EQ(drawing.dots.size(), 256u);
    EXPECT_EQ((std::array{drawing.dots[1].x, drawing.dots[2].x, drawing.dots[255].x}), c.x) << c.width;
    EXPECT_DOUBLE_EQ(drawing.bars[255].right - drawing.bars[255].left, c.width / 256.0);
  }
}

TEST(DrawToneCurves, DrawsOnlyTheChosenCurves) {
  ToneTables t;
  t.lum[4] = 30;
  t.blue[4] = 60;
  const ToneDrawing both = DrawToneCurves(t, 512, 200, {false, false, true, true});
  EXPECT_EQ(both.bars.size(), 256u);
  EXPECT_EQ(both.bars[4].top, 30);
  ASSERT_EQ(both.dots.size(), 256u);
  EXPECT_EQ(both.dots[4].y, 60);
  EXPECT_EQ(both.dots[4].curve, ToneCurve::Blue);
  const ToneDrawing none = DrawToneCurves(t, 512, 200, {false, false, false, false});
  EXPECT_TRUE(none.bars.empty() && none.dots.empty());
}

}  // namespace
}  // namespace zr
