#include "main_window/parameter_lookup.h"

#include <algorithm>
#include <optional>

#include "base/formatting.h"

namespace zr {

namespace {

bool IsBlank(char character) { return character == ' ' || character == '\t'; }

// Delimited text input, as the file has always been read: a field ends at a comma or a line
// end (CR, LF or CR LF), leading blanks are dropped, and a field that begins with a double
// quote runs to the next double quote, line ends included; whatever follows it up to the
// delimiter is dropped.
class DelimitedInput {
 public:
  explicit DelimitedInput(std::string_view text) : rest_(text) {}

  // The next field; nothing at the end of the text.
  std::optional<std::string_view> Next() {
    while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
    if (rest_.empty()) return std::nullopt;
    std::string_view field;
    if (rest_.front() == '"') {
      rest_.remove_prefix(1);
      const std::size_t close = std::min(rest_.find('"'), rest_.size());
      field = rest_.substr(0, close);
      rest_.remove_prefix(std::min(close + 1, rest_.size()));
      rest_.remove_prefix(DelimiterAt());
    } else {
      const std::size_t end = DelimiterAt();
      field = rest_.substr(0, end);
      rest_.remove_prefix(end);
    }
    SkipDelimiter();
    return field;
  }

 private:
  std::size_t DelimiterAt() const { return std::min(rest_.find_first_of(",\r\n"), rest_.size()); }

  void SkipDelimiter() {
    if (rest_.empty()) return;
    const char delimiter = rest_.front();
    rest_.remove_prefix(1);
    if (delimiter == '\r' && !rest_.empty() && rest_.front() == '\n') rest_.remove_prefix(1);
  }

  std::string_view rest_;
};

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
