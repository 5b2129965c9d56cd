#include "image/insertion_overlay.h"

#include <algorithm>
#include <cmath>

#include "base/formatting.h"
#include "image/insertion_macros.h"

namespace zr {
namespace {

// The vertical position goes through the holder's whole-twip coordinate, as it always has,
// so it may sit a fraction of a pixel off the exact thousandth.
std::optional<double> VerticalPixels(double thousandths, int picture_height) {
  try {
    const std::int32_t twips = RoundHalfEven(thousandths * picture_height * kTwipsPerPixel / 1000.0);
    return static_cast<double>(twips) / kTwipsPerPixel;
  } catch (const OverflowError&) {
    return std::nullopt;
  }
}

// A position in whole pixels for the renderer; far-off positions are pinned where they still
// print nothing.
int PixelPosition(double position) {
  constexpr double kFarOff = 1 << 24;
  return static_cast<int>(std::floor(std::clamp(position, -kFarOff, kFarOff)));
}

void PrintElement(ImageDrawing& drawing, const InsertionText& element, const platform::WallClock& clock,
                  const TextRenderer& renderer) {
  if (element.x_thousandths) drawing.x = *element.x_thousandths * drawing.picture.width / 1000.0;
  if (element.y_thousandths) {
    if (const std::optional<double> y = VerticalPixels(*element.y_thousandths, drawing.picture.height)) {
      drawing.y = *y;
    }
  }
  if (element.text_colour) drawing.text_colour = *element.text_colour;
  if (element.background_colour) drawing.background_colour = *element.background_colour;
  if (element.opaque) drawing.opaque = *element.opaque;
  if (!element.text) return;
  PrintColours colours{drawing.text_colour, std::nullopt};
  if (drawing.opaque) colours.background = drawing.background_colour;
  renderer.Print(drawing.picture, PixelPosition(drawing.x), PixelPosition(drawing.y),
                 ExpandInsertionMacros(*element.text, clock), colours);
}

}  // namespace

FontRequest InsertionFont() { return FontRequest{"Arial", true, 8.0}; }

void PrepareImageDrawing(ImageDrawing& drawing) {
  drawing.x = 0;
  drawing.y = 0;
}

void DrawInsertionLayout(ImageDrawing& drawing, const InsertionLayout& layout, const platform::WallClock& clock,
                         const TextRenderer& renderer) {
  for (const InsertionText& element : layout) PrintElement(drawing, element, clock, renderer);
}

void DrawInsertionFile(ImageDrawing& drawing, const std::string& path, const platform::WallClock& clock,
                       const TextRenderer& renderer) {
  PrepareImageDrawing(drawing);
  if (path.empty()) return;
  if (const std::optional<InsertionLayout> layout = ReadInsertionFile(path)) {
    DrawInsertionLayout(drawing, *layout, clock, renderer);
  }
}

}  // namespace zr
