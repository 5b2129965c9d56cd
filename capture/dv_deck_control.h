#pragma once
// The texts the capture window shows of a camcorder's tape.

#include <cstdint>
#include <string>

#include "base/date_time.h"

namespace zr {

// The time code's eight hexadecimal digits as four pairs joined by ":" (0x123456 shows
// "00:12:34:56"). The digits are decimal digits already, so they are shown as they stand.
std::string TapePositionText(std::uint32_t time_code);
// When the scene was shot: "2025-06-14 10:00:05".
std::string TapeDateText(const DateTime& shot);

}  // namespace zr
