#pragma once
// The image insertion file (".iif"): the layout of the texts printed over a stored frame.
// Plain text, lines ended by CR LF: the identification, the version, then one line per
// element. Only text elements ("TXT:") are read; other lines are left to the editor.
//
// A text element is "TXT:x,y,text colour,background colour,opaque,text", nothing quoted.
// Positions are thousandths of the picture's size; colours are hexadecimal digits of a packed
// value with blue in the high byte and red in the low byte; opaque is 1 for a painted
// background. A comma ends the text: the rest of the line is dropped.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace zr {

inline constexpr std::string_view kInsertionFileIdentification = "ZANDRELL IMAGE INSERTION FILE";
inline constexpr std::string_view kInsertionFileVersion = "VER:1";

// One text element. A field the line lacks, or one that cannot be read (a number beyond
// range, a colour that is no hexadecimal number), is empty: the printer then keeps the value
// the previous element left.
struct InsertionText {
  std::optional<double> x_thousandths;
  std::optional<double> y_thousandths;
  std::optional<std::uint32_t> text_colour;        // 0xBBGGRR
  std::optional<std::uint32_t> background_colour;  // 0xBBGGRR
  std::optional<bool> opaque;
  std::optional<std::string> text;  // with its macros, not yet expanded

  bool operator==(const InsertionText&) const = default;
};

using InsertionLayout = std::vector<InsertionText>;

// The elements of a file's contents; nothing when the identification or the version is wrong.
std::optional<InsertionLayout> ParseInsertionFile(std::string_view contents);

// Reads and parses the file; nothing when it cannot be read or its header is wrong, when it is
// not a regular file (a FIFO, a device) or when it is longer than any layout (1 MiB).
std::optional<InsertionLayout> ReadInsertionFile(const std::string& path);

// One element's line, without its line end. The fields are written up to the first empty one,
// since a field's place is its meaning. A text holding a comma cannot be written (the reader
// would cut it), nor can a colour beyond 0xFFFFFF.
platform::Result<std::string> FormatInsertionText(const InsertionText& element);

// The whole file: the header and every element, each line ended by CR LF.
platform::Result<std::string> FormatInsertionFile(const InsertionLayout& layout);

// Writes the file by replacing it whole, so the overlay, which reads it for every frame, never
// sees half of one.
platform::Result<void> WriteInsertionFile(const std::string& path, const InsertionLayout& layout);

}  // namespace zr
