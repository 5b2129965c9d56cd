// BMP files of any bytes, through both readers: the picture reader and the packed bitmap.

#include <cstddef>
#include <cstdint>

#include "image/bmp.h"
#include "image/dib.h"
#include "tests/fuzz/input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = zr::fuzz::WriteInputFile(data, size, ".bmp");
  if (const auto picture = zr::ReadBmpFile(path)) {
    // A picture read is whole: every row of it came from the file.
    zr::fuzz::Require(picture->bottom_up_bgr.size() ==
                      zr::platform::Picture::BytesFor(picture->width, picture->height));
    zr::fuzz::Require(picture->bottom_up_bgr.size() <= size);
  }
  zr::cDib dib;
  if (dib.CreateFromFile(path)) zr::fuzz::Require(dib.SizeImage() <= size);
  return 0;
}
