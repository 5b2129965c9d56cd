#pragma once
// A property value as the runner and the windows' faces read and write it generically.

#include <cstdint>
#include <string>
#include <variant>

namespace zr::ui {

// Packed colour: red in the low byte, green next, blue in the third byte.
using Colour = std::int32_t;
constexpr Colour Rgb(int red, int green, int blue) { return red | (green << 8) | (blue << 16); }
constexpr Colour kWhite = Rgb(255, 255, 255);
constexpr Colour kBlack = 0;

// The program's Boolean: true is -1, false is 0.
constexpr std::int16_t kTrue = -1;
constexpr std::int16_t kFalse = 0;

using Value = std::variant<bool, std::int64_t, double, std::string>;

}  // namespace zr::ui
