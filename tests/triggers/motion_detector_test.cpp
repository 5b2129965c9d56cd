#include "triggers/motion_detector.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace zr {
namespace {

// A surface over a picture of its own at 96 dots an inch, recording the points it is read at.
class PictureSurface : public MotionSurface {
 public:
  explicit PictureSurface(platform::Picture picture) : picture_(std::move(picture)) {}
  void TakeFrame() override {}
  HimetricSize FrameSize() const override {
    return {HimetricOfPixelsAt96Dpi(picture_.width), HimetricOfPixelsAt96Dpi(picture_.height)};
  }
  TwipsPerPixel DisplayScale() const override { return kDisplayScaleAt96Dpi; }
  std::int32_t ColourAt(int x, int y) const override {
    points.emplace_back(x, y);
    return PackedColourAt(picture_, x, y);
  }
  mutable std::vector<std::pair<int, int>> points;

 private:
  platform::Picture picture_;
};

platform::Picture Solid(int width, int height, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  auto picture = platform::Picture::Blank(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      auto* bgr = picture.PixelFromTop(x, y);
      bgr[0] = b, bgr[1] = g, bgr[2] = r;
    }
  return picture;
}

TEST(MotionGrid, A320By240PictureAt96DpiIsSampledAt154PointsReachingPastItsEdge) {
  PictureSurface surface(Solid(320, 240, 128, 128, 128));
  EXPECT_EQ(surface.FrameSize().width, 8467);
  EXPECT_EQ(surface.FrameSize().height, 6350);
  const MotionRows rows = MotionRowsOf(surface.FrameSize(), surface.DisplayScale());
  EXPECT_EQ(rows.limit, 423);
  EXPECT_EQ(rows.step, 42);

  int yields = 0;
  const double mean = MotionMean(surface, [&] { ++yields; });
  ASSERT_EQ(surface.points.size(), 154u);
  EXPECT_EQ(yields, 2 * 154);
  std::set<int> xs, ys;
  for (const auto& [x, y] : surface.points) xs.insert(x), ys.insert(y);
  EXPECT_EQ(ys, (std::set<int>{1, 43, 85, 127, 169, 211, 253, 295, 337, 379, 421}));
  EXPECT_EQ(xs, (std::set<int>{1, 43, 86, 128, 170, 213, 255, 297, 340, 382, 424, 467, 509, 551}));
  // 6 rows of 8 points fall on the picture, the other 106 read -1.
  EXPECT_DOUBLE_EQ(mean, (48.0 * 8421504 - 106) / 154);
}

TEST(MotionGrid, NoPictureGivesNoSampleAndAPictureTooFlatForARowStepIsAnError) {
  PictureSurface empty(platform::Picture{});
  EXPECT_EQ(MotionMean(empty, [] {}), 0);
  EXPECT_TRUE(empty.points.empty());
  PictureSurface flat(Solid(320, 1, 1, 1, 1));
  EXPECT_THROW(MotionMean(flat, [] {}), MotionError);
}

// The detector's two numbers between ticks, starting without a baseline.
struct Numbers {
  double average = 0;
  double baseline = 0;
  std::optional<std::int16_t> Compare(double mean) { return CompareMotion(mean, {average, baseline}); }
};

// The percent of a mean against the one before it.
std::int16_t PercentOf(double previous, double mean) {
  Numbers numbers;
  numbers.Compare(previous);
  return *numbers.Compare(mean);
}

TEST(MotionComparison, TheFloorMakesTheToleranceBandAsymmetric) {
  const std::int16_t tolerance = 5;
  const std::vector<std::pair<double, bool>> cases = {{9499, true},   {9490, true},   {9500, false},
                                                      {10500, false}, {10590, false}, {10600, true}};
  for (const auto& [mean, fires] : cases) EXPECT_EQ(MotionFires(PercentOf(10000, mean), tolerance), fires) << mean;
  EXPECT_EQ(PercentOf(10000, 9499), 94);
  EXPECT_EQ(PercentOf(10000, 10590), 105);
}

TEST(MotionComparison, TheBaselineIsAlwaysThePreviousTickAndAZeroMeanIsPassedOver) {
  Numbers numbers;
  EXPECT_EQ(numbers.Compare(100), 100);
  EXPECT_EQ(MotionChangedText(100), " 0% Image changed");
  EXPECT_EQ(numbers.Compare(0), std::nullopt);
  EXPECT_EQ(numbers.average, 0);
  EXPECT_EQ(numbers.baseline, 100);
  EXPECT_EQ(numbers.Compare(50), 50);
  EXPECT_EQ(numbers.Compare(50), 100);
  EXPECT_EQ(numbers.Compare(53.5), 107);
  EXPECT_EQ(MotionChangedText(107), " 7% Image changed");
  EXPECT_EQ(MotionChangedText(93), " 7% Image changed");
  // A percent beyond 16 bits is an error.
  EXPECT_THROW(numbers.Compare(53.5 * 400), MotionError);
}

TEST(MotionComparison, ARedOnlyChangeOfAGreyPictureHardlyCounts) {
  PictureSurface grey(Solid(320, 240, 128, 128, 128));
  PictureSurface redder(Solid(320, 240, 228, 128, 128));
  EXPECT_FALSE(MotionFires(PercentOf(MotionMean(grey, [] {}), MotionMean(redder, [] {})), 1));
}

}  // namespace
}  // namespace zr
