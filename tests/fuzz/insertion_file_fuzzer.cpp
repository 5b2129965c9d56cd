// The insertion file on any text: parsed, written back, and drawn over a small frame with its
// macros expanded, as the overlay of a stored still does.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "image/insertion_file.h"
#include "image/insertion_overlay.h"
#include "image/text_renderer.h"
#include "tests/fuzz/input_file.h"

namespace {

class FixedClock final : public zr::platform::WallClock {
 public:
  zr::DateTime Now() const override { return zr::DateTime{2026, 11, 24, 23, 59, 58}; }
};

const zr::TextRenderer& Renderer() {
  static const zr::TextRenderer renderer = [] {
    auto opened = zr::TextRenderer::Open(zr::InsertionFont());
    zr::fuzz::Require(opened.ok());
    return std::move(*opened);
  }();
  return renderer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view contents(reinterpret_cast<const char*>(data), size);
  const std::optional<zr::InsertionLayout> layout = zr::ParseInsertionFile(contents);
  if (!layout) return 0;
  // What can be written reads back element for element.
  if (const auto written = zr::FormatInsertionFile(*layout); written.ok()) {
    const auto read_back = zr::ParseInsertionFile(*written);
    zr::fuzz::Require(read_back && read_back->size() == layout->size());
  }
  zr::ImageDrawing drawing;
  drawing.picture = zr::platform::Picture::Blank(64, 48);
  zr::PrepareImageDrawing(drawing);
  zr::DrawInsertionLayout(drawing, *layout, FixedClock(), Renderer());
  return 0;
}
