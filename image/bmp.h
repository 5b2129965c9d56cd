#pragma once
// BMP files: written at 24 bits, the picture's bottom-up rows as they stand in memory; read at
// 24 bits, or at 32 bits in blue, green, red order with a fourth byte that is dropped.

#include <optional>
#include <string>

#include "platform/picture.h"

namespace zr {

// Writes `picture` as a 24-bit BMP file; false when the file cannot be written.
bool WriteBmpFile(const platform::Picture& picture, const std::string& path);

// Reads a 24-bit or 32-bit BMP file (bottom-up or top-down); nothing when it is not one.
std::optional<platform::Picture> ReadBmpFile(const std::string& path);

}  // namespace zr
