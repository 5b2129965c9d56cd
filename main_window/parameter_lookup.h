#pragma once
// The lookup every key of a capture parameter file goes through, apart from the program so that
// it can be tried on any text alone.
//
// The file is read the way it has always been read: a comma ends a value, leading blanks are
// dropped, a leading double quote opens a quoted field, keys match without regard to case, the
// first match wins and a comment line never matches. The file is opened anew for every key.
// Only a regular file of at most kLargestParameterFileBytes is read: a FIFO, a device or a file
// longer than any set-up is refused before it is read, or as soon as it passes the limit.

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/regular_file.h"

namespace zr {

inline constexpr std::size_t kLargestParameterFileBytes = 1 << 20;

// The text of the parameter file at `path`, or why it cannot be had.
platform::SmallFile ReadParameterFile(const std::string& path);

// The value of `key` in the file's `contents`; the default when it has no such key.
std::string ParameterIn(std::string_view contents, std::string_view key, const std::string& default_value);

// The value of `key` in the file at `path`; the default when the file cannot be read or has no
// such key.
std::string GetParameter(const std::string& path, const std::string& key, const std::string& default_value);

}  // namespace zr
