#pragma once
// The tone curves of a picture, as the histogram window draws and exports them: four tables of
// 256 counts (the curve called red is fed from the pixel's low byte, blue; the one called blue
// from its third byte, red), their maxima, the counts scaled to the height of the drawing, the
// export text, and the drawing itself as boxes and dots for a face to paint.
//
// The maxima are kept as operators have always seen them: after each pixel every table is
// tested at the low byte's index, and the maximum then takes the table's value at its own
// index. The maxima of green, blue and luminance may therefore lag behind the real ones, or
// stay 0, in which case their tables keep the raw counts.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/picture.h"

namespace zr {

using ToneTable = std::array<std::int32_t, 256>;

struct ToneTables {
  ToneTable red{};
  ToneTable green{};
  ToneTable blue{};
  ToneTable lum{};
  std::int32_t max_red = 0;
  std::int32_t max_green = 0;
  std::int32_t max_blue = 0;
  std::int32_t max_lum = 0;
};

// The size of the histogram's drawing surface, in pixels: the window's and the command line's.
inline constexpr int kToneDrawingWidth = 512;
inline constexpr int kToneDrawingHeight = 200;

// The counts of every pixel, bottom row first as the picture is held; luminance is the mean of
// the three bytes rounded to nearest.
ToneTables CountTones(const platform::Picture& picture);

// Each table from count to the height of its point in a drawing `height` pixels high: the
// rounded height - count * height / maximum. A product beyond 32 bits, a maximum of 0, or a
// result beyond 32 bits leaves that entry's raw count.
void ScaleToneTables(ToneTables& tables, std::int32_t height);

// "TONE", "RED", "GREEN", "BLUE", "LUMINANCE" tab-separated, no line end, then one row per tone
// (tone, red, green, blue, luminance, tab-separated, ended by CR LF) of the scaled tables.
std::string ToneExportText(const ToneTables& scaled);

// Which curves the drawing shows.
struct ToneCurveChoice {
  bool red = true;
  bool green = true;
  bool blue = true;
  bool luminance = true;
};

enum class ToneCurve { Red, Green, Blue };

// The drawing on a white surface: a black box per tone for luminance, from the bottom up to
// its height, and one dot per tone and colour curve. The tones stand `width` / 256 apart, each
// place rounded from the last, so a surface narrower than 128 pixels keeps every tone at 0.
struct ToneDrawing {
  struct Bar {
    double left;
    double right;
    std::int32_t top;  // the box runs from here to the bottom of the surface
  };
  struct Dot {
    std::int32_t x;
    std::int32_t y;
    ToneCurve curve;
  };
  int width = 0;
  int height = 0;
  std::vector<Bar> bars;
  std::vector<Dot> dots;
};

ToneDrawing DrawToneCurves(const ToneTables& scaled, int width, int height, ToneCurveChoice shown);

// Counts, scales and exports a picture as the histogram does for a surface of the usual size.
std::string ToneExportOf(const platform::Picture& picture);

}  // namespace zr
