#pragma once
// Delimited text input, as the program's plain field read has always read its files: a field
// ends at a comma or a line end (CR, LF or CR LF), leading blanks are dropped, and a field that
// begins with a double quote runs to the next double quote, line ends included, without the
// quotes; whatever follows it up to the delimiter is dropped.

#include <algorithm>
#include <optional>
#include <string_view>

namespace zr {

inline bool IsFieldBlank(char character) { return character == ' ' || character == '\t'; }

class DelimitedInput {
 public:
  explicit DelimitedInput(std::string_view text) : rest_(text) {}

  // The next field; nothing at the end of the text.
  std::optional<std::string_view> Next() {
    while (!rest_.empty() && IsFieldBlank(rest_.front())) rest_.remove_prefix(1);
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

}  // namespace zr
