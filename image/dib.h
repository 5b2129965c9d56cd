#pragma once
// A packed bitmap in memory: the 14-byte file header, the 40-byte information header and the
// pixel bytes, each as they stand on disk. It reads and writes BMP files and carries captured
// frames to the movie tools.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/movie_file.h"
#include "platform/picture.h"

namespace zr {

constexpr int kBitmapFileHeaderBytes = 14;
constexpr int kBitmapInfoHeaderBytes = 40;
// "BM" read as a little-endian word.
constexpr std::uint16_t kBitmapFileType = 19778;

// Bitmap headers are little-endian whatever the machine: `width` bytes at `at`.
void PutLittleEndian(std::uint8_t* at, std::uint32_t value, int width);
std::uint32_t GetLittleEndian(const std::uint8_t* at, int width);

class cDib {
 public:
  // Reads a BMP file: its headers, the bits at the header's offset (image size bytes) and the
  // information header with its palette. False when the file is missing, unreadable or not "BM".
  bool CreateFromFile(const std::string& name);
  // The same reading and the same checks without the bits, which stay empty: what a file holds
  // is told (its size and depth) without reading its pixels.
  bool CreateHeadersFromFile(const std::string& name);
  // Takes a packed bitmap (information header, then the bits) of 16 bits per pixel or more:
  // there is no palette to carry.
  bool CreateFromPackedDIBPointer(const std::uint8_t* pointer);
  // Writes the file header, the information header with its palette and the bits over the
  // start of the file; a longer existing file keeps its tail.
  bool WriteToFile(const std::string& name) const;

  // The information header.
  int BitCount() const { return static_cast<int>(InfoField(14, 2)); }
  std::int32_t Height() const { return static_cast<std::int32_t>(InfoField(8, 4)); }
  std::int32_t Width() const { return static_cast<std::int32_t>(InfoField(4, 4)); }
  std::uint32_t Compression() const { return InfoField(16, 4); }
  std::uint32_t SizeInfoHeader() const { return InfoField(0, 4); }
  std::uint32_t SizeImage() const { return InfoField(20, 4); }
  int Planes() const { return static_cast<int>(InfoField(12, 2)); }
  std::uint32_t ClrImportant() const { return InfoField(36, 4); }
  std::uint32_t ClrUsed() const { return InfoField(32, 4); }
  std::int32_t XPPM() const { return static_cast<std::int32_t>(InfoField(24, 4)); }
  std::int32_t YPPM() const { return static_cast<std::int32_t>(InfoField(28, 4)); }

  // The file header.
  std::uint16_t FileType() const { return static_cast<std::uint16_t>(FileField(0, 2)); }
  std::uint32_t SizeFileHeader() const { return FileField(2, 4); }
  std::uint32_t BitOffset() const { return FileField(10, 4); }

  const std::uint8_t* PointerToBits() const { return bits_.data(); }
  std::size_t BitsSize() const { return bits_.size(); }
  const std::uint8_t* PointerToBitmapInfo() const { return info_.data(); }
  std::size_t SizeBitmapInfo() const { return info_.size(); }

 private:
  bool Load(const std::string& name, bool with_bits);
  std::uint32_t InfoField(int at, int width) const { return GetLittleEndian(info_header_.data() + at, width); }
  std::uint32_t FileField(int at, int width) const { return GetLittleEndian(file_header_.data() + at, width); }

  std::array<std::uint8_t, kBitmapInfoHeaderBytes> info_header_{};
  std::array<std::uint8_t, kBitmapFileHeaderBytes> file_header_{};
  std::vector<std::uint8_t> bits_;
  std::vector<std::uint8_t> info_;  // the information header and its palette
};

// The picture of a bitmap as a movie frame, 24-bit BGR bottom row first. Uncompressed 24-bit
// bottom-up bits are viewed where they stand; 1, 4 and 8-bit bits with their palette, 16-bit
// (5-5-5) and 32-bit bits, and top-down rows, are converted into `converted`. Nothing for other
// layouts or for bits shorter than the rows need.
std::optional<platform::FrameView> MovieFrameOf(const cDib& dib, platform::Picture& converted);

// Writes the bitmap as the next frame of a movie `width` by `height`. A bitmap that was not
// loaded (null), or whose picture cannot be a frame of that size, gives the last frame once
// more. The frame written, or nothing for a repeat.
Result<std::optional<platform::FrameView>> WriteBitmapFrame(platform::MovieWriter& writer, const cDib* loaded,
                                                            int width, int height, platform::Picture& converted);

}  // namespace zr
