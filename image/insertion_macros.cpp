#include "image/insertion_macros.h"

#include "base/formatting.h"

namespace zr {
namespace {

struct Macro {
  std::string_view name;
  int (*part)(const platform::DateTime&);
  std::string_view mask;
};

// The order matters only for texts where one replacement could complete another macro; it is
// the order the files were always written for.
constexpr Macro kMacros[] = {
    {"%dd", [](const platform::DateTime& when) { return when.day; }, "#00"},
    {"%MM", [](const platform::DateTime& when) { return when.month; }, "#00"},
    {"%yyyy", [](const platform::DateTime& when) { return when.year; }, "#0000"},
    {"%hh", [](const platform::DateTime& when) { return when.hour; }, "#00"},
    {"%mm", [](const platform::DateTime& when) { return when.minute; }, "#00"},
    {"%ss", [](const platform::DateTime& when) { return when.second; }, "#00"},
};

std::string ReplaceAll(std::string text, std::string_view name, std::string_view replacement) {
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + replacement.size())) {
    text.replace(at, name.size(), replacement);
  }
  return text;
}

}  // namespace

std::string ExpandInsertionMacros(std::string_view text, const platform::WallClock& clock) {
  std::string expanded(text);
  for (const Macro& macro : kMacros) {
    expanded = ReplaceAll(std::move(expanded), macro.name, FormatNumber(macro.part(clock.Now()), macro.mask));
  }
  return expanded;
}

}  // namespace zr
