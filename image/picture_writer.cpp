#include "image/picture_writer.h"

#include <cerrno>
#include <filesystem>

#include "base/formatting.h"
#include "base/program_error.h"
#include "image/bmp.h"
#include "image/jpeg_file.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

std::string Extension(const std::string& path) {
  const auto dot = path.find_last_of('.');
  return dot == std::string::npos ? "" : LowerCase(path.substr(dot + 1));
}

// The coding of the picture written last, with the picture itself: held, it cannot be freed and
// another picture made at its address.
struct LastJpeg {
  std::shared_ptr<const platform::Picture> picture;
  int quality = 0;
  std::vector<std::uint8_t> coded;
};

Result<void> WriteJpegOfPicture(const std::shared_ptr<const platform::Picture>& picture, const std::string& path,
                                int quality) {
  thread_local LastJpeg last;
  if (last.picture != picture || last.quality != quality) {
    last = {};
    auto coded = CodeJpeg(*picture, quality);
    if (!coded) return coded.error();
    last = {picture, quality, std::move(*coded)};
  }
  return WriteFileBytes(path, last.coded);
}

}  // namespace

void WritePictureFile(const std::shared_ptr<const platform::Picture>& picture, const std::string& path, int quality) {
  const std::string extension = Extension(path);
  if (extension == "jpg" || extension == "jpeg") {
    if (!WriteJpegOfPicture(picture, path, quality)) throw FileError("cannot write " + path);
    return;
  }
  if (!WriteBmpFile(*picture, path)) throw FileError("cannot write " + path);
}

Result<void> WritePictureFileWhole(const platform::Picture& picture, const std::string& path, int quality) {
  const std::filesystem::path target(path);
  const std::string growing = (target.parent_path() / ("." + target.filename().string() + ".part")).string();
  const std::string extension = Extension(path);
  Result<void> written;
  if (extension == "jpg" || extension == "jpeg") {
    auto coded = CodeJpeg(picture, quality);
    written = coded ? WriteFileBytes(growing, *coded) : Result<void>(coded.error());
  } else if (!WriteBmpFile(picture, growing)) {
    written = Error{"cannot write " + growing, "WriteBmpFile", errno};
  }
  std::error_code failure;
  if (written) std::filesystem::rename(growing, target, failure);
  if (written && !failure) return {};
  platform::RemoveRegularFile(growing);
  return written ? Error{"cannot name " + path + ": " + failure.message(), "rename", failure.value()} : written;
}

std::shared_ptr<const platform::Picture> LoadPictureFile(const std::string& path) {
  auto picture = ReadBmpFile(path);
  if (!picture) picture = ReadJpegFile(path);
  if (!picture) return nullptr;
  return std::make_shared<const platform::Picture>(std::move(*picture));
}

}  // namespace zr
