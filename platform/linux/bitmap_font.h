#pragma once
// A small font of the program's own, drawn into pictures by the back ends without a font
// library: the built-in camera's clock and counter, and the time code burnt into a live
// picture. Glyphs are 5 by 7 cells, each cell `unit` pixels square; digits, ':', '.', and the
// letters of "frame".

#include <array>
#include <cstdint>
#include <string>

#include "platform/picture.h"

namespace zr::platform::linux_impl {

constexpr int kGlyphColumns = 5;
constexpr int kGlyphRows = 7;
// A glyph cell is one column wider than its glyph: the space between characters.
constexpr int kGlyphCellWidth = kGlyphColumns + 1;

using BgrColour = std::array<std::uint8_t, 3>;  // blue, green, red

// Draws `text` with its top left corner at (x, y), y counted from the top; whatever falls
// outside the picture is cut off.
void DrawBitmapText(const std::string& text, int x, int y, int unit, const BgrColour& ink, Picture& picture);

}  // namespace zr::platform::linux_impl
