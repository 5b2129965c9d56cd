#include "image/jpeg_file.h"

#include <turbojpeg.h>

#include <fstream>
#include <memory>

#include "core/master.h"
#include "core/program.h"

namespace zr {

namespace {

struct CompressorCloser {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using Compressor = std::unique_ptr<void, CompressorCloser>;

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
