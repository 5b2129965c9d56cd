#include "image/jpeg_file.h"

#include <turbojpeg.h>

#include <fstream>
#include <iterator>
#include <vector>
#include <memory>

#include "core/master.h"
#include "core/program.h"

namespace zr {

namespace {

struct CompressorCloser {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using Compressor = std::unique_ptr<void, CompressorCloser>;

struct DecompressorCloser {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using Decompressor = std::unique_ptr<void, DecompressorCloser>;

struct JpegBufferFreer {
  void operator()(unsigned char* buffer) const { tjFree(buffer); }
};
using JpegBuffer = std::unique_ptr<unsigned char, JpegBufferFreer>;

platform::Result<void> WriteBytes(const std::string& name, const unsigned char* bytes, unsigned long size) {
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  if (!file) return platform::Error{"cannot open " + name, "open"};
  file.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  if (!file) return platform::Error{"cannot write " + name, "write"};
  return {};
}

}  // namespace

platform::Result<void> WriteJpegFile(const cDIBSection& dib, const std::string& name, int quality) {
  const Compressor compressor(tjInitCompress());
  if (!compressor) return platform::Error{tjGetErrorStr2(nullptr), kJpegInitStage};
  unsigned char* compressed = nullptr;
  unsigned long compressed_size = 0;
  // The rows go in bottom-up with their padding, straight from the bitmap.
  const int failed = tjCompress2(compressor.get(), dib.DIBSectionBitsPtr(), static_cast<int>(dib.Width()),
                                 static_cast<int>(dib.BytesPerScanLine()), static_cast<int>(dib.Height()), TJPF_BGR,
                                 &compressed, &compressed_size, TJSAMP_420, quality, TJFLAG_BOTTOMUP);
  const JpegBuffer owned(compressed);
  if (failed != 0) return platform::Error{tjGetErrorStr2(compressor.get()), "tjCompress2"};
  return WriteBytes(name, owned.get(), compressed_size);
}

std::optional<platform::Picture> ReadJpegFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) return std::nullopt;
  const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const Decompressor decompressor(tjInitDecompress());
  if (!decompressor || bytes.empty()) return std::nullopt;
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colourspace = 0;
  if (tjDecompressHeader3(decompressor.get(), bytes.data(), bytes.size(), &width, &height, &subsampling, &colourspace) != 0)
    return std::nullopt;
  platform::Picture picture = platform::Picture::Blank(width, height);
  if (tjDecompress2(decompressor.get(), bytes.data(), bytes.size(), picture.bottom_up_bgr.data(), width,
                    picture.Stride(), height, TJPF_BGR, TJFLAG_BOTTOMUP) != 0)
    return std::nullopt;
  return picture;
}

bool SaveJPG(Program& program, const cDIBSection& dib, const std::string& name, int quality) {
  const auto written = WriteJpegFile(dib, name, quality);
  if (written) return true;
  const std::string text = written.error().where == kJpegInitStage
                               ? "Failed to initialise the IJL library: " + written.error().message
                               : "Failed to save to JPG";
  program.MessageBox(text, platform::MessageButtons::Ok, platform::MessageIcon::Exclamation);
  return false;
}

void SaveJPEGPicture(Program& program, const platform::Picture& picture, const std::string& name, int quality) {
  cDIBSection dib;
  dib.CreateFromPicture(picture);
  if (!SaveJPG(program, dib, name, quality))
    program.Master().StatusString.Caption = "Error writing " + name + "JPEG File.";
}

}  // namespace zr
