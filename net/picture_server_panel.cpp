#include "net/picture_server_panel.h"

#include <cctype>
#include <optional>
#include <string_view>

#include "base/formatting.h"
#include "base/program_error.h"

namespace zr {
namespace {

// The whole text as a number, blanks around it allowed ("8080", " 81 ", "80.5" -> 80); nothing
// for text that is not all number ("80a", "", "-").
std::optional<double> WholeNumber(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  std::size_t at = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
  std::size_t digits = 0;
  bool point = false;
  for (; at < text.size(); ++at) {
    if (std::isdigit(static_cast<unsigned char>(text[at])))
      ++digits;
    else if (text[at] == '.' && !point)
      point = true;
    else
      return std::nullopt;
  }
  if (digits == 0) return std::nullopt;
  return NumericPrefix(text);
}

}  // namespace

void PictureServerPanel::WebShare_Port_Change() {
  stream.Close();
  ResumeNext([&] {
    if (const auto port = WholeNumber(WebShare_Port.Text.get())) stream.LocalPort = RoundHalfEven(*port);
  });
  stream.Listen();
}

}  // namespace zr
