#pragma once
// The picture writer: a picture to a file of the type its extension names, and a picture file
// back into memory.

#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/picture.h"

namespace zr {

// Writes by extension (".bmp", ".jpg" or ".jpeg") at `quality` 0 to 100.
// Raises FileError when the file cannot be written.
// The picture is held until the next picture is written, so that the same frame written again
// at the same quality (a picture server writes one for every request, many within a frame's
// time) is coded once.
void WritePictureFile(const std::shared_ptr<const platform::Picture>& picture, const std::string& path, int quality);

// Writes a BMP, or a JPEG at `quality` for a name ending in ".jpg" or ".jpeg", whole: the file
// grows under a hidden name beside it and takes its name when complete, so that no one ever
// finds half a picture at the name. An Error says why it could not be written; the hidden
// file is then gone.
Result<void> WritePictureFileWhole(const platform::Picture& picture, const std::string& path, int quality);

// The open dialog's filter of the pictures the program reads.
inline constexpr std::string_view kPictureOpenFilter =
    "All files |*.bmp;*.jpg|Bitmap File (*.bmp)|*.bmp|JPEG Image File (*.jpg)|*.jpg|";

// A BMP or JPEG file; nothing when the file is not a picture the program reads.
std::shared_ptr<const platform::Picture> LoadPictureFile(const std::string& path);

}  // namespace zr
