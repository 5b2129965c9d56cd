#include "image/text_renderer.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <vector>

namespace zr {
namespace {

struct ConfigCloser {
  void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
struct PatternCloser {
  void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using FontConfig = std::unique_ptr<FcConfig, ConfigCloser>;
using FontPattern = std::unique_ptr<FcPattern, PatternCloser>;

constexpr int kFixedPointOne = 64;  // FreeType's 26.6 fixed point

platform::Error FontError(std::string message, std::string where) {
  return platform::Error{std::move(message), std::move(where)};
}

struct FoundFont {
  std::string path;
  int index = 0;
};

// The configuration's best match for the family and weight; "Arial" resolves to a
// metric-compatible family where Arial itself is not installed.
platform::Result<FoundFont> FindFontFile(const FontRequest& request) {
  const FontConfig config(FcInitLoadConfigAndFonts());
  if (!config) return FontError("the font configuration cannot be loaded", "FcInitLoadConfigAndFonts");
  const FontPattern pattern(FcPatternCreate());
  if (!pattern) return FontError("out of memory", "FcPatternCreate");
  FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(request.family.c_str()));
  FcPatternAddInteger(pattern.get(), FC_WEIGHT, request.bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
  FcPatternAddInteger(pattern.get(), FC_SLANT, FC_SLANT_ROMAN);
  FcConfigSubstitute(config.get(), pattern.get(), FcMatchPattern);
  FcDefaultSubstitute(pattern.get());
  FcResult result = FcResultNoMatch;
  const FontPattern match(FcFontMatch(config.get(), pattern.get(), &result));
  FcChar8* file = nullptr;
  if (!match || FcPatternGetString(match.get(), FC_FILE, 0, &file) != FcResultMatch) {
    return FontError("no font matches \"" + request.family + "\"", "FcFontMatch");
  }
  FoundFont found{reinterpret_cast<const char*>(file), 0};
  FcPatternGetInteger(match.get(), FC_INDEX, 0, &found.index);
  return found;
}

// UTF-8 to code points; a byte that does not begin a well-formed sequence is a Latin-1
// character, so texts written by older editors still print.
std::vector<char32_t> CodePoints(std::string_view text) {
  std::vector<char32_t> points;
  std::size_t at = 0;
  while (at < text.size()) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead >= 0xF0 && lead < 0xF8 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 && lead < 0xE0 ? 2 : 1;
    char32_t point = length == 1 ? char32_t{lead} : static_cast<char32_t>(lead & (0x7Fu >> length));
    bool well_formed = lead < 0x80 || length > 1;
    for (std::size_t follow = 1; well_formed && follow < length; ++follow) {
      const bool inside = at + follow < text.size();
      const unsigned next = inside ? static_cast<unsigned char>(text[at + follow]) : 0u;
      well_formed = inside && (next & 0xC0) == 0x80;
      point = (point << 6) | static_cast<char32_t>(next & 0x3Fu);
    }
    if (well_formed) {
      points.push_back(point);
      at += length;
    } else {
      points.push_back(lead);
      ++at;
    }
  }
  return points;
}

void PutPixel(platform::Picture& picture, int x, int y, std::uint32_t colour) {
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
  std::uint8_t* pixel = picture.PixelFromTop(x, y);
  pixel[0] = static_cast<std::uint8_t>(colour >> 16);  // blue: the packed value's high byte
  pixel[1] = static_cast<std::uint8_t>(colour >> 8);
  pixel[2] = static_cast<std::uint8_t>(colour);
}

void FillBox(platform::Picture& picture, int left, int top, const TextExtent& extent, std::uint32_t colour) {
  const int right = std::min(left + extent.width, picture.width);
  const int bottom = std::min(top + extent.height, picture.height);
  for (int y = std::max(top, 0); y < bottom; ++y) {
    for (int x = std::max(left, 0); x < right; ++x) PutPixel(picture, x, y, colour);
  }
}

// A one-bit glyph bitmap laid with its top-left pixel at (left, top).
void DrawMonoBitmap(platform::Picture& picture, const FT_Bitmap& bitmap, int left, int top, std::uint32_t colour) {
  for (unsigned row = 0; row < bitmap.rows; ++row) {
    const unsigned char* bits = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
    for (unsigned column = 0; column < bitmap.width; ++column) {
      if (bits[column / 8] & (0x80 >> (column % 8))) {
        PutPixel(picture, left + static_cast<int>(column), top + static_cast<int>(row), colour);
      }
    }
  }
}

}  // namespace

void TextRenderer::LibraryCloser::operator()(FT_LibraryRec_* library) const { FT_Done_FreeType(library); }
void TextRenderer::FaceCloser::operator()(FT_FaceRec_* face) const { FT_Done_Face(face); }

TextRenderer::TextRenderer(TextRenderer&&) noexcept = default;
TextRenderer& TextRenderer::operator=(TextRenderer&&) noexcept = default;
TextRenderer::~TextRenderer() = default;

platform::Result<TextRenderer> TextRenderer::Open(const FontRequest& request) {
  platform::Result<FoundFont> file = FindFontFile(request);
  if (!file) return file.error();
  TextRenderer renderer;
  renderer.font_file_ = file->path;
  FT_Library library = nullptr;
  if (FT_Init_FreeType(&library) != 0) return FontError("the font engine cannot start", "FT_Init_FreeType");
  renderer.library_.reset(library);
  FT_Face face = nullptr;
  if (FT_New_Face(library, file->path.c_str(), file->index, &face) != 0) {
    return FontError("the font file " + file->path + " cannot be opened", "FT_New_Face");
  }
  renderer.face_.reset(face);
  const auto size = static_cast<FT_F26Dot6>(request.points * kFixedPointOne + 0.5);
  if (FT_Set_Char_Size(face, 0, size, kScreenDotsPerInch, kScreenDotsPerInch) != 0) {
    return FontError("the font cannot take the size asked for", "FT_Set_Char_Size");
  }
  return renderer;
}

int TextRenderer::Ascent() const { return static_cast<int>(face_->size->metrics.ascender / kFixedPointOne); }

TextExtent TextRenderer::Measure(std::string_view text) const {
  FT_Pos advance = 0;
  for (const char32_t point : CodePoints(text)) {
    if (FT_Load_Char(face_.get(), point, FT_LOAD_TARGET_MONO) == 0) advance += face_->glyph->advance.x;
  }
  const FT_Size_Metrics& metrics = face_->size->metrics;
  return TextExtent{static_cast<int>((advance + kFixedPointOne / 2) / kFixedPointOne),
                    static_cast<int>((metrics.ascender - metrics.descender) / kFixedPointOne)};
}

void TextRenderer::Print(platform::Picture& picture, int left, int top, std::string_view text,
                         const PrintColours& colours) const {
  if (colours.background) FillBox(picture, left, top, Measure(text), *colours.background);
  const int baseline = top + Ascent();
  FT_Pos pen = static_cast<FT_Pos>(left) * kFixedPointOne;
  for (const char32_t point : CodePoints(text)) {
    if (pen / kFixedPointOne >= picture.width) break;  // the rest stands beyond the right edge
    if (FT_Load_Char(face_.get(), point, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO) != 0) continue;
    const FT_GlyphSlot glyph = face_->glyph;
    if (glyph->bitmap.pixel_mode == FT_PIXEL_MODE_MONO) {
      DrawMonoBitmap(picture, glyph->bitmap, static_cast<int>(pen / kFixedPointOne) + glyph->bitmap_left,
                     baseline - glyph->bitmap_top, colours.text);
    }
    pen += glyph->advance.x;
  }
}

}  // namespace zr
