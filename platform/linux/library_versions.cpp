#include "platform/linux/library_versions.h"

#include <alsa/asoundlib.h>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <Magick++.h>
#include <jconfig.h>

#include <sstream>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

namespace zr::platform::linux_impl {

namespace {

#define ZR_TEXT_OF(tokens) #tokens
#define ZR_EXPANDED_TEXT_OF(macro) ZR_TEXT_OF(macro)

// "ImageMagick 6.9.11-60 Q16 x86_64 ..." gives "6.9.11-60 Q16".
std::string ImageMagickVersion() {
  std::size_t number = 0;
  std::stringstream words(MagickCore::GetMagickVersion(&number));
  std::string name, version, depth;
  words >> name >> version >> depth;
  return version + (depth.empty() ? "" : " " + depth);
}

std::string FreeTypeVersion() {
  FT_Library library = nullptr;
  if (FT_Init_FreeType(&library) != 0) return "";
  FT_Int major = 0, minor = 0, patch = 0;
  FT_Library_Version(library, &major, &minor, &patch);
  FT_Done_FreeType(library);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

// Fontconfig reports 2.14.1 as 21401.
std::string FontconfigVersion() {
  const int number = FcGetVersion();
  return std::to_string(number / 10000) + "." + std::to_string(number / 100 % 100) + "." + std::to_string(number % 100);
}

}  // namespace

std::vector<LibraryVersion> LibraryVersions() {
  return {
      {"FFmpeg", av_version_info(), avformat_license()},
      {"libjpeg-turbo", ZR_EXPANDED_TEXT_OF(LIBJPEG_TURBO_VERSION), "IJG, BSD-3-Clause and zlib licences"},
      {"Magick++ (ImageMagick)", ImageMagickVersion(), "ImageMagick licence"},
      {"ALSA", snd_asoundlib_version(), "LGPL version 2.1 or later"},
      {"FreeType", FreeTypeVersion(), "FreeType licence (FTL)"},
      {"Fontconfig", FontconfigVersion(), "MIT-style licence"},
  };
}

}  // namespace zr::platform::linux_impl
