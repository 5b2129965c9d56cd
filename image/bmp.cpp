#include "image/bmp.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <span>
#include <vector>

#include "image/dib.h"
#include "image/picture_limits.h"
#include "platform/regular_file.h"

namespace zr {

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
  if (bits != 24 || compression != 0 || signed_height == INT32_MIN) return std::nullopt;
  const int height = signed_height < 0 ? -signed_height : signed_height;
  // The rows must all be in the file before the picture is made for them.
  if (!PlausiblePictureSize(width, height, file.Size(), 1)) return std::nullopt;
  const auto stride = static_cast<std::size_t>(platform::Picture::StrideFor(width));
  if (file.Size() < std::uint64_t{offset} + stride * static_cast<std::size_t>(height)) return std::nullopt;
  platform::Picture picture = platform::Picture::Blank(width, height);
  if (signed_height > 0) {
    if (!file.ReadAt(offset, picture.bottom_up_bgr)) return std::nullopt;
    return picture;
  }
  // Top-down files store the top row first.
  for (int row = 0; row < height; ++row) {
    const std::span<std::uint8_t> into(picture.PixelFromTop(0, row), stride);
    if (!file.ReadAt(offset + stride * static_cast<std::size_t>(row), into)) return std::nullopt;
  }
  return picture;
}

}  // namespace zr
