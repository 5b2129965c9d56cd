#include "platform/linux/bitmap_font.h"

#include <algorithm>
#include <cstring>

namespace zr::platform::linux_impl {

namespace {

using Glyph = std::array<std::uint8_t, kGlyphRows>;  // a row per byte, leftmost column in bit 4

const Glyph& GlyphFor(char character) {
  static constexpr Glyph kDigits[10] = {
      {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
      {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
      {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
      {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
      {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};
  static constexpr Glyph kColon = {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00};
  static constexpr Glyph kDot = {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C};
  static constexpr Glyph kLowerF = {0x06, 0x09, 0x08, 0x1C, 0x08, 0x08, 0x08};
  static constexpr Glyph kLowerR = {0x00, 0x00, 0x16, 0x19, 0x10, 0x10, 0x10};
  static constexpr Glyph kLowerA = {0x00, 0x00, 0x0E, 0x01, 0x0F, 0x11, 0x0F};
  static constexpr Glyph kLowerM = {0x00, 0x00, 0x1A, 0x15, 0x15, 0x11, 0x11};
  static constexpr Glyph kLowerE = {0x00, 0x00, 0x0E, 0x11, 0x1F, 0x10, 0x0E};
  static constexpr Glyph kBlank = {};
  if (character >= '0' && character <= '9') return kDigits[character - '0'];
  switch (character) {
    case ':':
      return kColon;
    case '.':
      return kDot;
    case 'f':
      return kLowerF;
    case 'r':
      return kLowerR;
    case 'a':
      return kLowerA;
    case 'm':
      return kLowerM;
    case 'e':
      return kLowerE;
    default:
      return kBlank;
  }
}

void FillCell(int left, int top, int unit, const BgrColour& ink, Picture& picture) {
  const int x0 = std::max(0, left), x1 = std::min(picture.width, left + unit);
  const int y0 = std::max(0, top), y1 = std::min(picture.height, top + unit);
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) std::memcpy(picture.PixelFromTop(x, y), ink.data(), 3);
}

}  // namespace

void DrawBitmapText(const std::string& text, int x, int y, int unit, const BgrColour& ink, Picture& picture) {
  for (std::size_t index = 0; index < text.size(); ++index) {
    const Glyph& glyph = GlyphFor(text[index]);
    const int cell_x = x + static_cast<int>(index) * kGlyphCellWidth * unit;
    for (int row = 0; row < kGlyphRows; ++row)
      for (int column = 0; column < kGlyphColumns; ++column)
        if (glyph[static_cast<std::size_t>(row)] & (1 << (kGlyphColumns - 1 - column)))
          FillCell(cell_x + column * unit, y + row * unit, unit, ink, picture);
  }
}

}  // namespace zr::platform::linux_impl
