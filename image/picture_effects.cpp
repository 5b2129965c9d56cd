#include "image/picture_effects.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "base/formatting.h"
#include "base/random_numbers.h"

namespace zr {

namespace {

using platform::Picture;

// 255 and above give 255, below 1 gives 0.
constexpr std::uint8_t Clamp(int value) {
  return value >= 255 ? std::uint8_t{255} : value < 1 ? std::uint8_t{0} : static_cast<std::uint8_t>(value);
}

// Division rounded toward minus infinity, as the effects' floor of a quotient.
constexpr int FloorDiv(int numerator, int denominator) {
  const int quotient = numerator / denominator;
  return (numerator % denominator != 0 && numerator < 0) ? quotient - 1 : quotient;
}

// Rounds to nearest with ties to even: the processor's rounding, which is the program's.
int RoundEven(double value) {
#if defined(__SSE2__)
  return _mm_cvtsd_si32(_mm_set_sd(value));
#else
  return static_cast<int>(std::lrint(value));
#endif
}

const std::uint8_t* RowFromTop(const Picture& picture, int y) { return picture.PixelFromTop(0, y); }
std::uint8_t* RowFromTop(Picture& picture, int y) { return picture.PixelFromTop(0, y); }
std::size_t RowBytes(const Picture& picture) { return static_cast<std::size_t>(picture.width) * 3; }

// Pixels independent of one another: `transform(in, out)` on each row, the rows in any order.
template <class Transform>
Picture EachRow(const Picture& source, Transform transform) {
  Picture result = Picture::Blank(source.width, source.height);
  for (int y = 0; y < source.height; ++y) transform(RowFromTop(source, y), RowFromTop(result, y), y);
  return result;
}

Picture Grayscaling(const Picture& source) {
  return EachRow(source, [&](const std::uint8_t* in, std::uint8_t* out, int) {
    for (int x = 0; x < source.width; ++x, in += 3, out += 3)
      out[0] = out[1] = out[2] = static_cast<std::uint8_t>((in[0] + in[1] + in[2]) / 3);
  });
}

Picture Inverting(const Picture& source) {
  const std::size_t bytes = RowBytes(source);
  return EachRow(source, [bytes](const std::uint8_t* in, std::uint8_t* out, int) {
    for (std::size_t i = 0; i < bytes; ++i) out[i] = static_cast<std::uint8_t>(255 - in[i]);
  });
}

void ReversedRow(const std::uint8_t* in, std::uint8_t* out, int width) {
  const std::uint8_t* from = in + std::ptrdiff_t{width - 1} * 3;
  for (int x = 0; x < width; ++x, from -= 3, out += 3) std::copy(from, from + 3, out);
}

// The half turn: each row reversed, and the rows in reverse order.
Picture FlipHorizontal(const Picture& source) {
  return EachRow(source, [&](const std::uint8_t*, std::uint8_t* out, int y) {
    ReversedRow(RowFromTop(source, source.height - 1 - y), out, source.width);
  });
}

// The mirror left to right.
Picture FlipVertical(const Picture& source) {
  return EachRow(source, [&](const std::uint8_t* in, std::uint8_t* out, int) { ReversedRow(in, out, source.width); });
}

// The program's own turn: the constant pi is held in an integer, so it is 3, and the angle in
// radians is a single-precision number; both lines carry the same signs. Later pixels of the
// walk overwrite earlier ones that land on the same place.
Picture Rotate(const Picture& source, std::int16_t angle) {
  Picture result = Picture::Blank(source.width, source.height);
  const int last_x = source.width - 1;
  const int last_y = source.height - 1;
  const float radians = static_cast<float>(angle / 180.0 * 3);
  const double turn = static_cast<double>(radians) * 3;
  const double cosine = std::cos(turn);
  const double sine = std::sin(turn);
  for (int x = 0; x <= last_x; ++x) {
    for (int y = 0; y <= last_y; ++y) {
      const double new_x = x * cosine + y * sine;
      const double new_y = x * sine + y * cosine;
      if (new_x < 0 || new_x > last_x || new_y < 0 || new_y > last_y) continue;
      const std::uint8_t* from = source.PixelFromTop(x, y);
      std::copy(from, from + 3, result.PixelFromTop(RoundEven(new_x), RoundEven(new_y)));
    }
  }
  return result;
}

// Softening over column blocks: the sums of the 3 by 3 blocks of a band of columns are worked
// out row by row, then the carried results walk down each column of the band, into the next.
constexpr int kSoftenBand = 64;

// The result of (carried + sum of nine) / 9, floored and clamped, for every total from nine
// reads of -1 (-9) to nine of 255 plus 255.
constexpr int kLowestSoftenTotal = -9;
const std::array<std::uint8_t, 2560>& SoftenTable() {
  static const auto table = [] {
    std::array<std::uint8_t, 2560> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = Clamp(FloorDiv(static_cast<int>(i) + kLowestSoftenTotal, 9));
    return values;
  }();
  return table;
}

// The sums of the nine pixels round (x, y) for the columns first .. first + count - 1 and every
// row from 1, in `sums` by row, then column, then component. Reads outside the picture are -1.
void SoftenSums(const Picture& source, int first, int count, std::vector<std::int16_t>& sums) {
  const int last_x = source.width - 1;
  const int last_y = source.height - 1;
  std::array<int, (kSoftenBand + 2) * 3> columns{};
  // The columns inside the picture, then the one past the right edge, three reads of -1.
  const int inside = std::min(count + 2, last_x + 2 - first);
  const auto inside_bytes = static_cast<std::size_t>(inside) * 3;
  std::fill(columns.begin() + static_cast<std::ptrdiff_t>(inside_bytes), columns.end(), -3);
  for (int y = 1; y <= last_y; ++y) {
    const std::uint8_t* up = RowFromTop(source, y - 1) + std::ptrdiff_t{first - 1} * 3;
    const std::uint8_t* middle = RowFromTop(source, y) + std::ptrdiff_t{first - 1} * 3;
    if (y < last_y) {
      const std::uint8_t* down = RowFromTop(source, y + 1) + std::ptrdiff_t{first - 1} * 3;
      for (std::size_t i = 0; i < inside_bytes; ++i) columns[i] = up[i] + middle[i] + down[i];
    } else {
      for (std::size_t i = 0; i < inside_bytes; ++i) columns[i] = up[i] + middle[i] - 1;
    }
    std::int16_t* row = sums.data() + std::ptrdiff_t{y - 1} * kSoftenBand * 3;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) * 3; ++i)
      row[i] = static_cast<std::int16_t>(columns[i] + columns[i + 3] + columns[i + 6]);
  }
}

Picture Softening(const Picture& source) {
  Picture result = Picture::Blank(source.width, source.height);
  const int last_x = source.width - 1;
  const int last_y = source.height - 1;
  if (last_x < 1 || last_y < 1) return result;
  const auto& table = SoftenTable();
  std::vector<std::int16_t> sums(static_cast<std::size_t>(last_y) * kSoftenBand * 3);
  // Row y of the result, counted from the top, lies `stride` bytes before row y - 1.
  const std::ptrdiff_t stride = result.Stride();
  // The three carried results stay in registers: the chain from pixel to pixel is the cost.
  const std::uint8_t* lookup = table.data() - kLowestSoftenTotal;
  int blue = 0, green = 0, red = 0;
  for (int first = 1; first <= last_x; first += kSoftenBand) {
    const int count = std::min(kSoftenBand, last_x + 1 - first);
    SoftenSums(source, first, count, sums);
    for (int j = 0; j < count; ++j) {
      std::uint8_t* top = result.PixelFromTop(first + j, 1);
      const std::int16_t* sum = sums.data() + std::ptrdiff_t{j} * 3;
      for (std::ptrdiff_t row = 0; row < last_y; ++row) {
        const std::int16_t* at = sum + row * kSoftenBand * 3;
        blue = lookup[blue + at[0]];
        green = lookup[green + at[1]];
        red = lookup[red + at[2]];
        std::uint8_t* out = top - row * stride;
        out[0] = static_cast<std::uint8_t>(blue);
        out[1] = static_cast<std::uint8_t>(green);
        out[2] = static_cast<std::uint8_t>(red);
      }
    }
  }
  return result;
}

// Each column lights from L = H1 + 1 - x, which a sine step lowers at each row down to 50. The
// angle starts at 0 in every column, so the steps are the same in all of them.
Picture Lighting(const Picture& source) {
  const int last_x = source.width - 1;
  const int last_y = source.height - 1;
  std::vector<double> steps(static_cast<std::size_t>(std::max(source.height, 0)));
  int angle = 0;
  for (double& step : steps) {
    angle = RoundEven(last_x / 90.0 + angle);
    step = std::sin(angle * 3.14 / 180.0);
    if (angle >= 90) angle = 90;
  }
  std::vector<int> levels(static_cast<std::size_t>(std::max(source.width, 0)));
  for (int x = 0; x <= last_x; ++x) levels[static_cast<std::size_t>(x)] = last_y + 1 - x;
  return EachRow(source, [&](const std::uint8_t* in, std::uint8_t* out, int y) {
    const double step = steps[static_cast<std::size_t>(y)];
    for (int& level : levels) {
      level = RoundEven(level - step);
      // floor(c / 2 + L / 4), exactly, as a floored quarter.
      for (int c = 0; c < 3; ++c) out[c] = Clamp((2 * in[c] + level) >> 2);
      if (level < 51) level = 50;
      in += 3;
      out += 3;
    }
  });
}

// The inner pixels: x and y from 1 to the last but two; `combine(c, other)` with the pixel up
// and left (offset -1) or down and right (+1).
template <class Combine>
Picture InnerPixels(const Picture& source, int offset, Combine combine) {
  const int last_x = source.width - 1;
  const int last_y = source.height - 1;
  return EachRow(source, [&](const std::uint8_t* in, std::uint8_t* out, int y) {
    if (y < 1 || y > last_y - 2) return;
    const std::uint8_t* other = RowFromTop(source, y + offset) + offset * 3;
    for (std::ptrdiff_t i = 3; i < std::ptrdiff_t{last_x - 1} * 3; ++i) out[i] = Clamp(combine(in[i], other[i]));
  });
}

// round((c - p) / 2 + c) = round((3c - p) / 2), a tie going to the even neighbour.
Picture Sharpening(const Picture& source) {
  return InnerPixels(source, -1, [](int c, int p) {
    const int doubled = 3 * c - p;
    const int floored = doubled >> 1;
    return floored + (doubled & floored & 1);
  });
}

Picture Embossing(const Picture& source) {
  return InnerPixels(source, 1, [](int c, int n) { return std::abs(c - n + 128); });
}

// Down each column in turn, with the value last inverted carried for each component. The walk
// goes row by row instead, each column keeping its own last value; the pixels at the top of a
// column before its first inversion take, afterwards, what the columns before it carried out.
Picture Solarizing(const Picture& source) {
  Picture result = Picture::Blank(source.width, source.height);
  const auto bytes = RowBytes(source);
  constexpr int kNone = -1;
  std::vector<int> last(bytes, kNone);                    // per column and component: the value last inverted
  std::vector<int> first_inverted(bytes, source.height);  // and the row of the first inversion
  for (int y = 0; y < source.height; ++y) {
    const std::uint8_t* in = RowFromTop(source, y);
    std::uint8_t* out = RowFromTop(result, y);
    for (std::size_t i = 0; i < bytes; ++i) {
      // Blue (the first byte of a pixel) is inverted unless exactly 128; green and red below 128.
      const bool inverted = i % 3 == 0 ? in[i] != 128 : in[i] < 128;
      if (inverted) {
        if (last[i] == kNone) first_inverted[i] = y;
        last[i] = 255 - in[i];
      }
      out[i] = Clamp(last[i]);
    }
  }
  const std::ptrdiff_t stride = result.Stride();
  std::array<int, 3> carried{};
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::size_t component = i % 3;
    std::uint8_t* top = RowFromTop(result, 0) + i;
    for (std::ptrdiff_t y = 0; y < first_inverted[i]; ++y) top[-y * stride] = Clamp(carried[component]);
    if (last[i] != kNone) carried[component] = last[i];
  }
  return result;
}

// Two draws a pixel, x's offset first, down each column in turn. The walk goes row by row, the
// generator leaping over the draws of the rest of each column.
Picture Diffusing(const Picture& source, std::uint32_t seed) {
  Picture result = Picture::Blank(source.width, source.height);
  const auto column_draws = std::uint64_t{2} * static_cast<std::uint64_t>(source.height);
  const auto to_next_column = RandomNumbers::LeapOver(column_draws - 2);
  const auto to_next_row = RandomNumbers::LeapOver(2);
  RandomNumbers row_start(seed);
  for (int y = 0; y < source.height; ++y, row_start.Skip(to_next_row)) {
    RandomNumbers random = row_start;
    std::uint8_t* out = RowFromTop(result, y);
    for (int x = 0; x < source.width; ++x, out += 3) {
      const int from_x = x + RoundEven(random.Next() * 4.0 - 2.0);
      const int from_y = y + RoundEven(random.Next() * 4.0 - 2.0);
      random.Skip(to_next_column);
      if (from_x < 0 || from_x >= source.width || from_y < 0 || from_y >= source.height) continue;
      const std::uint8_t* from = source.PixelFromTop(from_x, from_y);
      out[0] = from[0];
      out[1] = from[1];
      out[2] = from[2];
    }
  }
  return result;
}

// The columns an effect walks, as its progress counts them.
struct Columns {
  int first = 0;
  int last = 0;
};

Columns ColumnsOf(Effect effect, int last_x) {
  switch (effect) {
    case Effect::Softening:
      return {1, last_x};
    case Effect::Sharpening:
    case Effect::Embossing:
      return {1, last_x - 2};
    default:
      return {0, last_x};
  }
}

}  // namespace

std::string_view EffectText(Effect effect) {
  switch (effect) {
    case Effect::Grayscaling:
      return "Grayscaling...";
    case Effect::FlipHorizontal:
      return "Flip Horizontal...";
    case Effect::FlipVertical:
      return "Flip Vertical...";
    case Effect::Rotate:
      return "Rotate...";
    case Effect::Inverting:
      return "Inverting...";
    case Effect::Softening:
      return "Softening...";
    case Effect::Lighting:
      return "Lighting...";
    case Effect::Sharpening:
      return "Sharpening...";
    case Effect::Solarizing:
      return "Solarizing...";
    case Effect::Embossing:
      return "Embossing...";
    case Effect::Diffusing:
      return "Diffusing...";
  }
  return {};
}

std::vector<std::string> EffectProgress(Effect effect, int width) {
  const int last_x = width - 1;
  const Columns columns = ColumnsOf(effect, last_x);
  std::vector<std::string> texts;
  if (columns.first > columns.last) return texts;
  const int step = RoundEven(last_x / 20.0);
  if (step == 0) throw DivisionByZeroError();
  for (int x = columns.first; x <= columns.last; ++x) {
    if (x % step != 0) continue;
    texts.push_back(std::string(EffectText(effect)) + " " +
                    NumberText(std::floor(static_cast<double>(x) / last_x * 100)) + "%");
  }
  return texts;
}

platform::Picture ApplyEffect(Effect effect, const platform::Picture& source, const EffectInputs& inputs) {
  switch (effect) {
    case Effect::Grayscaling:
      return Grayscaling(source);
    case Effect::FlipHorizontal:
      return FlipHorizontal(source);
    case Effect::FlipVertical:
      return FlipVertical(source);
    case Effect::Rotate:
      return Rotate(source, inputs.angle);
    case Effect::Inverting:
      return Inverting(source);
    case Effect::Softening:
      return Softening(source);
    case Effect::Lighting:
      return Lighting(source);
    case Effect::Sharpening:
      return Sharpening(source);
    case Effect::Solarizing:
      return Solarizing(source);
    case Effect::Embossing:
      return Embossing(source);
    case Effect::Diffusing:
      return Diffusing(source, inputs.seed);
  }
  return Picture::Blank(source.width, source.height);
}

}  // namespace zr
