#include "image/picture_effects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "base/formatting.h"

namespace zr {
namespace {

using platform::Picture;

struct Rgb {
  int r = 0, g = 0, b = 0;
  bool operator==(const Rgb&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Rgb& c) {
  return out << "rgb(" << c.r << "," << c.g << "," << c.b << ")";
}

// A picture `width` by `height` whose pixel (x, y), y from the top, is `colour(x, y)`.
Picture Painted(int width, int height, const std::function<Rgb(int, int)>& colour) {
  Picture picture = Picture::Blank(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgb c = colour(x, y);
      std::uint8_t* pixel = picture.PixelFromTop(x, y);
      pixel[0] = static_cast<std::uint8_t>(c.b);
      pixel[1] = static_cast<std::uint8_t>(c.g);
      pixel[2] = static_cast<std::uint8_t>(c.r);
    }
  }
  return picture;
}

Picture Plain(int width, int height, Rgb colour) {
  return Painted(width, height, [colour](int, int) { return colour; });
}

Rgb At(const Picture& picture, int x, int y) {
  const std::uint8_t* pixel = picture.PixelFromTop(x, y);
  return Rgb{pixel[2], pixel[1], pixel[0]};
}

const Rgb kBlack{0, 0, 0};

struct PixelCase {
  int x, y;
  Rgb expected;
};

void ExpectPixels(const Picture& picture, const std::vector<PixelCase>& cases) {
  for (const auto& c : cases) EXPECT_EQ(At(picture, c.x, c.y), c.expected) << "at " << c.x << "," << c.y;
}

TEST(PictureEffects, GrayscalingTakesTheFlooredMeanOfTheThree) {
  const struct {
    Rgb in;
    int grey;
  } cases[] = {{{10, 20, 31}, 20}, {{255, 255, 255}, 255}, {{1, 1, 2}, 1}, {{0, 0, 2}, 0}, {{200, 0, 100}, 100}};
  for (const auto& c : cases)
    EXPECT_EQ(At(ApplyEffect(Effect::Grayscaling, Plain(1, 1, c.in)), 0, 0), (Rgb{c.grey, c.grey, c.grey})) << c.in;
}

TEST(PictureEffects, InvertingTwiceRestoresThePicture) {
  const Picture picture = Painted(5, 3, [](int x, int y) { return Rgb{x * 50, y * 100, 7}; });
  const Picture once = ApplyEffect(Effect::Inverting, picture);
  ExpectPixels(once, {{0, 0, {255, 255, 248}}, {4, 2, {55, 55, 248}}, {2, 1, {155, 155, 248}}});
  EXPECT_EQ(ApplyEffect(Effect::Inverting, once).bottom_up_bgr, picture.bottom_up_bgr);
}

// On white, the first pixel is 255; the next ones carry it and read -1 past the right column
// and the bottom row: (255 + 1527) / 9 = 198, (198 + 1527) / 9 = 191, (191 + 1015) / 9 = 134.
TEST(PictureEffects, SofteningCarriesTheLastResultIntoTheNextSum) {
  const Picture soft = ApplyEffect(Effect::Softening, Plain(3, 3, {255, 255, 255}));
  ExpectPixels(soft, {{1, 1, {255, 255, 255}},
                      {1, 2, {198, 198, 198}},
                      {2, 1, {191, 191, 191}},
                      {2, 2, {134, 134, 134}},
                      {0, 0, kBlack},
                      {2, 0, kBlack},
                      {0, 2, kBlack}});
}

// The rule as written, pixel by pixel down each column, against the effect's band and group
// walk, on pictures wider than a band: noise, and flat grey whose sums sit on the floor's steps.
TEST(PictureEffects, SofteningWalksTheSameChainAsThePixelByPixelRule) {
  const auto rule = [](const Picture& source) {
    Picture result = Picture::Blank(source.width, source.height);
    const int last_x = source.width - 1, last_y = source.height - 1;
    std::array<int, 3> carried{};
    for (int x = 1; x <= last_x; ++x)
      for (int y = 1; y <= last_y; ++y)
        for (int c = 0; c < 3; ++c) {
          double total = carried[static_cast<std::size_t>(c)];
          for (int dx = -1; dx <= 1; ++dx)
            for (int dy = -1; dy <= 1; ++dy)
              total += x + dx > last_x || y + dy > last_y ? -1 : source.PixelFromTop(x + dx, y + dy)[c];
          const int value = std::clamp(static_cast<int>(std::floor(total / 9.0)), 0, 255);
          carried[static_cast<std::size_t>(c)] = value;
          result.PixelFromTop(x, y)[c] = static_cast<std::uint8_t>(value);
        }
    return result;
  };
  const Picture noise = Painted(150, 23, [](int x, int y) {
    const int v = (x * 7919 + y * 104729) % 256;
    return Rgb{v, (v * 3) % 256, (v * 5 + x) % 256};
  });
  for (const Picture& picture : {noise, Plain(133, 17, {100, 101, 102})})
    EXPECT_EQ(ApplyEffect(Effect::Softening, picture).bottom_up_bgr, rule(picture).bottom_up_bgr) << picture.width;
}

// 181 columns: the angle steps by 2 a row, and the sine passes one half at the angle 32 (row
// 15), from which L drops by one a row; floor(c / 2 + L / 4). Once below 51, L goes on from 50:
// column 60 starts at 40, column 150 below zero.
TEST(PictureEffects, LightingLowersEachColumnFromItsOwnStart) {
  const Picture lit = ApplyEffect(Effect::Lighting, Plain(181, 100, {100, 101, 0}));
  ExpectPixels(lit, {{0, 0, {75, 75, 25}},
                     {0, 14, {75, 75, 25}},
                     {0, 15, {74, 75, 24}},
                     {0, 19, {73, 74, 23}},
                     {0, 65, {62, 62, 12}},
                     {19, 0, {70, 70, 20}},
                     {60, 0, {60, 60, 10}},
                     {60, 1, {62, 63, 12}},
                     {150, 0, {37, 38, 0}}});
}

// Pixel (1, 1) of a 4 by 4 picture against the pixel up and left; (3c - p) / 2 rounds half to
// even and clamps. The rest of the picture is outside the ranges and stays black.
TEST(PictureEffects, SharpeningRoundsHalfToEvenAndClamps) {
  const struct {
    int c, p, expected;
  } cases[] = {{100, 100, 100}, {100, 50, 125}, {101, 100, 102}, {101, 98, 102}, {1, 0, 2},
               {0, 1, 0},       {200, 0, 255},  {10, 100, 0},    {102, 101, 102}};
  for (const auto& c : cases) {
    const Picture picture = Painted(4, 4, [&](int x, int y) {
      const int v = x == 1 && y == 1 ? c.c : x == 0 && y == 0 ? c.p : 255;
      return Rgb{v, v, v};
    });
    const Picture sharp = ApplyEffect(Effect::Sharpening, picture);
    EXPECT_EQ(At(sharp, 1, 1), (Rgb{c.expected, c.expected, c.expected})) << c.c << " after " << c.p;
    ExpectPixels(sharp, {{0, 0, kBlack}, {2, 1, kBlack}, {1, 2, kBlack}, {3, 3, kBlack}});
  }
}

TEST(PictureEffects, EmbossingTakesTheDifferenceToThePixelDownAndRight) {
  const struct {
    int c, n, expected;
  } cases[] = {{50, 50, 128}, {200, 0, 255}, {0, 200, 72}, {0, 255, 127}, {0, 128, 0}};
  for (const auto& c : cases) {
    const Picture picture = Painted(4, 4, [&](int x, int y) {
      const int v = x == 1 && y == 1 ? c.c : x == 2 && y == 2 ? c.n : 0;
      return Rgb{v, v, v};
    });
    const Picture embossed = ApplyEffect(Effect::Embossing, picture);
    EXPECT_EQ(At(embossed, 1, 1), (Rgb{c.expected, c.expected, c.expected})) << c.c << " over " << c.n;
    ExpectPixels(embossed, {{0, 0, kBlack}, {2, 2, kBlack}, {3, 1, kBlack}});
  }
}

// Down the first column, then the second: a component not inverted repeats the value last
// written for it, 0 before any.
TEST(PictureEffects, SolarizingCarriesTheLastInvertedValue) {
  const std::array<Rgb, 6> in{Rgb{200, 200, 128}, Rgb{10, 200, 10}, Rgb{200, 100, 200},
                              Rgb{128, 128, 128}, Rgb{127, 255, 0}, Rgb{255, 0, 128}};
  const Picture picture = Painted(2, 3, [&](int x, int y) { return in[static_cast<std::size_t>(x * 3 + y)]; });
  ExpectPixels(ApplyEffect(Effect::Solarizing, picture), {{0, 0, {0, 0, 0}},
                                                          {0, 1, {245, 0, 245}},
                                                          {0, 2, {245, 155, 55}},
                                                          {1, 0, {245, 155, 55}},
                                                          {1, 1, {128, 155, 255}},
                                                          {1, 2, {128, 255, 255}}});
}

// Seed 0 draws, column by column, the offsets (-1,-1) (1,1) (0,0) | (-1,1) (0,0) (1,1) |
// (0,2) (-2,0) (1,-1): where they point outside, the pixel is black.
TEST(PictureEffects, DiffusingTakesPixelsFromTheDrawnOffsets) {
  const auto colour = [](int x, int y) { return Rgb{x * 50 + 5, y * 50 + 5, 77}; };
  const Picture diffused = ApplyEffect(Effect::Diffusing, Painted(3, 3, colour), EffectInputs{0, 0});
  ExpectPixels(diffused, {{0, 0, kBlack},
                          {0, 1, colour(1, 2)},
                          {0, 2, colour(0, 2)},
                          {1, 0, colour(0, 1)},
                          {1, 1, colour(1, 1)},
                          {1, 2, kBlack},
                          {2, 0, colour(2, 2)},
                          {2, 1, colour(0, 1)},
                          {2, 2, kBlack}});
}

// Angle 30 turns by 1.5 radians on both lines alike: a near transposition whose far pixels
// land outside; angle 0 keeps the picture, 60 keeps only the first pixel.
TEST(PictureEffects, RotateWritesWhereTheProgramsTurnPuts) {
  const auto colour = [](int x, int y) { return Rgb{x * 50 + 5, y * 50 + 5, 77}; };
  const Picture picture = Painted(3, 3, colour);
  EXPECT_EQ(ApplyEffect(Effect::Rotate, picture, EffectInputs{0, 0}).bottom_up_bgr, picture.bottom_up_bgr);
  ExpectPixels(ApplyEffect(Effect::Rotate, picture, EffectInputs{30, 0}), {{0, 0, colour(0, 0)},
                                                                           {0, 1, colour(1, 0)},
                                                                           {1, 0, colour(0, 1)},
                                                                           {1, 1, colour(1, 1)},
                                                                           {0, 2, colour(2, 0)},
                                                                           {2, 0, colour(0, 2)},
                                                                           {1, 2, kBlack},
                                                                           {2, 1, kBlack},
                                                                           {2, 2, kBlack}});
  ExpectPixels(ApplyEffect(Effect::Rotate, picture, EffectInputs{60, 0}),
               {{0, 0, colour(0, 0)}, {1, 0, kBlack}, {0, 1, kBlack}, {2, 2, kBlack}});
}

// The step is round(W1 / 20), half to even; the share is floor(x / W1 * 100).
TEST(PictureEffects, ProgressTextsComeEveryStepOfColumns) {
  const struct {
    Effect effect;
    int width;
    std::size_t count;
    std::string first, last;
  } cases[] = {
      {Effect::Grayscaling, 41, 21, "Grayscaling... 0%", "Grayscaling... 100%"},
      {Effect::Softening, 12, 11, "Softening... 9%", "Softening... 100%"},
      {Effect::Sharpening, 31, 14, "Sharpening... 6%", "Sharpening... 93%"},
      {Effect::Inverting, 51, 26, "Inverting... 0%", "Inverting... 100%"},
      {Effect::FlipVertical, 71, 18, "Flip Vertical... 0%", "Flip Vertical... 97%"},
  };
  for (const auto& c : cases) {
    const auto texts = EffectProgress(c.effect, c.width);
    ASSERT_EQ(texts.size(), c.count) << c.first;
    EXPECT_EQ(texts.front(), c.first);
    EXPECT_EQ(texts.back(), c.last);
  }
}

TEST(PictureEffects, PicturesOfTenColumnsOrFewerFailTheProgressStep) {
  EXPECT_THROW(EffectProgress(Effect::Grayscaling, 11), DivisionByZeroError);
  EXPECT_THROW(EffectProgress(Effect::Diffusing, 1), DivisionByZeroError);
  EXPECT_NO_THROW(EffectProgress(Effect::Grayscaling, 12));
  // Sharpening walks no column of a picture 3 wide, so nothing divides.
  EXPECT_TRUE(EffectProgress(Effect::Sharpening, 3).empty());
}

}  // namespace
}  // namespace zr
