#pragma once
// Text printed into a picture the way the picture holder prints it: a font found by family
// name through the system's font configuration, drawn in solid colour (no smoothing, so a
// stored frame carries only the chosen colours), with the text cell's top-left corner at the
// print position, optionally on a painted cell, clipped at the picture's edges.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/formatting.h"
#include "base/result.h"
#include "platform/picture.h"

struct FT_LibraryRec_;
struct FT_FaceRec_;

namespace zr {

// Screen resolution the point sizes are taken at.
inline constexpr int kScreenDotsPerInch = 1440 / kTwipsPerPixel;

struct FontRequest {
  std::string family;  // e.g. "Arial"; the configuration substitutes an equivalent family
  bool bold = false;
  double points = 8.0;
};

struct PrintColours {
  std::uint32_t text = 0;                   // 0xBBGGRR
  std::optional<std::uint32_t> background;  // 0xBBGGRR; empty for transparent text
};

struct TextExtent {
  int width = 0;   // pixels: the sum of the characters' advances
  int height = 0;  // pixels: the cell, ascent plus descent
};

class TextRenderer {
 public:
  // Finds the font and opens it at the asked size; an error when no font file can be found
  // or opened.
  static platform::Result<TextRenderer> Open(const FontRequest& request);

  TextRenderer(TextRenderer&&) noexcept;
  TextRenderer& operator=(TextRenderer&&) noexcept;
  ~TextRenderer();

  // The font file the family resolved to.
  const std::string& FontFile() const { return font_file_; }

  // The text as UTF-8; bytes that are no UTF-8 are taken as Latin-1 characters.
  TextExtent Measure(std::string_view text) const;

  // Prints with the cell's top-left corner at (left, top), counted in pixels from the
  // picture's top-left corner. Whatever falls outside the picture is left out.
  void Print(platform::Picture& picture, int left, int top, std::string_view text, const PrintColours& colours) const;

 private:
  struct LibraryCloser {
    void operator()(FT_LibraryRec_* library) const;
  };
  struct FaceCloser {
    void operator()(FT_FaceRec_* face) const;
  };
  // The face is declared after the library so that it is closed first.
  std::unique_ptr<FT_LibraryRec_, LibraryCloser> library_;
  std::unique_ptr<FT_FaceRec_, FaceCloser> face_;
  std::string font_file_;

  TextRenderer() = default;
  int Ascent() const;
};

}  // namespace zr
