#pragma once
// The five operating modes. The state keeps the mode as its name in CaptureType ("movie",
// "image", "multiple", "avibuilder", "webshare"), which is also the key of its button on the
// main toolbar and of its band on the cool bar; inside the program the mode is this enum.

#include <array>
#include <string_view>

namespace zr {

enum class OperatingMode { Movie, Image, Multiple, AviBuilder, WebShare, None };

// In the order of the main toolbar's mode buttons and of the File menu's first entries.
inline constexpr std::array<OperatingMode, 5> kOperatingModes = {OperatingMode::Movie, OperatingMode::Image,
                                                                 OperatingMode::Multiple, OperatingMode::AviBuilder,
                                                                 OperatingMode::WebShare};

constexpr std::string_view ModeKey(OperatingMode mode) {
  switch (mode) {
    case OperatingMode::Movie:
      return "movie";
    case OperatingMode::Image:
      return "image";
    case OperatingMode::Multiple:
      return "multiple";
    case OperatingMode::AviBuilder:
      return "avibuilder";
    case OperatingMode::WebShare:
      return "webshare";
    case OperatingMode::None:
      break;
  }
  return "";
}

// The mode a key names, matched exactly (CaptureType is kept in small letters);
// OperatingMode::None for any other text.
constexpr OperatingMode ModeOfKey(std::string_view key) {
  for (const OperatingMode mode : kOperatingModes)
    if (ModeKey(mode) == key) return mode;
  return OperatingMode::None;
}

}  // namespace zr
