#include "main_window/parameter_lookup.h"

#include <algorithm>
#include <optional>

#include "base/delimited_input.h"
#include "base/formatting.h"

namespace zr {

namespace {

// The value of a field when the text before one of its "=" signs is the key.
std::optional<std::string_view> ValueIn(std::string_view field, std::string_view lower_key) {
  for (auto equals = field.find('='); equals != std::string_view::npos; equals = field.find('=', equals + 1))
    if (equals == lower_key.size() && LowerCase(field.substr(0, equals)) == lower_key) return field.substr(equals + 1);
  return std::nullopt;
}

}  // namespace

platform::SmallFile ReadParameterFile(const std::string& path) {
  return platform::ReadSmallFile(path, kLargestParameterFileBytes);
}

std::string ParameterIn(std::string_view contents, std::string_view key, const std::string& default_value) {
  const std::string lower_key = LowerCase(key);
  DelimitedInput input(contents);
  while (const auto field = input.Next())
    if (const auto value = ValueIn(*field, lower_key)) return std::string(*value);
  return default_value;
}

std::string GetParameter(const std::string& path, const std::string& key, const std::string& default_value) {
  const platform::SmallFile file = ReadParameterFile(path);
  if (!file.IsRead()) return default_value;
  return ParameterIn(file.text, key, default_value);
}

}  // namespace zr
