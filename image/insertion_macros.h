#pragma once
// The date and time macros of an insertion text, replaced case-sensitively in a fixed order,
// each at all its places: "%dd" day, "%MM" month, "%yyyy" year, "%hh" hour, "%mm" minute,
// "%ss" second. The wall clock is read anew for each macro, as the printer has always done,
// so a text printed across a second's turn may mix the two seconds.

#include <string>
#include <string_view>

#include "platform/services.h"

namespace zr {

std::string ExpandInsertionMacros(std::string_view text, const platform::WallClock& clock);

}  // namespace zr
