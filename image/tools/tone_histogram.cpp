#include "image/tools/tone_histogram.h"

#include <algorithm>
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

// One row's pixels into the tables. The tables are the caller's locals, so that nothing the
// loop stores can be taken for the pixels it reads; the maxima are chosen without branches,
// which in a picture of varied colours would go either way at random.
struct Counting {
  ToneTable red{};
  ToneTable green{};
  ToneTable blue{};
  ToneTable lum{};
  std::int32_t max_green = 0;
  std::int32_t max_blue = 0;
  std::int32_t max_lum = 0;

  // The maxima live in locals for the row: the tables' stores could otherwise be taken for
  // stores to them.
  void Row(const std::uint8_t* pixel, int width) {
    std::int32_t row_max_green = max_green;
    std::int32_t row_max_blue = max_blue;
    std::int32_t row_max_lum = max_lum;
    for (int x = 0; x < width; ++x, pixel += 3) {
      const unsigned a = pixel[0];
      const unsigned b = pixel[1];
      const unsigned c = pixel[2];
      const unsigned l = kLuminanceOfSum[a + b + c];
      ++red[a];
      const std::int32_t green_b = ++green[b];
      const std::int32_t blue_c = ++blue[c];
      const std::int32_t lum_l = ++lum[l];
      row_max_green = green[a] > row_max_green ? green_b : row_max_green;
      row_max_blue = blue[a] > row_max_blue ? blue_c : row_max_blue;
      row_max_lum = lum[a] > row_max_lum ? lum_l : row_max_lum;
    }
    max_green = row_max_green;
    max_blue = row_max_blue;
    max_lum = row_max_lum;
  }
};

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
  Counting counting;
  const std::ptrdiff_t stride = picture.Stride();
  for (int row = 0; row < picture.height; ++row)
    counting.Row(picture.bottom_up_bgr.data() + row * stride, picture.width);
  tables.red = counting.red;
  tables.green = counting.green;
  tables.blue = counting.blue;
  tables.lum = counting.lum;
  // The running maximum of red, tested at the very entry each pixel adds to, ends as the
  // largest count.
  tables.max_red = *std::max_element(counting.red.begin(), counting.red.end());
  tables.max_green = counting.max_green;
  tables.max_blue = counting.max_blue;
  tables.max_lum = counting.max_lum;
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
