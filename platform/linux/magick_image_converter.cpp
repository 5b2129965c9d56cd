#include "platform/linux/magick_image_converter.h"

#include <Magick++.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <vector>

#include "image/jpeg_file.h"
#include "image/picture_limits.h"
#include "platform/regular_file.h"

namespace zr::platform::linux_impl {

namespace {

// The longest picture file read: as long as the JPEG files the program reads.
constexpr std::size_t kLongestPictureFile = std::size_t{1} << 30;

Error MagickError(const std::exception& error, const std::string& where) { return Error{error.what(), where, 0}; }

// The picture's rows, top first, without padding: the pixel order Magick takes and gives.
std::vector<std::uint8_t> TopDownRows(const Picture& picture) {
  const auto row_bytes = static_cast<std::size_t>(picture.width) * 3;
  std::vector<std::uint8_t> rows(row_bytes * static_cast<std::size_t>(picture.height));
  for (int y = 0; y < picture.height; ++y)
    std::memcpy(rows.data() + row_bytes * static_cast<std::size_t>(y), picture.PixelFromTop(0, y), row_bytes);
  return rows;
}

Magick::Image ToImage(const Picture& picture) {
  const auto rows = TopDownRows(picture);
  return Magick::Image(static_cast<std::size_t>(picture.width), static_cast<std::size_t>(picture.height), "BGR",
                       Magick::CharPixel, rows.data());
}

Result<Picture> FromImage(Magick::Image& image) {
  const auto width = image.columns();
  const auto height = image.rows();
  if (width == 0 || height == 0 || width > kMaxPictureSide || height > kMaxPictureSide)
    return Error{"the picture is " + std::to_string(width) + " by " + std::to_string(height) + " pixels", "size", 0};
  Picture picture = Picture::Blank(static_cast<int>(width), static_cast<int>(height));
  std::vector<std::uint8_t> rows(width * height * 3);
  image.write(0, 0, width, height, "BGR", Magick::CharPixel, rows.data());
  for (int y = 0; y < picture.height; ++y)
    std::memcpy(picture.PixelFromTop(0, y), rows.data() + width * 3 * static_cast<std::size_t>(y), width * 3);
  return picture;
}

// The picture type of a bit depth: two colours, a palette of 256, true colour, and true colour
// with an (opaque) alpha channel.
Result<void> SetBitDepth(Magick::Image& image, int bits) {
  switch (bits) {
    case 1:
      image.type(Magick::BilevelType);
      return {};
    case 8:
      image.type(Magick::PaletteType);
      return {};
    case 24:
      image.type(Magick::TrueColorType);
      return {};
    case 32:
      image.matte(true);
      image.type(Magick::TrueColorMatteType);
      return {};
    default:
      return Error{"no bit depth of " + std::to_string(bits), "bit depth", 0};
  }
}

// The format the extension names, in Magick's words: ".tif" is "TIF".
std::string FormatOf(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return extension;
}

// The coders a picture is read with: those of the save dialog. Magick knows many more kinds of
// file, some of which reach for other files or programs.
bool IsPictureFormat(const std::string& format) {
  for (const char* known :
       {"BMP", "BMP2", "BMP3", "DIB", "JPEG", "JPG", "JP2", "J2K", "GIF", "TIFF", "TIF", "PNG", "PCX", "TGA"})
    if (format == known) return true;
  return false;
}

}  // namespace

MagickImageConverter::MagickImageConverter() {
  static std::once_flag started;
  std::call_once(started, [] {
    Magick::InitializeMagick(nullptr);
    Magick::ResourceLimits::width(kMaxPictureSide);
    Magick::ResourceLimits::height(kMaxPictureSide);
  });
}

Result<Picture> MagickImageConverter::ChangeBitDepth(const Picture& picture, int bits) {
  try {
    Magick::Image image = ToImage(picture);
    if (auto set = SetBitDepth(image, bits); !set) return set.error();
    return FromImage(image);
  } catch (const std::exception& error) {
    return MagickError(error, "bit depth");
  }
}

Result<void> MagickImageConverter::Save(const Picture& picture, const std::string& path, std::optional<int> bits) {
  const std::string format = FormatOf(path);
  if (format.empty()) return Error{"the name has no extension to choose a format by", "format", 0};
  // Only a regular file is replaced: opening a pipe or a device to write would wait or harm.
  std::error_code unreadable;
  const auto standing = std::filesystem::status(path, unreadable);
  if (std::filesystem::exists(standing) && !std::filesystem::is_regular_file(standing))
    return Error{path + " is not a regular file", "open", 0};
  Magick::Blob coded;
  try {
    Magick::Image image = ToImage(picture);
    if (bits) {
      if (auto set = SetBitDepth(image, *bits); !set) return set.error();
    }
    // Bitmaps keep the 40-byte information header every reader of the format knows, but for 32
    // bits a pixel, which only the later headers carry with their alpha.
    image.magick(format == "BMP" && bits != 32 ? "BMP3" : format);
    // Bitmaps are stored uncompressed: run-length coded palettes are not read everywhere.
    if (format == "BMP" || format == "DIB") image.compressType(Magick::NoCompression);
    image.write(&coded);
  } catch (const std::exception& error) {
    return MagickError(error, "write " + format);
  }
  return WriteFileBytes(path, {static_cast<const std::uint8_t*>(coded.data()), coded.length()});
}

Result<Picture> MagickImageConverter::Read(const std::string& path) {
  const SmallFile file = ReadSmallFile(path, kLongestPictureFile);
  if (!file.IsRead()) return Error{path + " " + file.reason, "read", 0};
  try {
    const Magick::Blob bytes(file.text.data(), file.text.size());
    Magick::Image image;
    image.magick(FormatOf(path));
    image.ping(bytes);
    if (!IsPictureFormat(image.magick())) return Error{path + " is no picture file", "format", 0};
    if (!PlausiblePictureSize(static_cast<int>(std::min<std::size_t>(image.columns(), kMaxPictureSide + 1)),
                              static_cast<int>(std::min<std::size_t>(image.rows(), kMaxPictureSide + 1)),
                              file.text.size(), 4096))
      return Error{path + " is no picture of a size the program takes", "size", 0};
    image.read(bytes);
    return FromImage(image);
  } catch (const std::exception& error) {
    return MagickError(error, "read");
  }
}

}  // namespace zr::platform::linux_impl
