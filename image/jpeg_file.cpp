#include "image/jpeg_file.h"

#include <fstream>
#include <span>

#include "platform/regular_file.h"

namespace zr {

namespace {

// No picture file the decoder accepts comes near this; a longer file is not read into memory.
constexpr std::size_t kLargestJpegFileBytes = std::size_t{1} << 30;

Result<std::span<const std::uint8_t>> Code(const platform::Picture& picture, int quality) {
  if (picture.bottom_up_bgr.size() < platform::Picture::BytesFor(picture.width, picture.height))
    return Error{"the picture holds fewer pixels than its size", "WriteJpegFile"};
  // One coder for each thread that writes pictures, kept with its buffer: a picture server writes
  // one file a request, and starting the coder afresh each time is not free.
  thread_local JpegEncoder encoder;
  // The rows go in bottom-up with their padding, straight from the picture.
  return encoder.Encode(picture.View(), quality);
}

}  // namespace

Result<void> WriteFileBytes(const std::string& name, std::span<const std::uint8_t> bytes) {
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  if (!file) return Error{"cannot open " + name, "open"};
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) return Error{"cannot write " + name, "write"};
  return {};
}

Result<std::vector<std::uint8_t>> CodeJpeg(const platform::Picture& picture, int quality) {
  const auto coded = Code(picture, quality);
  if (!coded) return coded.error();
  return std::vector<std::uint8_t>(coded->begin(), coded->end());
}

Result<void> WriteJpegFile(const platform::Picture& picture, const std::string& name, int quality) {
  const auto coded = Code(picture, quality);
  if (!coded) return coded.error();
  return WriteFileBytes(name, *coded);
}

std::optional<platform::Picture> ReadJpegFile(const std::string& name) {
  const platform::SmallFile file = platform::ReadSmallFile(name, kLargestJpegFileBytes);
  if (!file.IsRead()) return std::nullopt;
  auto picture =
      JpegDecoder().Decode(std::span(reinterpret_cast<const std::uint8_t*>(file.text.data()), file.text.size()));
  if (!picture) return std::nullopt;
  return std::move(*picture);
}

}  // namespace zr
