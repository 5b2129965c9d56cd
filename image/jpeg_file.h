#pragma once
// JPEG picture files: the bitmap's bottom-up BGR rows, padding and all, compressed as they stand.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"
#include "image/jpeg_codec.h"
#include "platform/picture.h"

namespace zr {

// Writes `picture` (a bitmap's pixels: cDIBSection::Pixels) to `name` at `quality` (1 to 100,
// passed to the compressor as it is). A coder that cannot start fails at the stage
// kJpegInitStage; a picture holding fewer bytes than its size asks for is refused.
Result<void> WriteJpegFile(const platform::Picture& picture, const std::string& name, int quality);

// The JPEG coding of `picture`, checked and coded as WriteJpegFile does it.
Result<std::vector<std::uint8_t>> CodeJpeg(const platform::Picture& picture, int quality);

// `bytes` as the whole of the file `name`.
Result<void> WriteFileBytes(const std::string& name, std::span<const std::uint8_t> bytes);

// A JPEG file as a bottom-up BGR picture; nothing when the file cannot be read or decoded, or
// its header promises a picture the file could not hold.
std::optional<platform::Picture> ReadJpegFile(const std::string& name);

}  // namespace zr
