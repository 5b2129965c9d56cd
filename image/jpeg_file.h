#pragma once
// JPEG picture files: the bitmap's bottom-up BGR rows, padding and all, compressed as they stand.

#include <optional>
#include <string>

#include "image/dib_section.h"
#include "platform/picture.h"
#include "platform/result.h"

namespace zr {

class Program;

// The stage named in the error when the compressor cannot be started.
inline constexpr const char* kJpegInitStage = "tjInitCompress";

// Writes `dib` to `name` at `quality` (1 to 100, passed to the compressor as it is).
platform::Result<void> WriteJpegFile(const cDIBSection& dib, const std::string& name, int quality);

// A JPEG file as a bottom-up BGR picture; nothing when the file cannot be read or decoded.
std::optional<platform::Picture> ReadJpegFile(const std::string& name);

// WriteJpegFile with the program's messages: a compressor that does not start, or a file that
// is not written, shows a message box and answers false.
bool SaveJPG(Program& program, const cDIBSection& dib, const std::string& name, int quality);

// The entry the picture stores use: `picture` through a bitmap to `name`; on failure the main
// window's status line says so.
void SaveJPEGPicture(Program& program, const platform::Picture& picture, const std::string& name, int quality);

}  // namespace zr
