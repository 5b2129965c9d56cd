#include "image/jpeg_file.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace zr {

namespace {

// No picture file the decoder accepts comes near this; a longer file is not read into memory.
constexpr std::uintmax_t kLargestJpegFileBytes = std::uintmax_t{1} << 30;

Result<void> WriteBytes(const std::string& name, std::span<const std::uint8_t> bytes) {
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  if (!file) return Error{"cannot open " + name, "open"};
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) return Error{"cannot write " + name, "write"};
  return {};
}

std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::string& name) {
  std::error_code error;
  const std::uintmax_t length = std::filesystem::file_size(name, error);
  if (error || length == 0 || length > kLargestJpegFileBytes) return std::nullopt;
  std::ifstream file(name, std::ios::binary);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length))) return std::nullopt;
  return bytes;
}

}  // namespace

Result<void> WriteJpegFile(const cDIBSection& dib, const std::string& name, int quality) {
  JpegEncoder encoder;
  // The rows go in bottom-up with their padding, straight from the bitmap.
  const platform::FrameView rows{static_cast<int>(dib.Width()), static_cast<int>(dib.Height()),
                                 static_cast<int>(dib.BytesPerScanLine()), dib.DIBSectionBitsPtr()};
  const auto coded = encoder.Encode(rows, quality);
  if (!coded) return coded.error();
  return WriteBytes(name, *coded);
}

std::optional<platform::Picture> ReadJpegFile(const std::string& name) {
  const auto bytes = ReadWholeFile(name);
  if (!bytes) return std::nullopt;
  auto picture = JpegDecoder().Decode(*bytes);
  if (!picture) return std::nullopt;
  return std::move(*picture);
}

}  // namespace zr
