#include "image/tools/tone_histogram.h"

#include <cstddef>
#include <limits>

#include "base/formatting.h"

namespace zr {

namespace {

// Luminance by the sum of the three bytes: the mean rounded to nearest. A sum never lies half
// way between two thirds, so the rounding rule for ties never applies.
constexpr std::array<std::uint8_t, 766> MakeLuminanceOfSum() {
  std::array<std::uint8_t, 766> table{};
  for (std::size_t sum = 0; sum < table.size(); ++sum) table[sum] = static_cast<std::uint8_t>((sum + 1) / 3);
  return table;
}
constexpr auto kLuminanceOfSum = MakeLuminanceOfSum();

void CountRow(const std::uint8_t* pixel, int width, ToneTables& t) {
  std::int32_t max_red = t.max_red;
  std::int32_t max_green = t.max_green;
  std::int32_t max_blue = t.max_blue;
  std::int32_t max_lum = t.max_lum;
  for (int x = 0; x < width; ++x, pixel += 3) {
    const std::uint8_t a = pixel[0];
    const std::uint8_t b = pixel[1];
    const std::uint8_t c = pixel[2];
    const std::uint8_t l = kLuminanceOfSum[static_cast<std::size_t>(a + b + c)];
    ++t.red[a];
    ++t.green[b];
    ++t.blue[c];
    ++t.lum[l];
    if (t.red[a] > max_red) max_red = t.red[a];
    if (t.green[a] > max_green) max_green = t.green[b];
    if (t.blue[a] > max_blue) max_blue = t.blue[c];
    if (t.lum[a] > max_lum) max_lum = t.lum[l];
  }
  t.max_red = max_red;
  t.max_green = max_green;
  t.max_blue = max_blue;
  t.max_lum = max_lum;
}

void ScaleTable(ToneTable& table, std::int32_t maximum, std::int32_t height) {
  for (std::int32_t& value : table) {
    const std::int64_t product = std::int64_t{value} * height;
    if (maximum == 0 || product > std::numeric_limits<std::int32_t>::max() ||
        product < std::numeric_limits<std::int32_t>::min())
      continue;
    ResumeNext([&] { value = RoundHalfEven(height - static_cast<double>(product) / maximum); });
  }
}

}  // namespace

ToneTables CountTones(const platform::Picture& picture) {
  ToneTables tables;
  if (picture.width <= 0 || picture.height <= 0 ||
      picture.bottom_up_bgr.size() < platform::Picture::BytesFor(picture.width, picture.height))
    return tables;
  const std::ptrdiff_t stride = picture.Stride();
  for (int row = 0; row < picture.height; ++row)
    CountRow(picture.bottom_up_bgr.data() + row * stride, picture.width, tables);
  return tables;
}

void ScaleToneTables(ToneTables& tables, std::int32_t height) {
  ScaleTable(tables.lum, tables.max_lum, height);
  ScaleTable(tables.red, tables.max_red, height);
  ScaleTable(tables.green, tables.max_green, height);
  ScaleTable(tables.blue, tables.max_blue, height);
}

std::string ToneExportText(const ToneTables& scaled) {
  std::string text = "TONE\tRED\tGREEN\tBLUE\tLUMINANCE";
  text.reserve(256 * 24);
  for (std::size_t i = 0; i < 256; ++i) {
    for (const std::int32_t value : {static_cast<std::int32_t>(i), scaled.red[i], scaled.green[i], scaled.blue[i]}) {
      text += std::to_string(value);
      text += '\t';
    }
    text += std::to_string(scaled.lum[i]);
    text += "\r\n";
  }
  return text;
}

ToneDrawing DrawToneCurves(const ToneTables& scaled, int width, int height, ToneCurveChoice shown) {
  ToneDrawing drawing;
  drawing.width = width;
  drawing.height = height;
  const double step = width / 256.0;
  std::int32_t x = 0;
  for (std::size_t i = 0; i < 256; ++i) {
    if (shown.luminance) drawing.bars.push_back({static_cast<double>(x), x + step, scaled.lum[i]});
    if (shown.red) drawing.dots.push_back({x, scaled.red[i], ToneCurve::Red});
    if (shown.green) drawing.dots.push_back({x, scaled.green[i], ToneCurve::Green});
    if (shown.blue) drawing.dots.push_back({x, scaled.blue[i], ToneCurve::Blue});
    x = RoundHalfEven(x + step);
  }
  return drawing;
}

std::string ToneExportOf(const platform::Picture& picture) {
  ToneTables tables = CountTones(picture);
  ScaleToneTables(tables, kToneDrawingHeight);
  return ToneExportText(tables);
}

}  // namespace zr
