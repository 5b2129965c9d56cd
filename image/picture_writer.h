#pragma once
// The picture writer: a picture to a file of the type its extension names, and a picture file
// back into memory.

#include <memory>
#include <string>

#include "platform/picture.h"

namespace zr {

// Writes by extension (".bmp", ".jpg" or ".jpeg") at `quality` 0 to 100.
// Raises FileError when the file cannot be written.
// The picture is held until the next picture is written, so that the same frame written again
// at the same quality (a picture server writes one for every request, many within a frame's
// time) is coded once.
void WritePictureFile(const std::shared_ptr<const platform::Picture>& picture, const std::string& path, int quality);

// A BMP or JPEG file; nothing when the file is not a picture the program reads.
std::shared_ptr<const platform::Picture> LoadPictureFile(const std::string& path);

}  // namespace zr
