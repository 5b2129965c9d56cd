#include "image/bmp.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "image/dib.h"
#include "image/picture_limits.h"

namespace zr {

namespace {

// No bitmap the reader accepts is longer: 16384 by 16384 pixels of 24 bits and its headers.
constexpr std::uintmax_t kLargestBmpFileBytes = std::uintmax_t{1} << 30;

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
  std::error_code error;
  const std::uintmax_t length = std::filesystem::file_size(path, error);
  if (error || length < kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes || length > kLargestBmpFileBytes)
    return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length)) ||
      GetLittleEndian(bytes.data(), 2) != kBitmapFileType)
    return std::nullopt;
  const std::uint32_t offset = GetLittleEndian(bytes.data() + 10, 4);
  const auto width = static_cast<std::int32_t>(GetLittleEndian(bytes.data() + 18, 4));
  const auto signed_height = static_cast<std::int32_t>(GetLittleEndian(bytes.data() + 22, 4));
  const std::uint32_t bits = GetLittleEndian(bytes.data() + 28, 2);
  const std::uint32_t compression = GetLittleEndian(bytes.data() + 30, 4);
  const int height = signed_height < 0 ? -signed_height : signed_height;
  // The rows must all be in the file before the picture is made for them.
  if (bits != 24 || compression != 0 || signed_height == INT32_MIN ||
      !PlausiblePictureSize(width, height, bytes.size(), 1))
    return std::nullopt;
  const std::size_t stride = static_cast<std::size_t>(platform::Picture::StrideFor(width));
  if (bytes.size() < offset + stride * static_cast<std::size_t>(height)) return std::nullopt;
  platform::Picture picture = platform::Picture::Blank(width, height);
  for (int row = 0; row < height; ++row) {
    // Top-down files (negative height) store the top row first.
    const int stored = signed_height < 0 ? height - 1 - row : row;
    std::memcpy(picture.bottom_up_bgr.data() + stride * static_cast<std::size_t>(row),
                bytes.data() + offset + stride * static_cast<std::size_t>(stored), stride);
  }
  return picture;
}

}  // namespace zr
