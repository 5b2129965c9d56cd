#pragma once
// What the motion detector asks of the capture window: take the current frame, report that
// frame's physical size and the display's scale, and read the packed colour at a pixel of the
// window's surface. The capture window offers these over whatever its device shows; tests
// offer them over a picture of their own.

#include <cstdint>

#include "platform/picture.h"

namespace zr {

// A frame's size in himetric units (0.01 mm), as a picture object reports it.
struct HimetricSize {
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// The display's twips (1/1440 inch) per pixel across and down.
struct TwipsPerPixel {
  float x = 0;
  float y = 0;
};

class MotionSurface {
 public:
  virtual ~MotionSurface() = default;
  virtual void TakeFrame() = 0;
  // The size of the frame taken last; a missing frame is 0 by 0.
  virtual HimetricSize FrameSize() const = 0;
  virtual TwipsPerPixel DisplayScale() const = 0;
  // Red in the low byte, green in the next, blue in the third; -1 where nothing can be read.
  virtual std::int32_t ColourAt(int x, int y) const = 0;
};

// The program's pictures are shown at 96 dots an inch: 15 twips and 2540/96 himetric a pixel.
inline constexpr TwipsPerPixel kDisplayScaleAt96Dpi{15.0f, 15.0f};
std::int32_t HimetricOfPixelsAt96Dpi(int pixels);
// The packed colour of pixel (x, y), y counted from the top; -1 outside the picture.
std::int32_t PackedColourAt(const platform::Picture& picture, int x, int y);

}  // namespace zr
