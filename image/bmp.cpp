#include "image/bmp.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace zr {

namespace {

constexpr int kFileHeaderBytes = 14;
constexpr int kInfoHeaderBytes = 40;

void PutLittleEndian(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t GetLittleEndian(const std::vector<std::uint8_t>& bytes, std::size_t at, int width) {
  std::uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) value = (value << 8) | bytes[at + static_cast<std::size_t>(i)];
  return value;
}

}  // namespace

bool WriteBmpFile(const platform::Picture& picture, const std::string& path) {
  const std::uint32_t pixel_bytes = static_cast<std::uint32_t>(picture.bottom_up_bgr.size());
  std::vector<std::uint8_t> header(kFileHeaderBytes + kInfoHeaderBytes, 0);
  header[0] = 'B';
  header[1] = 'M';
  PutLittleEndian(header, 2, kFileHeaderBytes + kInfoHeaderBytes + pixel_bytes, 4);
  PutLittleEndian(header, 10, kFileHeaderBytes + kInfoHeaderBytes, 4);
  PutLittleEndian(header, 14, kInfoHeaderBytes, 4);
  PutLittleEndian(header, 18, static_cast<std::uint32_t>(picture.width), 4);
  PutLittleEndian(header, 22, static_cast<std::uint32_t>(picture.height), 4);
  PutLittleEndian(header, 26, 1, 2);   // planes
  PutLittleEndian(header, 28, 24, 2);  // bits per pixel
  PutLittleEndian(header, 34, pixel_bytes, 4);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return false;
  file.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
  file.write(reinterpret_cast<const char*>(picture.bottom_up_bgr.data()), pixel_bytes);
  return static_cast<bool>(file);
}

std::optional<platform::Picture> ReadBmpFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (bytes.size() < kFileHeaderBytes + kInfoHeaderBytes || bytes[0] != 'B' || bytes[1] != 'M')
    return std::nullopt;
  const std::uint32_t offset = GetLittleEndian(bytes, 10, 4);
  const auto width = static_cast<std::int32_t>(GetLittleEndian(bytes, 18, 4));
  const auto signed_height = static_cast<std::int32_t>(GetLittleEndian(bytes, 22, 4));
  const std::uint32_t bits = GetLittleEndian(bytes, 28, 2);
  const std::uint32_t compression = GetLittleEndian(bytes, 30, 4);
  const int height = signed_height < 0 ? -signed_height : signed_height;
  if (bits != 24 || compression != 0 || width <= 0 || height <= 0 || width > 65535 || height > 65535)
    return std::nullopt;
  platform::Picture picture = platform::Picture::Blank(width, height);
  const std::size_t stride = static_cast<std::size_t>(picture.Stride());
  if (bytes.size() < offset + stride * static_cast<std::size_t>(height)) return std::nullopt;
  for (int row = 0; row < height; ++row) {
    // Top-down files (negative height) store the top row first.
    const int stored = signed_height < 0 ? height - 1 - row : row;
    std::memcpy(picture.bottom_up_bgr.data() + stride * static_cast<std::size_t>(row),
                bytes.data() + offset + stride * static_cast<std::size_t>(stored), stride);
  }
  return picture;
}

}  // namespace zr
