#pragma once
// The motion detector's arithmetic. A frame is reduced to one number, the mean of the packed
// colours of a coarse grid of points, and that number is compared with the one of the previous
// tick. The grid's pitch is a tenth of the frame's physical height over the display's scale, the
// same across and down, and the points past the frame's own edge read -1 like any point that
// cannot be read.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/program_error.h"
#include "capture/motion_surface.h"

namespace zr {

// A tick that cannot be worked out: a count or a percent beyond 16 bits, a scan that cannot
// advance.
class MotionError : public ProgramError {
 public:
  using ProgramError::ProgramError;
};

struct MotionRows {
  std::int16_t limit = 0;
  std::int16_t step = 0;
};
MotionRows MotionRowsOf(HimetricSize size, TwipsPerPixel scale);

// The mean of the packed colours of the grid over the surface's last frame; 0 without a sample.
// `yield` runs before and after every sample.
double MotionMean(const MotionSurface& surface, const std::function<void()>& yield);

// The two numbers the detector keeps between ticks: the mean of the last tick and the one of
// the tick before, 0 meaning no baseline yet.
struct MotionNumbers {
  double& average;
  double& baseline;
};
// Records `mean` and gives it as a percent of the previous tick's, floored; nothing for a mean
// of exactly 0, which leaves the baseline as it was. The first tick without a baseline gives 100.
std::optional<std::int16_t> CompareMotion(double mean, MotionNumbers numbers);

// True outside the band of 100 ± sensitivity, both bounds inside.
bool MotionFires(std::int16_t percent, std::int16_t sensitivity);
// The change as the status line shows it, with a leading blank: " 7% Image changed".
std::string MotionChangedText(std::int16_t percent);

}  // namespace zr
