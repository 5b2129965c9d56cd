#include "image/dib.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <fstream>

#include "image/picture_limits.h"
#include "platform/regular_file.h"

namespace zr {

void PutLittleEndian(std::uint8_t* at, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t GetLittleEndian(const std::uint8_t* at, int width) {
  std::uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) value = (value << 8) | at[i];
  return value;
}

namespace {

void Write(std::ostream& file, const std::uint8_t* bytes, std::size_t count) {
  file.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
}

}  // namespace

bool cDib::CreateFromFile(const std::string& name) { return Load(name, true); }

bool cDib::CreateHeadersFromFile(const std::string& name) { return Load(name, false); }

bool cDib::Load(const std::string& name, bool with_bits) {
  const platform::RegularFile file(name);
  std::array<std::uint8_t, kBitmapFileHeaderBytes> file_header{};
  std::array<std::uint8_t, kBitmapInfoHeaderBytes> info_header{};
  if (!file.ReadAt(0, file_header)) return false;
  if (GetLittleEndian(file_header.data(), 2) != kBitmapFileType) return false;
  if (!file.ReadAt(kBitmapFileHeaderBytes, info_header)) return false;
  const std::uint32_t offset = GetLittleEndian(file_header.data() + 10, 4);
  if (offset < kBitmapFileHeaderBytes) return false;
  const std::uint32_t image_size = GetLittleEndian(info_header.data() + 20, 4);
  // Neither block may be longer than the whole file: a header that promises more is not
  // believed, and nothing is allocated for it.
  if (image_size > file.Size() || offset > file.Size()) return false;
  // From here on the load succeeds: the bits take the place of the old ones in the same memory
  // (a cDib loaded again and again allocates nothing), and a file shorter than its headers say
  // leaves the missing bytes zero.
  bits_.resize(with_bits ? image_size : 0);
  const std::size_t read = file.ReadUpTo(offset, bits_).value_or(0);
  std::fill(bits_.begin() + static_cast<std::ptrdiff_t>(read), bits_.end(), std::uint8_t{0});
  info_.assign(offset - kBitmapFileHeaderBytes, 0);
  (void)file.ReadUpTo(kBitmapFileHeaderBytes, info_);
  file_header_ = file_header;
  info_header_ = info_header;
  return true;
}

bool cDib::CreateFromPackedDIBPointer(const std::uint8_t* pointer) {
  std::array<std::uint8_t, kBitmapInfoHeaderBytes> info_header{};
  std::memcpy(info_header.data(), pointer, info_header.size());
  const std::uint32_t bit_count = GetLittleEndian(info_header.data() + 14, 2);
  const std::uint32_t image_size = GetLittleEndian(info_header.data() + 20, 4);
  if (bit_count < 16 || image_size < 1) return false;
  info_header_ = info_header;
  bits_.assign(pointer + kBitmapInfoHeaderBytes, pointer + kBitmapInfoHeaderBytes + image_size);
  info_.assign(info_header.begin(), info_header.end());
  file_header_.fill(0);
  PutLittleEndian(file_header_.data(), kBitmapFileType, 2);
  // The size field counts one byte more than the file holds; readers go by the offset.
  PutLittleEndian(file_header_.data() + 2, image_size + 55, 4);
  PutLittleEndian(file_header_.data() + 10, kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes, 4);
  return true;
}

bool cDib::WriteToFile(const std::string& name) const {
  // Opened for update so that an existing file is overwritten in place, not cut.
  std::fstream file(name, std::ios::binary | std::ios::in | std::ios::out);
  if (!file.is_open()) file.open(name, std::ios::binary | std::ios::out);
  if (!file.is_open()) return false;
  Write(file, file_header_.data(), file_header_.size());
  Write(file, info_.data(), info_.size());
  Write(file, bits_.data(), bits_.size());
  return static_cast<bool>(file);
}

namespace {

constexpr std::uint32_t kUncompressedBits = 0;

// Pixel x of a stored row of `bits` per pixel, as blue, green, red.
void StoredPixel(const cDib& dib, const std::uint8_t* row, int x, int bits, std::uint8_t* out) {
  if (bits >= 24) {
    std::memcpy(out, row + x * (bits / 8), 3);
    return;
  }
  if (bits == 16) {
    const unsigned word = GetLittleEndian(row + 2 * x, 2);
    for (int channel = 0; channel < 3; ++channel) {
      const unsigned five = (word >> (5 * channel)) & 31U;
      out[channel] = static_cast<std::uint8_t>((five << 3) | (five >> 2));
    }
    return;
  }
  const int per_byte = 8 / bits;
  const unsigned shift = static_cast<unsigned>(bits * (per_byte - 1 - x % per_byte));
  const unsigned entry = (static_cast<unsigned>(row[x / per_byte]) >> shift) & ((1U << bits) - 1U);
  const std::size_t at = dib.SizeInfoHeader() + 4 * std::size_t{entry};
  if (at + 3 <= dib.SizeBitmapInfo())
    std::memcpy(out, dib.PointerToBitmapInfo() + at, 3);
  else
    std::memset(out, 0, 3);
}

}  // namespace

std::optional<platform::FrameView> MovieFrameOf(const cDib& dib, platform::Picture& converted) {
  const int bits = dib.BitCount();
  const std::int32_t width = dib.Width();
  const std::int32_t signed_height = dib.Height();
  const bool known = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
  if (!known || dib.Compression() != kUncompressedBits || signed_height == INT32_MIN) return std::nullopt;
  const int height = signed_height < 0 ? -signed_height : signed_height;
  if (width <= 0 || height == 0 || width > kMaxPictureSide || height > kMaxPictureSide) return std::nullopt;
  const std::size_t stored_stride = (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
  if (dib.BitsSize() < stored_stride * static_cast<std::size_t>(height)) return std::nullopt;
  if (bits == 24 && signed_height > 0)
    return platform::FrameView{width, height, platform::Picture::StrideFor(width), dib.PointerToBits()};
  if (converted.width != width || converted.height != height) converted = platform::Picture::Blank(width, height);
  for (int row = 0; row < height; ++row) {
    const std::uint8_t* stored = dib.PointerToBits() + stored_stride * static_cast<std::size_t>(row);
    const int from_top = signed_height < 0 ? row : height - 1 - row;
    std::uint8_t* out = converted.PixelFromTop(0, from_top);
    for (int x = 0; x < width; ++x) StoredPixel(dib, stored, x, bits, out + 3 * x);
  }
  return converted.View();
}

Result<std::optional<platform::FrameView>> WriteBitmapFrame(platform::MovieWriter& writer, const cDib* loaded,
                                                            int width, int height, platform::Picture& converted) {
  const auto frame = loaded ? MovieFrameOf(*loaded, converted) : std::nullopt;
  if (frame && frame->width == width && frame->height == height) {
    if (auto written = writer.WriteVideoFrame(*frame); !written) return written.error();
    return frame;
  }
  if (auto repeated = writer.RepeatLastFrame(); !repeated) return repeated.error();
  return std::optional<platform::FrameView>();
}

}  // namespace zr
