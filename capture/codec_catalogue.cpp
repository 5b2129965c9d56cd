#include "capture/codec_catalogue.h"

#include <array>
#include <cstdint>
#include <optional>

#include "base/delimited_input.h"
#include "base/formatting.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

// The catalogue is a small text; anything larger is not ours.
constexpr std::size_t kLargestCatalogueBytes = 1 << 20;

// What "What Codec..." reads of a movie, and where the stream header and its handler stand.
constexpr std::size_t kHeadBytes = 200;
constexpr std::size_t kStreamListAt = 96;  // "strlstrh", characters 97 to 104
constexpr std::size_t kHandlerAt = 112;    // the video handler's code, characters 113 to 116

}  // namespace

std::string CodecLine(std::string_view stored) {
  std::string line(stored);
  for (char& character : line) character = static_cast<char>(static_cast<unsigned char>(character) - 1);
  return line;
}

std::string CodecDescription(Program& program, std::string_view four_cc) {
  using platform::MessageButtons;
  using platform::MessageIcon;
  const platform::SmallFile file =
      platform::ReadSmallFile(program.state.AppPath + kCodecCatalogueFile, kLargestCatalogueBytes);
  if (!file.IsRead()) {
    program.MessageBox(program.Translate("ERROR C100: Can't find CODEC Information file."), MessageButtons::Ok,
                       MessageIcon::Stop);
    return "";
  }
  DelimitedInput lines(file.text);
  const auto header = lines.Next();
  if (!header || CodecLine(*header) != kCodecCatalogueHeader) {
    program.MessageBox(program.Translate("ERROR C101: Error in Script Alpha."), MessageButtons::Ok, MessageIcon::Stop);
    return "Error";
  }
  const std::string wanted = UpperCase(four_cc);
  while (const auto stored = lines.Next()) {
    const std::string line = CodecLine(*stored);
    if (UpperCase(line.substr(0, 4)) == wanted) return line.size() > 5 ? line.substr(5) : "";
  }
  return "Unknown CODEC (" + wanted + ")";
}

void WhatCodec(Program& program) {
  const auto chosen = program.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program.Translate("Open AVI"), "Movie File (*.avi)|*.avi|", "", false});
  if (!chosen || chosen->empty()) return;
  const std::string& path = chosen->front();
  const platform::RegularFile movie(path);
  std::array<std::uint8_t, kHeadBytes> head{};
  const std::optional<std::size_t> read = movie.IsOpen() ? movie.ReadUpTo(0, head) : std::nullopt;
  if (!read || *read < kHandlerAt + 4) return;
  const std::string text(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(*read));
  if (UpperCase(text.substr(kStreamListAt, 8)) != "STRLSTRH") return;
  const std::string handler = text.substr(kHandlerAt, 4);
  const std::string first_line = program.Translate("Filename: ") + path + "\n";
  if (handler == std::string(4, '\0'))
    program.MessageBox(first_line + program.Translate("Is not compressed. Codec not required."));
  else
    program.MessageBox(first_line + program.Translate("Compressed with:") + "\n" +
                       CodecDescription(program, UpperCase(handler)));
}

}  // namespace zr
