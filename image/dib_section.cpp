#include "image/dib_section.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/random_numbers.h"

namespace zr {

namespace {

struct Span {
  int from_x, from_y, to_x, to_y, width, height;
};

// Cuts a copy of `width` by `height` down to what lies inside both pictures.
Span ClipSpan(const platform::Picture& from, const platform::Picture& to, Span span) {
  const auto cut = [](int& from_at, int& to_at, int& length) {
    const int skip = std::max({0, -from_at, -to_at});
    from_at += skip;
    to_at += skip;
    length -= skip;
  };
  cut(span.from_x, span.to_x, span.width);
  cut(span.from_y, span.to_y, span.height);
  span.width = std::min({span.width, from.width - span.from_x, to.width - span.to_x});
  span.height = std::min({span.height, from.height - span.from_y, to.height - span.to_y});
  return span;
}

void CopySpan(const platform::Picture& from, platform::Picture& to, Span span) {
  span = ClipSpan(from, to, span);
  if (span.width <= 0 || span.height <= 0) return;
  for (int row = 0; row < span.height; ++row)
    std::memcpy(to.PixelFromTop(span.to_x, span.to_y + row), from.PixelFromTop(span.from_x, span.from_y + row),
                static_cast<std::size_t>(span.width) * 3);
}

std::uint8_t ClampToByte(long value) { return static_cast<std::uint8_t>(std::clamp(value, 0L, 255L)); }

}  // namespace

ClipboardCopy cDIBSection::CopyToClipboard(platform::Clipboard& clipboard, bool as_dib) const {
  if (as_dib) return ClipboardCopy::DibFormatRefused;
  if (pixels_.width <= 0 || pixels_.height <= 0) return ClipboardCopy::NothingToCopy;
  clipboard.SetPicture(pixels_);
  return ClipboardCopy::Copied;
}

bool cDIBSection::CreateFromPicture(const platform::Picture& picture) {
  if (!Create(picture.width, picture.height)) return false;
  LoadPictureBlt(picture, 0, 0, -1, -1);
  return true;
}

bool cDIBSection::Create(int width, int height) {
  ClearUp();
  if (width <= 0 || height <= 0) return false;
  pixels_ = platform::Picture::Blank(width, height);
  return true;
}

void cDIBSection::LoadPictureBlt(const platform::Picture& source, int source_x, int source_y, int width, int height) {
  if (width < 0) width = pixels_.width;
  if (height < 0) height = pixels_.height;
  CopySpan(source, pixels_, Span{source_x, source_y, 0, 0, width, height});
}

void cDIBSection::PaintPicture(platform::Picture& destination, int x, int y, int width, int height, int source_x,
                               int source_y) const {
  if (width < 0) width = pixels_.width;
  if (height < 0) height = pixels_.height;
  CopySpan(pixels_, destination, Span{source_x, source_y, x, y, width, height});
}

void cDIBSection::RandomiseBits(bool gray, std::uint32_t seed) {
  RandomNumbers noise(seed);
  const long stride = BytesPerScanLine();
  for (long row = 0; row < Height(); ++row) {
    std::uint8_t* pixel = DIBSectionBitsPtr() + row * stride;
    for (long column = 0; column < Width(); ++column, pixel += 3) {
      if (gray) {
        pixel[0] = pixel[1] = pixel[2] = noise.NextByte();
      } else {
        pixel[0] = 0;
        pixel[1] = noise.NextByte();
        pixel[2] = noise.NextByte();
      }
    }
  }
}

cDIBSection cDIBSection::Resample(int new_height, int new_width) const {
  cDIBSection target;
  if (!target.Create(new_width, new_height)) return target;
  if (new_width == Width() && new_height == Height())
    target.pixels_ = pixels_;
  else
    ResampleInto(target);
  return target;
}

// Bilinear on whole bytes, rows in memory order. The scales divide by the new size, not by the
// new size - 1, so the last output pixel stops short of the source's last one and the right and
// lower neighbours stay inside the source (bar a source one pixel wide or high).
void cDIBSection::ResampleInto(cDIBSection& target) const {
  if (Width() <= 0 || Height() <= 0) return;
  const float xs = static_cast<float>(Width() - 1) / static_cast<float>(target.Width());
  const float ys = static_cast<float>(Height() - 1) / static_cast<float>(target.Height());
  const long stride = BytesPerScanLine();
  const long target_stride = target.BytesPerScanLine();
  const std::uint8_t* bits = DIBSectionBitsPtr();
  for (long y = 0; y < target.Height(); ++y) {
    const float sy = ys * static_cast<float>(y);
    const long iy = static_cast<long>(std::floor(sy));
    const float fy = sy - static_cast<float>(iy);
    const std::uint8_t* upper = bits + iy * stride;
    const std::uint8_t* lower = bits + std::min(iy + 1, Height() - 1) * stride;
    std::uint8_t* out = target.DIBSectionBitsPtr() + y * target_stride;
    for (long x = 0; x < target.Width(); ++x, out += 3) {
      const float sx = xs * static_cast<float>(x);
      const long ix = static_cast<long>(std::floor(sx));
      const float fx = sx - static_cast<float>(ix);
      const long left = ix * 3;
      const long right = std::min(ix + 1, Width() - 1) * 3;
      for (int c = 0; c < 3; ++c) {
        // Rounded as the program rounds everywhere: halves go to the even neighbour (lrint in
        // the default rounding mode).
        const long v_left = std::lrint((1.0f - fy) * upper[left + c] + fy * lower[left + c]);
        const long v_right = std::lrint((1.0f - fy) * upper[right + c] + fy * lower[right + c]);
        out[c] = ClampToByte(std::lrint((1.0f - fx) * static_cast<float>(v_left) + fx * static_cast<float>(v_right)));
      }
    }
  }
}

}  // namespace zr
