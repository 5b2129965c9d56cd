#pragma once
// The picture converter of the picture window: what the plain picture path cannot do. It takes
// a picture to a bit depth of 1, 8, 24 or 32 bits a pixel and back (the colours that depth
// keeps), writes a picture in the format its file's extension names, at a bit depth when one is
// asked for, and reads a picture file of any format it knows.

#include <optional>
#include <string>

#include "base/result.h"
#include "platform/picture.h"

namespace zr::platform {

class ImageConverter {
 public:
  virtual ~ImageConverter() = default;
  // The picture as `bits` per pixel would hold it, back in the program's form.
  virtual Result<Picture> ChangeBitDepth(const Picture& picture, int bits) = 0;
  // Writes ".jpg", ".jp2", ".bmp", ".gif", ".dib", ".tif", ".png", ".pcx", ".tga" and the other
  // extensions the converter knows; `bits` per pixel when given.
  virtual Result<void> Save(const Picture& picture, const std::string& path, std::optional<int> bits) = 0;
  virtual Result<Picture> Read(const std::string& path) = 0;
};

}  // namespace zr::platform
