#pragma once
// AVI files opened for reading: the movie files' reader and the movie player share it.

#include <string>

#include "base/result.h"
#include "platform/linux/ffmpeg_handles.h"

namespace zr::platform::linux_impl {

// The file as an AVI movie, read through the file protocol alone: whatever the name, it is a
// local file. Anything else, missing or not, is an Error.
Result<InputContextPtr> OpenAviInput(const std::string& path);

}  // namespace zr::platform::linux_impl
