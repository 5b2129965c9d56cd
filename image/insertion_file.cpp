#include "image/insertion_file.h"

#include <charconv>
#include <sstream>

#include "base/formatting.h"
#include "platform/atomic_file.h"
#include "platform/regular_file.h"

namespace zr {
namespace {

constexpr std::string_view kTextTag = "TXT:";
constexpr std::uint32_t kLargestColour = 0xFFFFFF;
// No layout comes near this; the overlay reads the file for every frame it prints on.
constexpr std::size_t kLargestInsertionFileBytes = 1 << 20;

// Lines as the line input reads them: ended by CR LF, a lone CR, or (for files made on this
// system) a lone LF.
std::vector<std::string_view> SplitLines(std::string_view contents) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start < contents.size()) {
    const std::size_t end = contents.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      lines.push_back(contents.substr(start));
      break;
    }
    lines.push_back(contents.substr(start, end - start));
    start = end + 1;
    if (contents[end] == '\r' && start < contents.size() && contents[start] == '\n') ++start;
  }
  return lines;
}

std::vector<std::string_view> SplitAtCommas(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  for (std::size_t comma = line.find(','); comma != std::string_view::npos; comma = line.find(',', start)) {
    fields.push_back(line.substr(start, comma - start));
    start = comma + 1;
  }
  fields.push_back(line.substr(start));
  return fields;
}

// A number by the program's text-to-number rule; empty when it overflows.
std::optional<double> NumberField(std::string_view field) {
  try {
    return NumericPrefix(field);
  } catch (const OverflowError&) {
    return std::nullopt;
  }
}

// The digits after "&H" of a packed colour, taken as the packed value itself: "FF00" is
// green, not the 16-bit -256 a bare "&HFF00" would be. Anything but hexadecimal digits, or a
// value above 0xFFFFFF, is no colour and leaves the field empty.
std::optional<std::uint32_t> ColourField(std::string_view digits) {
  std::uint32_t colour = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), colour, 16);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || colour > kLargestColour) {
    return std::nullopt;
  }
  return colour;
}

InsertionText ParseTextElement(std::string_view line) {
  const std::vector<std::string_view> fields = SplitAtCommas(line.substr(kTextTag.size()));
  InsertionText element;
  element.x_thousandths = NumberField(fields[0]);
  if (fields.size() > 1) element.y_thousandths = NumberField(fields[1]);
  if (fields.size() > 2) element.text_colour = ColourField(fields[2]);
  if (fields.size() > 3) element.background_colour = ColourField(fields[3]);
  if (fields.size() > 4) {
    if (const std::optional<double> opacity = NumberField(fields[4])) element.opaque = *opacity == 1;
  }
  if (fields.size() > 5) element.text = std::string(fields[5]);
  return element;
}

std::string HexDigits(std::uint32_t colour) {
  std::ostringstream digits;
  digits << std::uppercase << std::hex << colour;
  return digits.str();
}

platform::Error FormatError(std::string message) { return platform::Error{std::move(message), "FormatInsertionText"}; }

}  // namespace

std::optional<InsertionLayout> ParseInsertionFile(std::string_view contents) {
  const std::vector<std::string_view> lines = SplitLines(contents);
  if (lines.size() < 2 || lines[0] != kInsertionFileIdentification || lines[1] != kInsertionFileVersion) {
    return std::nullopt;
  }
  InsertionLayout layout;
  for (std::size_t index = 2; index < lines.size(); ++index) {
    if (lines[index].starts_with(kTextTag)) layout.push_back(ParseTextElement(lines[index]));
  }
  return layout;
}

std::optional<InsertionLayout> ReadInsertionFile(const std::string& path) {
  const platform::SmallFile file = platform::ReadSmallFile(path, kLargestInsertionFileBytes);
  if (!file.IsRead()) return std::nullopt;
  return ParseInsertionFile(file.text);
}

platform::Result<std::string> FormatInsertionText(const InsertionText& element) {
  if (element.text && element.text->find_first_of(",\r\n") != std::string::npos) {
    return FormatError("the text of an insertion element cannot hold a comma or a line end");
  }
  for (const auto& colour : {element.text_colour, element.background_colour}) {
    if (colour && *colour > kLargestColour) return FormatError("an insertion colour is beyond FFFFFF");
  }
  const std::optional<std::string> texts[] = {
      element.x_thousandths ? std::optional(NumberText(*element.x_thousandths)) : std::nullopt,
      element.y_thousandths ? std::optional(NumberText(*element.y_thousandths)) : std::nullopt,
      element.text_colour ? std::optional(HexDigits(*element.text_colour)) : std::nullopt,
      element.background_colour ? std::optional(HexDigits(*element.background_colour)) : std::nullopt,
      element.opaque ? std::optional(std::string(*element.opaque ? "1" : "0")) : std::nullopt,
      element.text,
  };
  std::string line(kTextTag);
  for (std::size_t index = 0; index < std::size(texts) && texts[index]; ++index) {
    if (index > 0) line += ',';
    line += *texts[index];
  }
  return line;
}

platform::Result<std::string> FormatInsertionFile(const InsertionLayout& layout) {
  std::string contents;
  contents.append(kInsertionFileIdentification).append("\r\n");
  contents.append(kInsertionFileVersion).append("\r\n");
  for (const InsertionText& element : layout) {
    platform::Result<std::string> line = FormatInsertionText(element);
    if (!line) return line.error();
    contents.append(*line).append("\r\n");
  }
  return contents;
}

platform::Result<void> WriteInsertionFile(const std::string& path, const InsertionLayout& layout) {
  const platform::Result<std::string> contents = FormatInsertionFile(layout);
  if (!contents) return contents.error();
  return platform::ReplaceFileAtomically(path, *contents, platform::NewFileMode::KeepExisting);
}

}  // namespace zr
