#pragma once
// The picture converter on Magick++: the file's extension names the format, the bit depth the
// picture type. Files are read and written by the program itself (a regular file of bounded
// length in, the coded bytes out), so that no name reaches Magick's own file handling.

#include <optional>
#include <string>

#include "platform/image_converter.h"

namespace zr::platform::linux_impl {

class MagickImageConverter final : public ImageConverter {
 public:
  MagickImageConverter();
  Result<Picture> ChangeBitDepth(const Picture& picture, int bits) override;
  Result<void> Save(const Picture& picture, const std::string& path, std::optional<int> bits) override;
  Result<Picture> Read(const std::string& path) override;
};

}  // namespace zr::platform::linux_impl
