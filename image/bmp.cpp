#include "image/bmp.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <span>
#include <vector>

#include "image/dib.h"
#include "image/picture_limits.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

constexpr std::uint32_t kUncompressed = 0;
constexpr std::uint32_t kBitFields = 3;
// Where the colour masks of a 32-bit file with bit fields stand, and the masks of the one
// layout read: blue, green, red and a fourth byte, lowest first.
constexpr std::size_t kMasksOffset = kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes;
constexpr std::uint32_t kRedMask = 0x00FF0000;
constexpr std::uint32_t kGreenMask = 0x0000FF00;
constexpr std::uint32_t kBlueMask = 0x000000FF;

// 24-bit pixels as they stand; 32-bit pixels in blue, green, red order with a fourth byte.
bool ReadableLayout(const platform::RegularFile& file, std::uint32_t bits, std::uint32_t compression) {
  if (bits == 24) return compression == kUncompressed;
  if (bits != 32) return false;
  if (compression == kUncompressed) return true;
  std::array<std::uint8_t, 12> masks{};
  return compression == kBitFields && file.ReadAt(kMasksOffset, masks) &&
         GetLittleEndian(masks.data(), 4) == kRedMask && GetLittleEndian(masks.data() + 4, 4) == kGreenMask &&
         GetLittleEndian(masks.data() + 8, 4) == kBlueMask;
}

// A 32-bit stored row into a row of the picture, without its fourth bytes.
void DropFourthBytes(std::span<const std::uint8_t> stored, int width, std::uint8_t* row) {
  for (int x = 0; x < width; ++x) std::memcpy(row + 3 * x, stored.data() + 4 * x, 3);
}

}  // namespace

bool WriteBmpFile(const platform::Picture& picture, const std::string& path) {
  const std::uint32_t pixel_bytes = static_cast<std::uint32_t>(picture.bottom_up_bgr.size());
  std::vector<std::uint8_t> header(kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes, 0);
  PutLittleEndian(header.data(), kBitmapFileType, 2);
  PutLittleEndian(header.data() + 2, kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes + pixel_bytes, 4);
  PutLittleEndian(header.data() + 10, kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes, 4);
  PutLittleEndian(header.data() + 14, kBitmapInfoHeaderBytes, 4);
  PutLittleEndian(header.data() + 18, static_cast<std::uint32_t>(picture.width), 4);
  PutLittleEndian(header.data() + 22, static_cast<std::uint32_t>(picture.height), 4);
  PutLittleEndian(header.data() + 26, 1, 2);   // planes
  PutLittleEndian(header.data() + 28, 24, 2);  // bits per pixel
  PutLittleEndian(header.data() + 34, pixel_bytes, 4);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return false;
  file.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
  file.write(reinterpret_cast<const char*>(picture.bottom_up_bgr.data()), pixel_bytes);
  return static_cast<bool>(file);
}

std::optional<platform::Picture> ReadBmpFile(const std::string& path) {
  const platform::RegularFile file(path);
  std::array<std::uint8_t, kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes> header{};
  if (!file.ReadAt(0, header) || GetLittleEndian(header.data(), 2) != kBitmapFileType) return std::nullopt;
  const std::uint32_t offset = GetLittleEndian(header.data() + 10, 4);
  const auto width = static_cast<std::int32_t>(GetLittleEndian(header.data() + 18, 4));
  const auto signed_height = static_cast<std::int32_t>(GetLittleEndian(header.data() + 22, 4));
  const std::uint32_t bits = GetLittleEndian(header.data() + 28, 2);
  const std::uint32_t compression = GetLittleEndian(header.data() + 30, 4);
  // Top-down files store a negative height; the most negative one has no positive twin.
  if (!ReadableLayout(file, bits, compression) || signed_height == INT32_MIN) return std::nullopt;
  const int height = signed_height < 0 ? -signed_height : signed_height;
  // The rows must all be in the file before the picture is made for them.
  if (!PlausiblePictureSize(width, height, file.Size(), 1)) return std::nullopt;
  const auto stride = static_cast<std::size_t>(platform::Picture::StrideFor(width));
  const std::size_t stored_stride = bits == 24 ? stride : 4 * static_cast<std::size_t>(width);
  if (file.Size() < std::uint64_t{offset} + stored_stride * static_cast<std::size_t>(height)) return std::nullopt;
  platform::Picture picture = platform::Picture::Blank(width, height);
  if (bits == 24 && signed_height > 0) {
    if (!file.ReadAt(offset, picture.bottom_up_bgr)) return std::nullopt;
    return picture;
  }
  std::vector<std::uint8_t> stored(stored_stride);
  for (int row = 0; row < height; ++row) {
    // Top-down files (negative height) store the top row first.
    const int from_top = signed_height < 0 ? row : height - 1 - row;
    if (!file.ReadAt(offset + stored_stride * static_cast<std::size_t>(row), stored)) return std::nullopt;
    if (bits == 24)
      std::memcpy(picture.PixelFromTop(0, from_top), stored.data(), stride);
    else
      DropFourthBytes(stored, width, picture.PixelFromTop(0, from_top));
  }
  return picture;
}

}  // namespace zr
