#include "triggers/motion_detector.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/formatting.h"

namespace zr {

namespace {

std::int16_t ToInt16(double value, const char* what) {
  if (!(value >= std::numeric_limits<std::int16_t>::min() && value <= std::numeric_limits<std::int16_t>::max()))
    throw MotionError(std::string("Overflow of the ") + what);
  return static_cast<std::int16_t>(value);
}

// To nearest, ties to even, as the default rounding mode does.
std::int16_t RoundToInt16(double value, const char* what) { return ToInt16(std::nearbyint(value), what); }

}  // namespace

MotionRows MotionRowsOf(HimetricSize size, TwipsPerPixel scale) {
  const double rows = size.height / static_cast<double>(scale.y);
  return {RoundToInt16(rows, "row limit"), RoundToInt16(rows / 10.0, "row step")};
}

double MotionMean(const MotionSurface& surface, const std::function<void()>& yield) {
  double sum = 0;
  double count = 0;
  const HimetricSize size = surface.FrameSize();
  const MotionRows rows = MotionRowsOf(size, surface.DisplayScale());
  if (rows.limit >= 1 && rows.step <= 0) throw MotionError("The motion grid has no row step");
  for (int y = 1; y <= rows.limit; y = ToInt16(y + rows.step, "row counter")) {
    const double column_step = size.height / static_cast<double>(surface.DisplayScale().y) / 10.0;
    const double column_limit = size.width / static_cast<double>(surface.DisplayScale().x);
    for (double column = 0, x = 1; x <= column_limit; x = 1 + ++column * column_step) {
      yield();
      // The point is read at the pixel nearest to it, as a window converts twips to pixels.
      sum += surface.ColourAt(static_cast<int>(std::lround(x)), y);
      count += 1;
      yield();
    }
  }
  return count > 0 ? sum / count : sum;
}

std::optional<std::int16_t> CompareMotion(double mean, MotionNumbers numbers) {
  numbers.average = mean;
  if (numbers.baseline == 0) numbers.baseline = mean;
  if (mean == 0) return std::nullopt;
  const std::int16_t percent = ToInt16(std::floor(mean * 100.0 / numbers.baseline), "percent");
  numbers.baseline = mean;
  return percent;
}

bool MotionFires(std::int16_t percent, std::int16_t sensitivity) {
  return !(percent >= 100 - sensitivity && percent <= 100 + sensitivity);
}

std::string MotionChangedText(std::int16_t percent) {
  return LeadingBlank(std::abs(100 - percent)) + "% Image changed";
}

}  // namespace zr
