#pragma once
// The libraries the program stands on, each with the version it reports as it runs and its
// licence, as the about window names them.

#include <vector>

#include "platform/services.h"

namespace zr::platform::linux_impl {

// FFmpeg, libjpeg-turbo, Magick++, ALSA, FreeType and Fontconfig. libjpeg-turbo reports no
// version as it runs: its line is the version the program was built with, which its library's
// name pins within the major version.
std::vector<LibraryVersion> LibraryVersions();

}  // namespace zr::platform::linux_impl
