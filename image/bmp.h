#pragma once
// 24-bit BMP files: the picture's bottom-up rows written as they stand in memory.

#include <optional>
#include <string>

#include "platform/picture.h"

namespace zr {

// Writes `picture` as a 24-bit BMP file; false when the file cannot be written.
bool WriteBmpFile(const platform::Picture& picture, const std::string& path);

// Reads a 24-bit BMP file (bottom-up or top-down); nothing when it is not one.
std::optional<platform::Picture> ReadBmpFile(const std::string& path);

}  // namespace zr
