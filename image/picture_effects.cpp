#include "image/picture_effects.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

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
int RoundEven(double value) { return static_cast<int>(std::lrint(value)); }

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

// The product's turn: the constant pi is held in an integer, so it is 3, and the angle in
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
  for (int y = 1; y <= last_y; ++y) {
    const std::uint8_t* up = RowFromTop(source, y - 1);
    const std::uint8_t* middle = RowFromTop(source, y);
    const std::uint8_t* down = y < last_y ? RowFromTop(source, y + 1) : nullptr;
    for (int k = 0; k < count + 2; ++k) {
      const int x = first - 1 + k;
      for (int c = 0; c < 3; ++c) {
        const auto at = static_cast<std::size_t>(k * 3 + c);
        if (x > last_x) {
          columns[at] = -3;
          continue;
        }
        const std::ptrdiff_t i = std::ptrdiff_t{x} * 3 + c;
        columns[at] = up[i] + middle[i] + (down ? down[i] : -1);
      }
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
  const std::ptrdiff_t stride = result.Stride();
  std::array<int, 3> carried{};
  for (int first = 1; first <= last_x; first += kSoftenBand) {
    const int count = std::min(kSoftenBand, last_x + 1 - first);
    SoftenSums(source, first, count, sums);
    for (int j = 0; j < count; ++j) {
      std::uint8_t* out = result.PixelFromTop(first + j, 1);
      const std::int16_t* sum = sums.data() + std::ptrdiff_t{j} * 3;
      for (int y = 1; y <= last_y; ++y, out -= stride, sum += kSoftenBand * 3) {
        for (std::size_t c = 0; c < 3; ++c) {
          const std::uint8_t value = table[static_cast<std::size_t>(carried[c] + sum[c] - kLowestSoftenTotal)];
          carried[c] = value;
          out[c] = value;
        }
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

// Down each column in turn, with the value last inverted carried for each component.
Picture Solarizing(const Picture& source) {
  Picture result = Picture::Blank(source.width, source.height);
  const std::ptrdiff_t stride = source.Stride();
  int blue = 0, green = 0, red = 0;
  for (int x = 0; x < source.width; ++x) {
    const std::uint8_t* in = source.PixelFromTop(x, 0);
    std::uint8_t* out = result.PixelFromTop(x, 0);
    for (int y = 0; y < source.height; ++y, in -= stride, out -= stride) {
      if (in[2] < 128) red = 255 - in[2];
      if (in[1] < 128) green = 255 - in[1];
      if (in[0] != 128) blue = 255 - in[0];
      out[0] = Clamp(blue);
      out[1] = Clamp(green);
      out[2] = Clamp(red);
    }
  }
  return result;
}

// Two draws a pixel, x's offset first, down each column in turn.
Picture Diffusing(const Picture& source, std::uint32_t seed) {
  Picture result = Picture::Blank(source.width, source.height);
  RandomNumbers random(seed);
  for (int x = 0; x < source.width; ++x) {
    for (int y = 0; y < source.height; ++y) {
      const int from_x = x + RoundEven(random.Next() * 4.0 - 2.0);
      const int from_y = y + RoundEven(random.Next() * 4.0 - 2.0);
      if (from_x < 0 || from_x >= source.width || from_y < 0 || from_y >= source.height) continue;
      const std::uint8_t* from = source.PixelFromTop(from_x, from_y);
      std::copy(from, from + 3, result.PixelFromTop(x, y));
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
    texts.push_back(std::string(EffectText(effect)) + " " + NumberText(std::floor(static_cast<double>(x) / last_x * 100)) +
                    "%");
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
