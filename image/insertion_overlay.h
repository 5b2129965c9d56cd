#pragma once
// The overlay that prints an insertion file's texts over a stored frame. The frame's holder
// keeps its print settings from one element to the next and from one frame to the next: an
// element that lacks a colour or the opacity prints with what the one before left.

#include <cstdint>
#include <string>

#include "image/insertion_file.h"
#include "image/text_renderer.h"
#include "platform/picture.h"
#include "platform/services.h"

namespace zr {

// The insertion texts' font: "Arial", bold, 8 points.
FontRequest InsertionFont();

// A picture holder with persistent drawing: what is printed becomes part of the picture.
struct ImageDrawing {
  platform::Picture picture;
  // The print position in pixels from the top-left corner.
  double x = 0;
  double y = 0;
  std::uint32_t text_colour = 0x000000;
  std::uint32_t background_colour = 0xFFFFFF;
  bool opaque = false;
};

// Readies the holder for a frame's texts: the print position back at 0, 0. Every print is
// made part of the picture at once, so there is no separate drawn layer left to clear.
void PrepareImageDrawing(ImageDrawing& drawing);

// Prints the layout's text elements in order, later ones over earlier ones, each at its
// position in thousandths of the picture's size, with its macros expanded from `clock`.
// Positions are not moved back inside: text beyond an edge is cut off.
void DrawInsertionLayout(ImageDrawing& drawing, const InsertionLayout& layout, const platform::WallClock& clock,
                         const TextRenderer& renderer);

// Prepares the holder and prints the file at `path`, read anew for this frame. An empty path,
// a file that cannot be read, or a wrong identification or version prints nothing, without a
// message.
void DrawInsertionFile(ImageDrawing& drawing, const std::string& path, const platform::WallClock& clock,
                       const TextRenderer& renderer);

}  // namespace zr
